#include "DGAUpload/logic/webaccess/PageNativeObject.h"

#include "platform/net/HostAddresses.h"

std::shared_ptr<PageNativeObject> PageNativeObject::pageNativeObject() {
    return std::make_shared<PageNativeObject>();
}

std::string PageNativeObject::myIpAddress() const {
    const auto addresses = platform::addressesOfThisHost();
    for (size_t i = 0; i < addresses.size() && i < 2; ++i) {
        if (addresses[i].find('.') != std::string::npos)
            return addresses[i];
    }
    return "127.0.0.1";
}

std::optional<std::string> PageNativeObject::dnsResolve(const std::string& host) const {
    const auto addresses = platform::addressesOfHost(host);
    return addresses.empty() ? std::nullopt : std::optional(addresses.front());
}

std::string PageNativeObject::webScriptNameForSelector(std::string_view selector) {
    if (selector == "myIpAddress")
        return "myIpAddress";
    return selector == "dnsResolve:" ? "dnsResolve" : "";
}

bool PageNativeObject::isSelectorExcludedFromWebScript(std::string_view selector) {
    return webScriptNameForSelector(selector).empty();
}
