#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char kHelp[] =
    "usage: osascript SCRIPT [ARGUMENT...]\n"
    "Runs a shell script with the arguments and standard input as they are, and this folder in\n"
    "ORVANEDGA_HELPERS. The script is a file that is executable or begins\n"
    "with \"#!\"; it is read by /bin/sh.\n";
constexpr int kBadUsage = 2;
constexpr int kCannotRun = 126;

// Why the file is no script, or nothing.
std::string faultOf(const std::string& path) {
    // O_NONBLOCK: a FIFO is refused, not waited for.
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return std::strerror(errno);
    struct stat info {};
    std::array<char, 2> start{};
    std::string fault;
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode))
        fault = "it is not a file";
    else if ((info.st_mode & S_IXUSR) == 0 &&
             (read(file, start.data(), start.size()) != 2 || start[0] != '#' || start[1] != '!'))
        fault = "it is neither executable nor begins with \"#!\"";
    close(file);
    return fault;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string script = argc > 1 ? argv[1] : "";
    if (script == "--help" || script == "-h") {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (script.empty() || script.front() == '-') {
        std::fprintf(stderr, "osascript: no script given\n%s", kHelp);
        return kBadUsage;
    }
    const std::string fault = faultOf(script);
    if (!fault.empty()) {
        std::fprintf(stderr, "osascript: cannot run %s: %s\n", script.c_str(), fault.c_str());
        return kCannotRun;
    }
    // So that it finds the other bundled tools.
    std::array<char, PATH_MAX> self{};
    if (readlink("/proc/self/exe", self.data(), self.size() - 1) > 0)
        setenv("ORVANEDGA_HELPERS",
               std::string(self.data(), std::string_view(self.data()).rfind('/')).c_str(), 1);
    std::string shell = "/bin/sh";
    // A bare name would be looked for in PATH.
    std::string path = script.find('/') == std::string::npos ? "./" + script : script;
    std::vector<char*> arguments{shell.data(), path.data()};
    arguments.insert(arguments.end(), argv + 2, argv + argc);
    arguments.push_back(nullptr);
    execv(shell.c_str(), arguments.data());
    std::fprintf(stderr, "osascript: cannot run /bin/sh: %s\n", std::strerror(errno));
    return kCannotRun;
}
