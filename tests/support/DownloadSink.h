#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "DGAUpload/logic/webaccess/CFNetworkHTTPDownload.h"
#include "platform/RunLoop.h"
#include "support/ScriptedServer.h"

inline std::string ok(const std::string& body) {
    return ScriptedServer::reply("200 OK", body);
}

/// Keeps what an engine reports, and ends the wait for it.
class Sink : public IUrlDownloadSink {
public:
    void OnUrlReturn(intptr_t downloadType, int result, const char* data) override {
        ++reports;
        type = downloadType;
        lastResult = result;
        lastData = data && result >= 0 && !isPath
                       ? std::optional(std::string(data, static_cast<size_t>(result)))
                   : data ? std::optional(std::string(data))
                          : std::nullopt;
        if (onReturn)
            onReturn();
        platform::RunLoop::current().stop();
    }
    bool OnAskProxy(std::string& user, std::string& password) override {
        ++asked;
        const bool agrees = onAsk && onAsk(user, password);
        if (!agrees)
            platform::RunLoop::current().stop();
        return agrees;
    }
    // Serves the loop until the report or a declined challenge.
    void wait() const {
        const int before = reports;
        if (before == 0)
            platform::RunLoop::current().runFor(std::chrono::seconds(20));
    }

    int reports = 0;
    int asked = 0;
    intptr_t type = 0;
    int lastResult = -100;
    std::optional<std::string> lastData;
    bool isPath = false;
    std::function<void()> onReturn;
    std::function<bool(std::string&, std::string&)> onAsk;
};
