#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace support {

/// A text of the string tables with its placeholders filled: each "%@" and "%d", from left to right, gives
/// way to the next of `values`, and "%%" to one "%". The text is data, never a format string: whatever else
/// begins with "%" stays as it is, so do placeholders that no value is left for, and values are put in
/// unread. Numbers are passed as std::to_string() writes them. Any thread.
///
///     fillPlaceholders("%@\n\n%@", {first, second})
///     fillPlaceholders(DGAUtilities::dga_localize(kTextUploadingReport), {std::to_string(percent)})
std::string fillPlaceholders(std::string_view text, std::initializer_list<std::string_view> values);

}  // namespace support
