#pragma once

#include <curl/curl.h>

#include <memory>

namespace platform {

/// The connections of one thread's HTTP streams: one curl multi handle on the thread's run loop, so that a
/// request reuses the connection of the one before it. Used only on that thread.
class HttpConnectionPool {
public:
    /// Somebody whose handle is in the pool; the handle's CURLOPT_PRIVATE points to it.
    class Transfer {
    public:
        /// The handle has ended and is out of the pool. It may be added again; nothing may be called here
        /// that runs the loop.
        virtual void transferEnded(CURLcode result) = 0;

    protected:
        ~Transfer() = default;
    };

    /// The calling thread's pool, made on first use; null when curl cannot give one. It lives until the
    /// thread has ended and the last transfer has let go of it.
    static std::shared_ptr<HttpConnectionPool> current();

    ~HttpConnectionPool();
    HttpConnectionPool(const HttpConnectionPool&) = delete;
    HttpConnectionPool& operator=(const HttpConnectionPool&) = delete;

    bool add(CURL* handle);

    /// Ends a handle's transfer wherever it stands. Never from inside one of curl's callbacks.
    void remove(CURL* handle);

private:
    struct State;
    explicit HttpConnectionPool(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace platform
