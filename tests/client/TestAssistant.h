#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvane_dga_client.h"

namespace clienttest {

/// A folder of its own, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return path_; }

    /// Writes an executable shell script and returns its path.
    std::string script(const std::string& name, const std::string& body) const;

private:
    std::string path_;
};

/// An environment variable, set (or, with nullptr, unset) for a while.
class Environment {
public:
    Environment(const char* name, const char* value);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::string name_;
    std::string before_;
    bool wasSet_;
};

/// A message bus of its own, as the session bus, until it is destroyed.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    bool isRunning() const { return address_ != nullptr; }

    /// Ends the daemon early.
    void stop();

private:
    TemporaryFolder folder_;
    GPid daemon_ = 0;
    std::unique_ptr<Environment> address_;
};

/// Shell text that posts the ready notification of the process that runs it.
std::string postReady();

/// A GError that is freed.
class Error {
public:
    Error() = default;
    ~Error() { g_clear_error(&error_); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;
    GError** out() {
        g_clear_error(&error_);
        return &error_;
    }
    int code() const { return error_ != nullptr && error_->domain == ORVANE_DGA_ERROR ? error_->code : -1; }
    std::string message() const { return error_ != nullptr ? error_->message : ""; }

private:
    GError* error_ = nullptr;
};

/// A started assistant; ended and freed at the end.
class Assistant {
public:
    explicit Assistant(const std::string& path);
    ~Assistant();
    Assistant(const Assistant&) = delete;
    Assistant& operator=(const Assistant&) = delete;
    OrvaneDga* get() const { return dga_; }
    GPid pid() const { return orvane_dga_pid(dga_); }

private:
    OrvaneDga* dga_;
};

}  // namespace clienttest
