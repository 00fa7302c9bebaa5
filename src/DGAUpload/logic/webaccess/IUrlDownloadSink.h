#pragma once

#include <cstdint>
#include <string>

/// Told about the outcome of a transfer. Called on the transfer's thread.
class IUrlDownloadSink {
public:
    /// The one report of a transfer. `downloadType` is the value the engine was given, so that one sink can
    /// tell its transfers apart.
    ///
    /// `result` and `data`: at the end of the reply the number of bytes and the body with a NUL after it, or
    /// in file mode the file's path, ending in a NUL; 0 and null for HTTP status 404; -1 and null for a
    /// connection that failed or took too long; what had been received until then for a POST that could not
    /// be sent. An empty body is 0 and null. `data` belongs to the engine, which may delete itself after this
    /// call: copy.
    virtual void OnUrlReturn(intptr_t downloadType, int result, const char* data) = 0;

    /// Asks for credentials after a status of 401, 403 or 407. True repeats the request with what was filled
    /// in, false ends it without a report.
    virtual bool OnAskProxy(std::string& user, std::string& password) = 0;

    virtual ~IUrlDownloadSink() = default;
};
