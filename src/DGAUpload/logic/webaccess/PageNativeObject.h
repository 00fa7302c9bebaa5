#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// What the page of an auto-configuration script can ask of the program. Its methods may wait for the
/// resolver; any thread.
class PageNativeObject {
public:
    /// A new instance.
    static std::shared_ptr<PageNativeObject> pageNativeObject();

    /// The first of this machine's addresses if it is an IPv4 one, else the second if that is, else
    /// "127.0.0.1".
    std::string myIpAddress() const;

    /// The first address of a host, which may be an IPv6 one. None if it has none.
    std::optional<std::string> dnsResolve(const std::string& host) const;

    /// The name under which the page knows a method ("myIpAddress", "dnsResolve:"); "" for any other.
    static std::string webScriptNameForSelector(std::string_view selector);

    /// Whether the page may not call a method.
    static bool isSelectorExcludedFromWebScript(std::string_view selector);

    void* delegate = nullptr;
};
