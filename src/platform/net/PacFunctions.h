#pragma once

namespace platform {

/// The functions that every proxy auto-configuration script may use, in JavaScript, but for `dnsResolve`,
/// `myIpAddress`, `dnsResolveEx` and `myIpAddressEx`. The global variable `namesLookedUp` must say before how
/// many entries of the tables of day and month names are looked at: 12 finds them all.
extern const char* const kPacFunctions;

}  // namespace platform
