#include "Page.h"

#include <stdexcept>

#include "Base64.h"

namespace orvanereport {

namespace {

constexpr std::string_view kPlace = "<!-- archives -->";

std::string attribute(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

}  // namespace

std::string pageWith(std::string_view pageTemplate, const std::vector<PagePart>& parts) {
    const size_t place = pageTemplate.find(kPlace);
    if (place == std::string_view::npos) {
        throw std::runtime_error("the page's template has no place for archives");
    }
    std::string page(pageTemplate.substr(0, place));
    for (const PagePart& part : parts) {
        page += "<script type=\"application/x-orvane-archive\" data-name=\"" + attribute(part.name) + "\">" +
                encodeBase64(part.bytes) + "</script>\n";
    }
    page += pageTemplate.substr(place);
    return page;
}

}  // namespace orvanereport
