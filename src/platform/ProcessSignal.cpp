#include "platform/ProcessSignal.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace platform {

bool killProcess(pid_t process) {
    if (process <= 1)
        return false;
    std::string path = "/bin/kill";
    std::string signal = "-9";
    std::string target = std::to_string(process);
    char* const arguments[] = {path.data(), signal.data(), target.data(), nullptr};
    pid_t command = 0;
    if (posix_spawn(&command, path.c_str(), nullptr, nullptr, arguments, environ) != 0)
        return false;
    int status = 0;
    while (waitpid(command, &status, 0) < 0) {
        if (errno != EINTR)
            return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace platform
