#include "tools/system_profiler/PropertyList.h"

#include <array>
#include <type_traits>

namespace tools {
namespace {

// The bytes of the character at the front; 0 if it is none that XML allows.
size_t characterLength(std::string_view text) {
    const auto byte = [&text](size_t at) -> uint32_t {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
    };
    const uint32_t first = byte(0);
    if (first < 0x80)
        return first >= 0x20 || first == '\t' || first == '\n' || first == '\r' ? 1 : 0;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    uint32_t code = first & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (byte(i) & 0x3F);
    }
    constexpr std::array<uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool notACharacter = code == 0xFFFE || code == 0xFFFF;
    return code >= kSmallest[length] && code <= 0x10FFFF && !surrogate && !notACharacter ? length : 0;
}

void appendElement(std::string& xml, std::string_view name, const std::string& content) {
    xml.append("<").append(name).append(">").append(content).append("</").append(name).append(">\n");
}

}  // namespace

std::string xmlText(std::string_view text) {
    std::string xml;
    while (!text.empty()) {
        const size_t length = characterLength(text);
        if (length == 0)
            xml += '?';
        else if (text[0] == '&')
            xml += "&amp;";
        else if (text[0] == '<')
            xml += "&lt;";
        else if (text[0] == '>')
            xml += "&gt;";
        else if (text[0] == '\r')
            xml += "&#13;";
        else
            xml += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return xml;
}

void PropertyValue::appendXml(std::string& xml, size_t depth) const {
    const std::string indent(depth, '\t');
    xml += indent;
    std::visit(
        [&](const auto& value) {
            using Type = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Type, std::string>) {
                appendElement(xml, "string", xmlText(value));
            } else if constexpr (std::is_same_v<Type, int64_t>) {
                appendElement(xml, "integer", std::to_string(value));
            } else if constexpr (std::is_same_v<Type, Array>) {
                xml += "<array>\n";
                for (const auto& element : value)
                    element.appendXml(xml, depth + 1);
                xml += indent + "</array>\n";
            } else {
                xml += "<dict>\n";
                for (const auto& [key, element] : value) {
                    xml += indent + "\t";
                    appendElement(xml, "key", xmlText(key));
                    element.appendXml(xml, depth + 1);
                }
                xml += indent + "</dict>\n";
            }
        },
        value_);
}

std::string propertyListXml(const PropertyValue& root) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";
    root.appendXml(xml, 0);
    return xml + "</plist>\n";
}

}  // namespace tools
