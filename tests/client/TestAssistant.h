#pragma once

#include <memory>
#include <optional>
#include <string>

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

/// An environment variable, set for a while.
class Environment {
public:
    Environment(const char* name, const std::string& value);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

/// Shell text that posts the ready notification of the process that runs it.
std::string postReady();

/// The same, and then waits until a notification with this in it was posted. $seen names a file of all that
/// came.
std::string postReadyAndAwait(const std::string& part);

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

/// Ends and frees a started assistant.
struct EndAssistant {
    void operator()(OrvaneDga* dga) const;
};
using Assistant = std::unique_ptr<OrvaneDga, EndAssistant>;

/// Starts a program, which must succeed.
Assistant startAssistant(const std::string& path);

}  // namespace clienttest
