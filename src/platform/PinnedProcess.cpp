#include "platform/PinnedProcess.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

namespace platform {

PinnedProcess::PinnedProcess(const RunningApplications& applications, std::string text)
    : applications_(applications), text_(std::move(text)) {
    process_ = applications_.withProcessIdentifier(text_);
    openHandle();
}

PinnedProcess::~PinnedProcess() {
    if (handle_ >= 0)
        close(handle_);
}

PinnedProcess::PinnedProcess(PinnedProcess&& other) noexcept {
    *this = std::move(other);
}

PinnedProcess& PinnedProcess::operator=(PinnedProcess&& other) noexcept {
    std::swap(applications_, other.applications_);
    std::swap(text_, other.text_);
    std::swap(process_, other.process_);
    std::swap(handle_, other.handle_);
    return *this;
}

// Looks again once the handle is there: the id may have been given to another process in between.
void PinnedProcess::openHandle() {
    if (!process_ || process_->startTime == 0)
        return;
    handle_ = static_cast<int>(syscall(SYS_pidfd_open, process_->processIdentifier, 0U));
    const auto again = applications_.withProcessIdentifier(text_);
    if (handle_ >= 0 && (!again || again->startTime != process_->startTime)) {
        close(handle_);
        handle_ = -1;
    }
}

bool PinnedProcess::isRunning() {
    if (!process_)
        return false;
    const auto found = applications_.withProcessIdentifier(text_);
    if (!found || found->startTime == 0)
        return found.has_value();
    if (process_->startTime == 0) {
        process_ = found;
        openHandle();
    }
    return found->startTime == process_->startTime;
}

PinnedProcess::Kill PinnedProcess::kill() {
    if (!isRunning())
        return Kill::gone;
    if (handle_ >= 0 && syscall(SYS_pidfd_send_signal, handle_, SIGKILL, nullptr, 0U) == 0)
        return Kill::sent;
    if (handle_ >= 0 && errno == ESRCH)
        return Kill::gone;
    const auto found = applications_.withProcessIdentifier(text_);
    const bool isTheSame = found && found->startTime != 0 && found->startTime == process_->startTime;
    return isTheSame ? Kill::noHandle : Kill::gone;
}

}  // namespace platform
