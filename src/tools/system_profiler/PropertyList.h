#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tools {

/// A value of a property list. Dictionaries keep the order in which their entries were added.
class PropertyValue {
public:
    using Array = std::vector<PropertyValue>;
    using Dictionary = std::vector<std::pair<std::string, PropertyValue>>;

    PropertyValue(std::string text) : value_(std::move(text)) {}
    PropertyValue(const char* text) : value_(std::string(text)) {}
    PropertyValue(int64_t number) : value_(number) {}
    PropertyValue(Array array) : value_(std::move(array)) {}
    PropertyValue(Dictionary dictionary) : value_(std::move(dictionary)) {}

    /// Appends the XML element, indented by tabs.
    void appendXml(std::string& xml, size_t depth) const;

private:
    std::variant<std::string, int64_t, Array, Dictionary> value_;
};

/// A whole property list document.
std::string propertyListXml(const PropertyValue& root);

/// Text for an XML element: escaped, with "?" for each byte that is no UTF-8 and each character that XML
/// does not allow.
std::string xmlText(std::string_view text);

}  // namespace tools
