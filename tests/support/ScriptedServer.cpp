#include "support/ScriptedServer.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

bool pass(int from, int to) {
    std::array<char, 16384> bytes;
    const ssize_t count = recv(from, bytes.data(), bytes.size(), 0);
    return count > 0 && sendAll(to, {bytes.data(), static_cast<size_t>(count)});
}

void tunnel(int socket, int port) {
    const int other = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    bool open = connect(other, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    while (open) {
        std::array<pollfd, 2> ends = {{{socket, POLLIN, 0}, {other, POLLIN, 0}}};
        poll(ends.data(), ends.size(), -1);
        open = (ends[0].revents == 0 || pass(socket, other)) && (ends[1].revents == 0 || pass(other, socket));
    }
    close(other);
}

}  // namespace

std::string ScriptedServer::Request::field(const std::string& name) const {
    const std::string start = "\r\n" + name + ": ";
    const size_t at = head.find(start);
    if (at == std::string::npos)
        return {};
    return head.substr(at + start.size(), head.find("\r\n", at + 2) - at - start.size());
}

std::string ScriptedServer::reply(const std::string& status, const std::string& body,
                                  const std::string& fields) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + fields +
           "\r\n" + body;
}

ScriptedServer::ScriptedServer(std::vector<Row> rows) : rows_(std::move(rows)) {
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 64) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        std::abort();
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    close(listener_);
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        for (const int socket : sockets_)
            shutdown(socket, SHUT_RDWR);
    }
    for (auto& thread : threads_)
        thread.join();
}

void ScriptedServer::accept() {
    for (;;) {
        const int socket = ::accept(listener_, nullptr, nullptr);
        if (socket < 0)
            return;
        ++connections_;
        const std::lock_guard<std::mutex> hold(mutex_);
        sockets_.push_back(socket);
        threads_.emplace_back([this, socket] { serve(socket); });
    }
}

ScriptedServer::Row ScriptedServer::nextRow() {
    const std::lock_guard<std::mutex> hold(mutex_);
    const Row& row = rows_[std::min(next_, rows_.size() - 1)];
    ++next_;
    return row;
}

void ScriptedServer::serve(int socket) {
    std::string buffer;
    bool open = true;
    while (open) {
        bool early = false;
        {
            const std::lock_guard<std::mutex> hold(mutex_);
            early = rows_[std::min(next_, rows_.size() - 1)].beforeRequest;
        }
        if (!early && !readRequest(socket, buffer))
            break;
        const Row row = nextRow();
        open = sendAll(socket, row.bytes) && row.then == Then::keep && !early;
        if (row.then == Then::stall) {
            while (recv(socket, buffer.data(), buffer.size(), 0) > 0) {
            }
        } else if (row.then == Then::endless) {
            const std::string again = row.bytes.substr(row.bytes.rfind("\r\n\r\n") + 4);
            while (sendAll(socket, again)) {
            }
        } else if (row.then == Then::tunnel) {
            tunnel(socket, row.port);
        } else if (row.then == Then::reset) {
            const linger now{1, 0};
            setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        }
    }
    const std::lock_guard<std::mutex> hold(mutex_);
    std::erase(sockets_, socket);
    close(socket);
}

bool ScriptedServer::readRequest(int socket, std::string& buffer) {
    size_t end = std::string::npos;
    size_t length = 0;
    for (;;) {
        if (end == std::string::npos) {
            end = buffer.find("\r\n\r\n");
            if (end != std::string::npos)
                length = std::strtoul(Request{buffer.substr(0, end + 2), ""}.field("Content-Length").c_str(),
                                      nullptr, 10);
        }
        if (end != std::string::npos && buffer.size() >= end + 4 + length)
            break;
        std::array<char, 65536> bytes;
        const ssize_t count = recv(socket, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return false;
        buffer.append(bytes.data(), static_cast<size_t>(count));
    }
    const std::lock_guard<std::mutex> hold(mutex_);
    requests_.push_back({buffer.substr(0, end + 2), buffer.substr(end + 4, length)});
    buffer.erase(0, end + 4 + length);
    return true;
}

std::vector<ScriptedServer::Request> ScriptedServer::requests() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return requests_;
}
