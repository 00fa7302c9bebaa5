#include "support/TextTemplate.h"

namespace support {

std::string fillPlaceholders(std::string_view text, std::initializer_list<std::string_view> values) {
    std::string filled;
    const auto* value = values.begin();
    for (size_t at = 0; at < text.size(); ++at) {
        const char after = text[at] == '%' && at + 1 < text.size() ? text[at + 1] : '\0';
        if (after == '%') {
            filled += '%';
            ++at;
        } else if ((after == '@' || after == 'd') && value != values.end()) {
            filled += *value++;
            ++at;
        } else {
            filled += text[at];
        }
    }
    return filled;
}

}  // namespace support
