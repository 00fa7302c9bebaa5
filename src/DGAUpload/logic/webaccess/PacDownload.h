#pragma once

#include <functional>
#include <string>

#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"

/// One download of the transfer engine, which itself asks for proxies and so for scripts: scripts know it by
/// no more than this.
class IPacTransfer {
public:
    virtual ~IPacTransfer() = default;

    /// Begins to fetch a script without asking for proxies; the sink is given one report, after which the
    /// transfer deletes itself. 0, or what the engine's DownloadURL returned: then nothing is deleted.
    virtual int beginScript(const char* url, IUrlDownloadSink* sink, unsigned long timeout) = 0;
};

/// What makes the transfers; the engine sets it before any code of main() runs.
void setPacTransferMaker(IPacTransfer* (*make)());

/// Fetches an auto-configuration script without asking for proxies, and serves the run loop until `finished`
/// says so or the engine's time-out is long over. `engine` is the caller's: null it when the sink is given
/// its report, after which the engine deletes itself. One that is left over is deleted here. What DownloadURL
/// returned.
int downloadPacScript(const std::string& url, IUrlDownloadSink* sink, IPacTransfer*& engine,
                      const std::function<bool()>& finished);

/// The text at a file or HTTP address, as UTF-8. An empty text and an error if there is none.
struct PacTextAtURL {
    std::string text;
    std::string error;
};
PacTextAtURL readPacText(const std::string& url);
