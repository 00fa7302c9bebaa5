#pragma once

#include <string>
#include <vector>

namespace platform {

/// The addresses of a named host as texts, in the order in which they should be tried; empty if it has none.
/// Waits for the resolver, which may take many seconds: not for the main thread.
std::vector<std::string> addressesOfHost(const std::string& name);

/// The addresses of this machine: first that of the default route, then the other IPv4 ones, then IPv6, at
/// last the loopback ones. Any thread.
std::vector<std::string> addressesOfThisHost();

}  // namespace platform
