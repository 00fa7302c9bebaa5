#pragma once

#include <string>
#include <string_view>

namespace orvanereport {

/// Base64 (RFC 4648) in one line.
std::string encodeBase64(std::string_view bytes);

}  // namespace orvanereport
