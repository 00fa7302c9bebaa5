#pragma once

#include <string>

namespace DGAUtilities {

/// The text for an English key in the client's language, English before the client has told one; the key
/// itself where the string table has none or cannot be read. The first call for a language reads its
/// table, which stays. `%@` and `%d` in a text are for support::fillPlaceholders().
std::string dga_localize(const std::string& key);

}  // namespace DGAUtilities
