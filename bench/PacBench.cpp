// The answer of an auto-configuration script: the first, with the loading and the start of the script
// program, and later ones, beside bare starts of that program and of one that does nothing.
//
//     pac_bench [ROUNDS]
//
// Run through scripts/isolated: it writes to /tmp.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "DGAUpload/logic/webaccess/PacParser.h"
#include "platform/BundleInfo.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kScript[] = "/tmp/pac-bench.pac";
constexpr int kLaterAnswers = 50;

double milliseconds(const std::function<void()>& call) {
    const auto start = Clock::now();
    call();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/// What the engine does for a request.
void answer(int number) {
    const std::string url = "https://upload.example/report?number=" + std::to_string(number);
    if (!CPacParser::IsPacEnabled() || CPacParser::sharedInstance()->FindProxy(url.c_str()).size() != 1) {
        std::fprintf(stderr, "pac_bench: the script did not answer\n");
        std::exit(1);
    }
}

/// The script program ends at once where its standard output is no socket.
void startAndWait(const std::string& program) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    char* const arguments[] = {const_cast<char*>(program.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments, environ) != 0 ||
        waitpid(pid, nullptr, 0) != pid) {
        std::fprintf(stderr, "pac_bench: %s cannot be started\n", program.c_str());
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 15;
    std::ofstream(kScript) << "function FindProxyForURL(url, host) {\n"
                              "    if (isPlainHostName(host) || dnsDomainIs(host, '.inside.example'))\n"
                              "        return 'DIRECT';\n"
                              "    return 'PROXY proxy.example:3128; DIRECT';\n}\n";
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("auto_proxy", kScript, 1);
    const std::string program = platform::BundleInfo::helperFolder() + "/pac_evaluator";
    std::vector<double> first;
    std::vector<double> later;
    std::vector<double> bare;
    std::vector<double> nothing;
    for (int i = 0; i < rounds; ++i) {
        first.push_back(milliseconds([] { answer(0); }));
        for (int k = 1; k <= kLaterAnswers; ++k)
            later.push_back(milliseconds([k] { answer(k); }));
        CPacParser::CleanUP();
        bare.push_back(milliseconds([&] { startAndWait(program); }));
        nothing.push_back(milliseconds([] { startAndWait("/bin/true"); }));
    }
    const double peer = median(bare);
    std::printf("start and end of the script program alone  %8.3f ms, of /bin/true %.3f ms\n", peer,
                median(nothing));
    std::printf("first answer, with the loading             %8.3f ms, times_start %.2f, budget 100 ms\n",
                median(first), median(first) / peer);
    std::printf("later answers                              %8.3f ms, worst %.3f ms, budget 5 ms\n",
                median(later), *std::max_element(later.begin(), later.end()));
    return 0;
}
