#pragma once

/// The interface between telemetry and its sender, a module of its own because it needs what talks to the
/// network: the assistant loads it with the first action. Plain C types only, nothing throws; any thread,
/// several at once.

extern "C" {

enum { kOrvTelemetrySenderVersion = 3 };

/// One POST. All pointers stay the caller's.
struct OrvTelemetryRequest {
    const char* url;
    const char* const* headers;  ///< lines as libcurl takes them: "Name: value", or "Name;" for no value
    int headerCount;
    const char* body;
    long bodyLength;
    long connectMilliseconds;
    long totalMilliseconds;
    int verifyProxies;  ///< 0: a proxy that is spoken to over TLS may have any certificate
    /// Asked now and then, at least once a second; 0 gives up.
    int (*keepGoing)(void* context);
    void* context;
};

struct OrvTelemetryAnswer {
    int mayHaveArrived;  ///< 0: the request never left
    long status;         ///< of HTTP; 0 without an answer
    long retryAfter;     ///< seconds that the server asks for; 0 if it does not
    char fault[256];     ///< why there was no answer; "" with one
};

struct OrvTelemetrySender {
    /// Blocks. The desktop's proxies are used as uploads use them, their passwords and scripts included; a
    /// script is asked on the main thread, whose loop must turn. The service's certificate is checked;
    /// redirects are answers, not followed.
    void (*send)(const OrvTelemetryRequest* request, OrvTelemetryAnswer* answer);
};

/// The module's entry point: null for a version that it does not have.
typedef const OrvTelemetrySender* OrvTelemetrySenderEntry(int version);

}  // extern "C"

inline constexpr char kOrvTelemetrySenderModule[] = "telemetry_sender";
inline constexpr char kOrvTelemetrySenderEntry[] = "orvTelemetrySender";
