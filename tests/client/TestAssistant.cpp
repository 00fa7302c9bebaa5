#include "TestAssistant.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace clienttest {

TemporaryFolder::TemporaryFolder() : path_("/tmp/client-test-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        ADD_FAILURE() << "no temporary folder";
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::script(const std::string& name, const std::string& body) const {
    const std::string file = path_ + "/" + name;
    std::ofstream(file) << "#!/bin/sh\n" << body << "\n";
    chmod(file.c_str(), 0700);
    return file;
}

Environment::Environment(const char* name, const char* value) : name_(name) {
    const char* const before = getenv(name);
    wasSet_ = before != nullptr;
    before_ = wasSet_ ? before : "";
    if (value != nullptr) {
        setenv(name, value, 1);
    } else {
        unsetenv(name);
    }
}

Environment::~Environment() {
    if (wasSet_) {
        setenv(name_.c_str(), before_.c_str(), 1);
    } else {
        unsetenv(name_.c_str());
    }
}

PrivateBus::PrivateBus() {
    const std::string wanted = "--address=unix:path=" + folder_.path() + "/bus";
    std::string program = "dbus-daemon";
    std::string kind = "--session";
    std::string foreground = "--nofork";
    std::string print = "--print-address=1";
    std::string address = wanted;
    char* arguments[] = {program.data(), kind.data(),    foreground.data(),
                         print.data(),   address.data(), nullptr};
    int output = -1;
    if (g_spawn_async_with_pipes(nullptr, arguments, nullptr,
                                 static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD |
                                                          G_SPAWN_STDERR_TO_DEV_NULL),
                                 nullptr, nullptr, &daemon_, nullptr, &output, nullptr, nullptr) == FALSE) {
        return;
    }
    std::string line;
    char byte = 0;
    while (read(output, &byte, 1) == 1 && byte != '\n') {
        line += byte;
    }
    close(output);
    if (!line.empty()) {
        address_ = std::make_unique<Environment>("DBUS_SESSION_BUS_ADDRESS", line.c_str());
    }
}

PrivateBus::~PrivateBus() {
    stop();
}

void PrivateBus::stop() {
    if (daemon_ > 0) {
        kill(daemon_, SIGKILL);
        waitpid(daemon_, nullptr, 0);
        daemon_ = 0;
    }
}

std::string postReady() {
    return "gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications"
           " --signal com.tellan.orvane.DistributedNotifications.Posted"
           " \"'ORVANE_DGA_APP_READY_$$'\" \"''\" '@a{sv} {}'\n";
}

Assistant::Assistant(const std::string& path) {
    Error error;
    dga_ = orvane_dga_start(path.c_str(), error.out());
    EXPECT_NE(dga_, nullptr) << error.message();
}

Assistant::~Assistant() {
    if (orvane_dga_is_alive(dga_) != FALSE) {
        kill(pid(), SIGKILL);
        orvane_dga_wait_exit(dga_, 5000, nullptr);
    }
    orvane_dga_free(dga_);
}

}  // namespace clienttest
