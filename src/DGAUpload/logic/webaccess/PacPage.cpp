#include "DGAUpload/logic/webaccess/PacPage.h"

#include <algorithm>

#include "DGAUpload/logic/webaccess/PacText.h"
#include "DGAUpload/logic/webaccess/PageNativeObject.h"
#include "platform/Text.h"
#include "platform/net/PacEvaluator.h"
#include "platform/net/PacFunctions.h"

namespace {

constexpr char kPageBegin[] = R"html(<html>
<head>
<script type="text/javascript" language="JavaScript2.4">
function dnsResolve(host) {
    if (window.myResolveHostObject)
        return window.myResolveHostObject.dnsResolve(host);
    return null;
}

function myIpAddress() {
    if (window.myIpAddressObject)
        return window.myIpAddressObject.myIpAddress();
    return "127.0.0.1";
}

var namesLookedUp = 6;
)html";

constexpr char kPageEnd[] = R"html(
$FUNCTIONS
</script>
</head>
<body></body>
</html>
)html";

// As a browser finds it: up to the first "</script", wherever that stands.
std::string scriptElement(const std::string& html) {
    const std::string lower = platform::lowerCase(html);
    const size_t element = lower.find("<script");
    const size_t begin = element == std::string::npos ? element : lower.find('>', element);
    if (begin == std::string::npos)
        return {};
    return html.substr(begin + 1, std::min(lower.find("</script", begin), html.size()) - begin - 1);
}

}  // namespace

std::string PacPage::pageTemplate() {
    return std::string(kPageBegin) + platform::kPacFunctions + kPageEnd;
}

void PacPage::loadHTMLString(const std::string& html) {
    platform::defineAddressLists(*process_);
    process_->evaluate(scriptElement(html), [this, alive = std::weak_ptr<int>(alive_)](const auto& answer) {
        if (alive.expired() || !delegate_)
            return;
        // A page whose script fails has loaded all the same.
        if (answer.broken)
            delegate_->webView(*this, answer.text, mainFrame());
        else
            delegate_->webView(*this, mainFrame());
    });
}

void PacPage::setWindowObject(const std::string& key, const std::shared_ptr<PageNativeObject>& object) {
    for (const char* selector : {"myIpAddress", "dnsResolve:"}) {
        if (PageNativeObject::isSelectorExcludedFromWebScript(selector))
            continue;
        const std::string name = PageNativeObject::webScriptNameForSelector(selector);
        process_->define(key, name, [object, name](const std::string& argument) {
            return name == "dnsResolve" ? object->dnsResolve(argument) : object->myIpAddress();
        });
    }
}

std::string PacPage::callWebScriptMethod(const std::string& name,
                                         const std::vector<std::string>& withArguments) {
    const auto process = process_;
    const auto answer = process->call(name, withArguments);
    return answer.failed ? std::string() : answer.text;
}
