#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace platform {

/// A descriptor that is closed with this object; none if it is negative.
class Handle {
public:
    explicit Handle(int handle = -1) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { reset(); }

    int get() const { return handle_; }
    explicit operator bool() const { return handle_ >= 0; }

    /// Closes it. False if that fails: a network file system may tell only here that it has no room.
    bool reset() {
        const int handle = std::exchange(handle_, -1);
        return handle < 0 || close(handle) == 0 || errno == EINTR;
    }

private:
    int handle_;
};

}  // namespace platform
