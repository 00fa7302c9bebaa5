#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A server on the loopback that plays a table, one row for each request: it knows no HTTP but where a
/// request ends. The last row serves all further requests.
class ScriptedServer {
public:
    enum class Then {
        keep,  ///< read the next request
        close,
        reset,
        stall,    ///< say nothing more until the other side closes
        endless,  ///< say the bytes after the last blank line again and again
        tunnel,   ///< pass bytes to and from `port`
    };
    struct Row {
        std::string bytes;
        Then then = Then::keep;
        int port = 0;
        bool beforeRequest = false;  ///< do not wait for the request
    };
    struct Request {
        std::string head;
        std::string body;
        std::string line() const { return head.substr(0, head.find("\r\n")); }
        /// Value of a header field, "" without it.
        std::string field(const std::string& name) const;
    };

    explicit ScriptedServer(std::vector<Row> rows);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    std::vector<Request> requests() const;
    int connections() const { return connections_; }

    static std::string reply(const std::string& status, const std::string& body,
                             const std::string& fields = "");

private:
    void accept();
    void serve(int socket);
    bool readRequest(int socket, std::string& buffer);
    Row nextRow();

    std::vector<Row> rows_;
    size_t next_ = 0;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<int> connections_ = 0;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    std::vector<int> sockets_;
    std::vector<std::thread> threads_;
    std::thread acceptor_;
};
