#include "TestAssistant.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace clienttest {

TemporaryFolder::TemporaryFolder() : path_("/tmp/client-test-XXXXXX") {
    EXPECT_NE(mkdtemp(path_.data()), nullptr);
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

Environment::Environment(const char* name, const std::string& value) : name_(name) {
    if (const char* const before = getenv(name)) {
        before_ = before;
    }
    setenv(name, value.c_str(), 1);
}

Environment::~Environment() {
    if (before_) {
        setenv(name_, before_->c_str(), 1);
    } else {
        unsetenv(name_);
    }
}

std::string postReady() {
    return "gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications"
           " --signal com.tellan.orvane.DistributedNotifications.Posted"
           " \"'ORVANE_DGA_APP_READY_$$'\" \"''\" '@a{sv} {}'\n";
}

std::string postReadyAndAwait(const std::string& part) {
    return "seen=$(mktemp)\ndbus-monitor --session > $seen 2>&1 & monitor=$!\n"
           "until [ -s $seen ]; do sleep 0.05; done\n" +
           postReady() + "until grep -q " + part + " $seen; do sleep 0.05; done\nkill $monitor\n";
}

void EndAssistant::operator()(OrvaneDga* dga) const {
    if (orvane_dga_is_alive(dga) != FALSE) {
        kill(orvane_dga_pid(dga), SIGKILL);
        orvane_dga_wait_exit(dga, 5000, nullptr);
    }
    orvane_dga_free(dga);
}

Assistant startAssistant(const std::string& path) {
    Error error;
    Assistant assistant(orvane_dga_start(path.c_str(), error.out()));
    EXPECT_TRUE(assistant) << error.message();
    return assistant;
}

}  // namespace clienttest
