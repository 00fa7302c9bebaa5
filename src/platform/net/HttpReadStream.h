#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/ProxySettings.h"
#include "platform/net/HttpMessage.h"

namespace platform {

/// One HTTP/1.1 request (RFC 9110, 9112) as a stream of its reply's body. Everything happens on the run loop
/// of the thread that opens it; nothing blocks. The streams of a thread share their connections. Requests
/// carry a User-Agent with our name and version, and never "Expect: 100-continue". A request on a kept
/// connection that turns out to be dead is sent again on a new one. At most 256 KiB of the body wait to be
/// read: the connection rests until they are. A header of more than 256 KiB is an error.
class HttpReadStream {
public:
    enum class Event {
        openCompleted,
        hasBytesAvailable,  ///< also, once, for a 4xx reply without a body, so that its status is seen
        errorOccurred,      ///< the last event: see error()
        endEncountered,     ///< the last event: the whole body was read
    };

    /// Told about events from the run loop, never from inside a call of this class and never while it is
    /// still busy with the one before. It may close or destroy the stream.
    using Client = std::function<void(Event)>;

    /// 0 and 0 for none. Domain 1: code is curl's (CURLcode).
    struct Error {
        int domain = 0;
        int code = 0;
        bool neverSent = false;  ///< no connection came about, neither to the server nor to its proxy
        bool untrusted = false;  ///< a certificate does not verify that has to
        bool forbidden = false;  ///< the host is none that may be asked
    };

    explicit HttpReadStream(HttpRequest request);

    /// As close().
    ~HttpReadStream();
    HttpReadStream(const HttpReadStream&) = delete;
    HttpReadStream& operator=(const HttpReadStream&) = delete;

    /// The proxies to use; without them the stream goes direct, whatever the environment says. The http entry
    /// serves http URLs, the https entry https URLs, and exceptions go direct. Settings that hold nothing but
    /// the https entry's host and port, with nothing enabled, serve every scheme. A proxy that answers
    /// CONNECT with 407 makes the reply: that status and no body. Names are looked up by the proxy, of
    /// whatever kind; a SOCKS proxy whose version is not known is tried with 5, then 4. Before open().
    void setProxy(ProxySettings settings);

    /// Follow redirects to http and https, 20 at most. A redirect is an error where it would drop the body of
    /// a POST (301, 302 and 303), or take it to another host or from https to http. Without this a redirect
    /// is a reply like others. Before open().
    void setAutomaticRedirection(bool follow);

    /// Accept any certificate, for whatever name: the server's, and that of a proxy that is spoken to over
    /// TLS. A chain that does not verify is a line in the log at level 8. Before open().
    void setLaxCertificates(bool lax, bool laxForProxy);

    /// Asks only hosts of which `allows` says so, by their name or address in the URL, without brackets;
    /// also after a redirect. Called from inside curl: it decides and does nothing else. Before open().
    void setHostRule(std::function<bool(const std::string& host)> allows);

    /// False when the stream was opened already.
    bool setClient(Client client);

    /// Sends the request. False, with error(), when the URL is none that can be asked for, and when the
    /// stream was opened before.
    bool open();

    /// Drops the connection and every further event. Harmless when repeated.
    void close();

    /// Takes up to `size` bytes of the body. 0 when there are none now, -1 after an error.
    std::ptrdiff_t read(void* buffer, size_t size);
    bool hasBytesAvailable() const;

    /// None before the header of the final reply is complete.
    std::optional<HttpResponse> response() const;

    Error error() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
