#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/net/ScriptProcess.h"

class PageNativeObject;

/// A hidden page: the script element of an HTML text, run in a script process. Main thread.
class PacPage {
public:
    class Frame {};

    class FrameLoadDelegate {
    public:
        virtual ~FrameLoadDelegate() = default;
        virtual void webView(PacPage& sender, const Frame* didFinishLoadForFrame) = 0;
        virtual void webView(PacPage& sender, const std::string& didFailLoadWithError,
                             const Frame* forFrame) = 0;
    };

    /// The HTML text with the helper functions of auto-configuration scripts, and "$FUNCTIONS" where the
    /// script goes. Day and month names are looked up in the first six entries of their tables only.
    static std::string pageTemplate();

    /// Not owned; must outlive the page.
    void setFrameLoadDelegate_(FrameLoadDelegate* delegate) { delegate_ = delegate; }

    /// Begins to load a text; the delegate is told the outcome by the run loop. Once only.
    void loadHTMLString(const std::string& html);

    /// Publishes an object in the page's window.
    void setWindowObject(const std::string& key, const std::shared_ptr<PageNativeObject>& object);

    /// What a function of the page returns; "" if it fails. Serves the run loop meanwhile; the page may be
    /// destroyed by then.
    std::string callWebScriptMethod(const std::string& name, const std::vector<std::string>& withArguments);

    const Frame* mainFrame() const { return &mainFrame_; }

private:
    Frame mainFrame_;
    FrameLoadDelegate* delegate_ = nullptr;
    std::shared_ptr<platform::ScriptProcess> process_ = std::make_shared<platform::ScriptProcess>();
    std::shared_ptr<int> alive_ = std::make_shared<int>();  // ends before the process
};
