#include "Server.h"

#include <fmt/format.h>
#include <httplib.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

#include "Archives.h"
#include "Piece.h"
#include "Replies.h"

namespace uploadserver {

namespace {

constexpr char kContentType[] = "multipart/form-data";
constexpr char kKeptContentType[] = "X-Content-Type";
constexpr size_t kMostBody = 1 << 20;

class Handler {
public:
    explicit Handler(const Options& options) : m_options(options), m_archives(options.store) {}

    void install(httplib::Server& server) {
        server.set_tcp_nodelay(true);
        server.set_keep_alive_max_count(1U << 30);
        server.set_keep_alive_timeout(60);
        server.set_payload_max_length(kMostBody);
        // A multipart type without a boundary is what clients send here; the library would refuse it.
        server.set_pre_routing_handler([](const httplib::Request& request, httplib::Response&) {
            auto& headers = const_cast<httplib::Request&>(request).headers;
            if (const auto found = headers.find("Content-Type"); found != headers.end()) {
                const std::string type = found->second;
                headers.erase("Content-Type");
                headers.emplace(kKeptContentType, type);
            }
            return httplib::Server::HandlerResponse::Unhandled;
        });
        const auto handle = [this](const httplib::Request& request, httplib::Response& response) {
            answer(request, response);
        };
        server.Get(".*", handle);
        server.Post(".*", handle);
    }

private:
    struct Verdict {
        bool isTaken = false;
        std::string line;
    };

    void answer(const httplib::Request& request, httplib::Response& response) {
        std::this_thread::sleep_for(m_options.delay);
        const bool isQuery = request.method == "GET";
        const Verdict verdict = isQuery ? query(request, response) : piece(request, response);
        if (!m_options.quiet) {
            fmt::print("{} {} ({} bytes): {}\n", request.method, request.target, request.body.size(),
                       verdict.line);
            std::fflush(stdout);
        }
    }

    static Verdict refuse(httplib::Response& response, const std::string& why) {
        response.set_content(replyDocument("FAIL", false), "text/xml; charset=utf-8");
        return {false, "refused: " + why};
    }

    Verdict query(const httplib::Request& request, httplib::Response& response) const {
        if (!request.target.ends_with("&AT=QW"))
            return refuse(response, "the URL of a query ends in &AT=QW");
        if (m_options.failAt == 0 && fillFailure(m_options, request, response))
            return {false, "query, failed as wanted"};
        response.set_content(replyDocument("SUCCESS", false), "text/xml; charset=utf-8");
        return {true, "query, taken"};
    }

    Verdict piece(const httplib::Request& request, httplib::Response& response) {
        try {
            if (!request.target.ends_with("&AT=UL"))
                throw PieceError("the URL of a piece ends in &AT=UL");
            if (const auto type = request.get_header_value(kKeptContentType); type != kContentType)
                throw PieceError(fmt::format("the content type is \"{}\"", type));
            const Piece piece = readPiece(request.body);
            if (m_options.failAt > 0 && piece.number >= m_options.failAt &&
                fillFailure(m_options, request, response))
                return {false, fmt::format("piece {} of {}, failed as wanted", piece.number, piece.count)};
            const std::string end = m_archives.take(piece);
            response.set_content(replyDocument("SUCCESS", false), "text/xml; charset=utf-8");
            return {true, fmt::format("piece {} of {}, {} bytes{}{}", piece.number, piece.count,
                                      piece.bytes.size(), end.empty() ? "" : "\n", end)};
        } catch (const PieceError& error) {
            return refuse(response, error.what());
        }
    }

    const Options& m_options;
    Archives m_archives;
};

int complain(const std::string& what) {
    fmt::print(stderr, "orvane-upload-server: {}\n", what);
    return 1;
}

std::unique_ptr<httplib::Server> makeServer(const Options& options) {
    if (options.certificate.empty())
        return std::make_unique<httplib::Server>();
    return std::make_unique<httplib::SSLServer>(options.certificate.c_str(), options.key.c_str());
}

}  // namespace

int serve(const Options& options) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    if (!options.store.empty()) {
        std::error_code failed;
        std::filesystem::create_directories(options.store, failed);
        if (!std::filesystem::is_directory(options.store))
            return complain(fmt::format("cannot keep anything in {}", options.store));
    }
    const auto server = makeServer(options);
    if (!server->is_valid())
        return complain(
            fmt::format("cannot use the certificate {} with the key {}", options.certificate, options.key));
    Handler handler(options);
    handler.install(*server);
    const int port = options.port == 0                                 ? server->bind_to_any_port("127.0.0.1")
                     : server->bind_to_port("127.0.0.1", options.port) ? options.port
                                                                       : -1;
    if (port < 0)
        return complain(fmt::format("port {} is taken, or not allowed", options.port));
    fmt::print("listening on http{}://127.0.0.1:{}/\n", options.certificate.empty() ? "" : "s", port);
    std::fflush(stdout);

    // Not by stop(), which waits for idle connections and slow answers.
    std::thread([signals] {
        int signal = 0;
        sigwait(&signals, &signal);
        std::quick_exit(0);
    }).detach();
    return server->listen_after_bind() ? 0 : complain("the server ended with an error");
}

}  // namespace uploadserver
