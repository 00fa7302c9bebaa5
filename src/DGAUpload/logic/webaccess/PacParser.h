#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DGAUpload/logic/webaccess/IUrlDownloadSink.h"
#include "DGAUpload/logic/webaccess/WebViewLoad.h"
#include "platform/net/PacEvaluator.h"

class CNetworkDownload;

/// A proxy that an auto-configuration script named.
struct PacProxy {
    std::string host;
    int32_t port = 0;
};

/// Finds the proxies of addresses by the auto-configuration script of the desktop's proxy settings. The
/// script is loaded once, by the first use of the singleton, and evaluated by two routes: the platform's
/// evaluator, and a hidden page with helper functions of its own. An empty answer means to go directly, and
/// is what every failure gives. The singleton is made and cleaned up on the main thread, whose loop is served
/// while it loads and evaluates; the rest may be called on any thread while the main loop runs.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only CleanUP() deletes the one that there is
class CPacParser : public IUrlDownloadSink {
public:
    /// Never null; made and loaded (up to half a minute) on first use. A nested call during the loading gets
    /// the parser as far as it is.
    static CPacParser* sharedInstance();

    /// Whether the settings name a script and the loaded one is valid.
    static bool IsPacEnabled();

    /// Deletes the singleton, at once or when the last call of it has returned. The next use loads anew.
    static void CleanUP();

    bool IsPacURLValid() const;
    /// Whether the page has loaded, for which up to a tenth of a second is waited.
    bool IsReady();

    std::vector<PacProxy> FindProxy(const char* url);
    std::vector<PacProxy> CocoaFindProxy(const char* url);
    std::string CocoaFindProxyString(const char* url);
    std::string CocoaGetPACScript(const char* url);
    std::vector<PacProxy> ScriptFindProxy(const char* url);
    std::string ScriptFindProxyString(const char* url);
    std::string FindProxyString(const char* url);
    std::vector<PacProxy> ParseProxy(const char* text);

    /// Receives the downloaded script.
    void OnUrlReturn(intptr_t context, int result, const char* data) override;
    /// False: a script behind a password is not fetched.
    bool OnAskProxy(std::string& user, std::string& password) override;

    CPacParser(const CPacParser&) = delete;
    CPacParser& operator=(const CPacParser&) = delete;

protected:
    CPacParser() = default;
    ~CPacParser() override;

private:
    class InUse;

    void load();
    void waitForPage() const;
    bool evaluate(const char* url, const std::string& method, platform::PacEvaluator::Result& result);

    static std::atomic<CPacParser*> m_sGlobalParser;

    std::string m_strPacContent;  ///< ASCII only
    WebViewLoad m_webViewLoad;
    std::unique_ptr<PacPage> m_pWebView;
    bool m_bAnswered = false;
    CNetworkDownload* m_pDownload = nullptr;  ///< while it may still answer
    platform::PacEvaluator m_evaluator;
    std::atomic<int> m_nInUse{0};
    std::atomic<bool> m_bCleanedUp{false};
};
