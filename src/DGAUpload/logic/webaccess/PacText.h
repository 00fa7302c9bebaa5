#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Text helpers of the auto-configuration module. All are pure but for what divideStr logs.

/// The pieces of `source` between the characters of `tok`, without empty ones. Each is logged.
std::vector<std::string> divideStr(const std::string& source, const std::string& tok);

/// Whether an entry of a script's answer gives an IPv6 address in brackets.
bool isIPv6Format(const std::string& text);

/// The text without its bytes above 127.
std::string filterAscII(const std::string& text);

/// The text with the first occurrence of the pattern replaced, and no other.
std::string replaceall(const std::string& text, const std::string& pattern, const std::string& replacement);

/// Length of the "https://" or "http://" in front of an address, in any case; 0 without one.
size_t schemeLength(const std::string& url);

/// What a script may see of an address: no user and password, and of an https one neither path nor query,
/// which are nobody's on the way.
std::string urlForScript(const std::string& url);

/// The path of a "file:" address, its percent escapes decoded; "" for any other.
std::string pathOfFileURL(const std::string& url);
