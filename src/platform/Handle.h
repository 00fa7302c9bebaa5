#pragma once

#include <unistd.h>

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
    void reset() {
        if (handle_ >= 0)
            close(handle_);
        handle_ = -1;
    }

private:
    int handle_;
};

}  // namespace platform
