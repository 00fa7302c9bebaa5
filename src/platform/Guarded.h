#pragma once

#include <mutex>
#include <utility>

namespace platform {

/// A value that several threads read and write: every read is a copy taken under a lock, every write
/// replaces the whole value. For values that a lock-free std::atomic cannot hold, such as strings.
template <typename T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}

    T get() const {
        const std::lock_guard<std::mutex> hold(mutex_);
        return value_;
    }

    void set(T value) {
        const std::lock_guard<std::mutex> hold(mutex_);
        std::swap(value_, value);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace platform
