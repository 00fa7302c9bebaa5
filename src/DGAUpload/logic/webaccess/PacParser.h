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

class IPacTransfer;

/// A proxy that an auto-configuration script named.
struct PacProxy {
    std::string host;  ///< "" where it said to go directly
    int32_t port = 0;
    platform::ProxyKind kind = platform::ProxyKind::http;
};

/// Finds the proxies of addresses by the auto-configuration script of the desktop's proxy settings. The
/// script is loaded once, by the first use of the singleton, and evaluated by two routes: the platform's
/// evaluator, and a hidden page with helper functions of its own. Of an https address a script sees the host
/// and port, of no address a user or password. An empty answer means to go directly, and is what every
/// failure gives. The singleton is made and cleaned up on the main thread, whose loop is served while it
/// loads and evaluates; the rest may be called on any thread while the main loop runs.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only CleanUP() deletes the one that there is
class CPacParser : public IUrlDownloadSink {
public:
    /// Never null; made and loaded (up to half a minute) on first use. A nested call during the loading gets
    /// the parser as far as it is.
    static CPacParser* sharedInstance();

    /// Whether the desktop's settings name a script and the loaded one is valid.
    static bool IsPacEnabled(
        const std::optional<platform::ProxySettings>& settings = platform::copySystemProxySettings());

    /// To be called when an upload begins. Has the script loaded anew by the next use if there is none yet,
    /// the settings name another one, or the network has changed since it was loaded. Main thread.
    static void RefreshForUpload();

    /// Deletes the singleton, at once or when the last call of it has returned. The next use loads anew.
    static void CleanUP();

    bool IsPacURLValid() const;
    /// Whether the page has loaded, for which up to a tenth of a second is waited.
    bool IsReady();

    /// The ways to an address in the order of the script's answer, DIRECT among them: by the evaluator, else
    /// by the page.
    std::vector<PacProxy> FindRoutes(const char* url);
    /// The proxies among FindRoutes().
    std::vector<PacProxy> FindProxy(const char* url);
    /// The proxies by the evaluator; where it knows no word of the answer, by the page.
    std::vector<PacProxy> CocoaFindProxy(const char* url);
    /// The evaluator's entries, each in the form of an answer, with "; " between them.
    std::string CocoaFindProxyString(const char* url);
    /// The script: the loaded one, else read anew from the settings' address.
    std::string CocoaGetPACScript(const char* url);
    /// The proxies by the page.
    std::vector<PacProxy> ScriptFindProxy(const char* url);
    /// What the page's script answers, as it is.
    std::string ScriptFindProxyString(const char* url);
    /// CocoaFindProxyString(), or where that is empty ScriptFindProxyString().
    std::string FindProxyString(const char* url);
    /// The proxies that a script's answer names, without DIRECT.
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
    /// Keeps a parser alive while one of its calls waits: the loop that is served meanwhile may clean it up.
    class InUse {
    public:
        explicit InUse(CPacParser* parser);
        ~InUse();
        InUse(const InUse&) = delete;
        InUse& operator=(const InUse&) = delete;

    private:
        CPacParser* parser_;
    };

    void load();
    void waitForPage() const;
    std::vector<PacProxy> EvaluatedRoutes(const char* url);
    std::vector<PacProxy> PageRoutes(const char* url);
    std::vector<PacProxy> ParseRoutes(const char* text);
    bool evaluate(const char* url, const std::string& method, platform::PacEvaluator::Result& result);

    static std::atomic<CPacParser*> m_sGlobalParser;

    std::string m_strPacContent;  ///< ASCII only
    std::string m_strLoadedFrom;
    uint64_t m_nNetwork = 0;  ///< as networkChanges() said when it was loaded
    WebViewLoad m_webViewLoad;
    std::unique_ptr<PacPage> m_pWebView;
    bool m_bAnswered = false;
    IPacTransfer* m_pDownload = nullptr;  ///< while it may still answer
    platform::PacEvaluator m_evaluator;
    std::atomic<int> m_nInUse{0};
    std::atomic<bool> m_bCleanedUp{false};
};
