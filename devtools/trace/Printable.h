#pragma once

#include <string>
#include <string_view>

namespace tracefile {

/// Text from a file, safe for a terminal: control characters and broken UTF-8 become "?".
std::string printable(std::string_view text);

}  // namespace tracefile
