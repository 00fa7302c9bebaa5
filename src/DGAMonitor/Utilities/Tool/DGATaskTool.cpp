#include "DGAMonitor/Utilities/Tool/DGATaskTool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/BundleInfo.h"

void DGATaskTool::dga_runTaskWithCMD(const std::string& path,
                                     const std::optional<std::vector<std::string>>& args,
                                     const std::function<void(int reason)>& terminateHandle) {
    std::vector<std::string> words = args.value_or(std::vector<std::string>());
    words.insert(words.begin(), path);
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, platform::BundleInfo::resourceFolder().c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failed = posix_spawn(&child, path.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
        return;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return;
    }
    if (terminateHandle)
        terminateHandle(WIFEXITED(status) ? 1 : 2);
}
