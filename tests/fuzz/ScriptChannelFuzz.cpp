#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/RunLoop.h"
#include "platform/net/ScriptProcess.h"
#include "tools/pac_evaluator/Channel.h"
#include "tools/pac_evaluator/OldSyntax.h"

// What either end of the channel between the assistant and a script's process reads: the process its
// messages, whose scripts are rewritten; the assistant, of every 16th input, the answers of a process that
// was taken over.

namespace {

constexpr char kProgram[] = "/tmp/taken over";
constexpr char kBytes[] = "/tmp/bytes";

void readAsProcess(const std::string& bytes) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        std::abort();
    const std::string sent = bytes.substr(0, 100'000);  // what the socket takes at once
    if (write(ends[0], sent.data(), sent.size()) != static_cast<ssize_t>(sent.size()))
        std::abort();
    close(ends[0]);
    while (const auto message = channel::receive(ends[1]))
        withoutOldSyntax(message->data);
    close(ends[1]);
}

void readAsAssistant(const std::string& bytes) {
    std::ofstream(kBytes, std::ios::binary) << bytes;
    platform::ScriptProcess::Settings settings;
    settings.program = kProgram;
    settings.deadline = std::chrono::milliseconds(50);
    settings.pause = std::chrono::milliseconds(0);
    platform::ScriptProcess process(settings);
    process.define("dns", "resolve", [](const std::string& name) { return std::optional(name); });
    process.evaluate("1", nullptr);
    if (process.call("f", {"a"}).text.size() > bytes.size() + 100)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    std::ofstream(kProgram) << "#!/bin/sh\nexec cat " << kBytes << '\n';
    return chmod(kProgram, S_IRWXU);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string text(reinterpret_cast<const char*>(bytes), length);
    readAsProcess(text);
    static unsigned turn = 0;
    if (turn++ % 16 == 0)
        readAsAssistant(text);
    return 0;
}
