#pragma once

#include <functional>
#include <string>

#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"

class CNetworkDownload;

/// Fetches an auto-configuration script without asking for proxies, and serves the run loop until `finished`
/// says so or the engine's time-out is long over. `engine` is the caller's: null it when the sink is given
/// its report, after which the engine deletes itself. One that is left over is deleted here. What DownloadURL
/// returned.
int downloadPacScript(const std::string& url, IUrlDownloadSink* sink, CNetworkDownload*& engine,
                      const std::function<bool()>& finished);

/// The text at a file or HTTP address, as UTF-8. An empty text and an error if there is none.
struct PacTextAtURL {
    std::string text;
    std::string error;
};
PacTextAtURL readPacText(const std::string& url);
