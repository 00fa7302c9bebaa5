// Runs one script from the network for the assistant, which speaks to it over the socket that is its standard
// output. It ends when the assistant closes that, and is killed by it when a call takes too long. Its
// argument is the time zone (TZ in tzset(3)); its environment is empty.
#include <unistd.h>

#include <ctime>

#include <QCoreApplication>

#include "tools/pac_evaluator/Limits.h"
#include "tools/pac_evaluator/Sandbox.h"
#include "tools/pac_evaluator/ScriptEngine.h"

namespace {

std::vector<std::string> fields(const std::string& data) {
    std::vector<std::string> found;
    size_t begin = 0;
    for (size_t end = data.find('\0'); end != std::string::npos; end = data.find('\0', begin)) {
        found.push_back(data.substr(begin, end - begin));
        begin = end + 1;
    }
    found.push_back(data.substr(begin));
    return found;
}

bool serve(ScriptEngine& engine, int handle, const channel::Message& request) {
    limits::allowOneCall();
    channel::Message answer;
    switch (request.id) {
        case channel::define: {
            const auto names = fields(request.data);
            if (names.size() != 2)
                return false;
            engine.define(names[0], names[1]);
            return true;
        }
        case channel::evaluate:
            answer = engine.evaluate(request.data);
            break;
        case channel::call:
            answer = engine.call(fields(request.data));
            break;
        default:
            return false;
    }
    return channel::send(handle, static_cast<channel::Id>(answer.id), answer.data);
}

}  // namespace

int main(int argc, char** argv) {
    // The memory limit leaves no room for compiled code, and a script must not write into our log.
    qputenv("QV4_FORCE_INTERPRETER", "1");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // Named, so that the C library does not look at its file again at every date.
    qputenv("TZ", argc > 1 && *argv[1] ? argv[1] : ":/etc/localtime");
    tzset();
    const QCoreApplication application(argc, argv);
    const int handle = STDOUT_FILENO;
    if (!sandbox::forbidNewCode())
        return 1;
    ScriptEngine engine(handle);
    engine.warmUp();
    if (!limits::apply() || !sandbox::seal(handle))
        return 1;
    while (const auto request = channel::receive(handle)) {
        if (!serve(engine, handle, *request))
            break;
    }
    // Nothing is left to tidy, and a script's garbage need not be walked through.
    _exit(0);
}
