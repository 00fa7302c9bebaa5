#include "platform/net/XmlTextMarks.h"

#include <algorithm>
#include <array>

namespace platform {
namespace {

constexpr unsigned kFirstPrivateUse = 0xE000;
constexpr unsigned kLastPrivateUse = 0xF8FF;

std::string utf8OfPrivateUse(unsigned code) {
    return {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3F)),
            static_cast<char>(0x80 | (code & 0x3F))};
}

class Marker {
public:
    Marker(std::string_view document, const XmlMarks& marks) : m_rest(document), m_marks(marks) {}

    std::string run() {
        while (!m_rest.empty()) {
            if (m_rest[0] == '<')
                markup();
            else if (m_depth > 0)
                text();
            else
                copy(std::min(m_rest.find('<'), m_rest.size()));
        }
        return std::move(m_marked);
    }

private:
    void copy(size_t count) {
        m_marked += m_rest.substr(0, count);
        m_rest.remove_prefix(count);
    }

    size_t endOf(std::string_view ending, size_t from) const {
        const size_t found = m_rest.find(ending, from);
        return found == std::string_view::npos ? m_rest.size() : found + ending.size();
    }

    void markup() {
        if (m_rest.starts_with("<!--"))
            copy(endOf("-->", 4));
        else if (m_rest.starts_with("<?"))
            copy(endOf("?>", 2));
        else if (m_rest.starts_with("<![CDATA["))
            section();
        else if (m_rest.starts_with("<!"))
            declaration();
        else
            tag();
    }

    void text() {
        const size_t end = std::min(m_rest.find('<'), m_rest.size());
        for (size_t left = end; left > 0;) {
            const size_t special = std::min(m_rest.find_first_of("\r&"), left);
            copy(special);
            left -= special;
            if (left > 0)
                left -= m_rest[0] == '&' ? reference(left) : lineEnd(left);
        }
    }

    size_t reference(size_t left) {
        const size_t length = std::min(endOf(";", 0), left);
        m_marked += m_marks.split;
        copy(length);
        m_marked += m_marks.split;
        return length;
    }

    size_t lineEnd(size_t left) {
        if (left > 1 && m_rest[1] == '\n') {
            m_marked += m_marks.carriageReturn;
            m_rest.remove_prefix(1);
        } else {
            copy(1);
        }
        return 1;
    }

    void section() {
        const size_t end = endOf("]]>", 9);
        for (size_t left = end; left > 0;) {
            const size_t plain = std::min(m_rest.find('\r'), left);
            copy(plain);
            left -= plain;
            if (left > 0)
                left -= lineEnd(left);
        }
    }

    /// A document type with its internal subset.
    void declaration() {
        int brackets = 0;
        copy(2);
        while (!m_rest.empty()) {
            const char c = m_rest[0];
            if (c == '"' || c == '\'') {
                copy(endOf(m_rest.substr(0, 1), 1));
            } else if (m_rest.starts_with("<!--") || m_rest.starts_with("<?")) {
                markup();
            } else {
                brackets += c == '[' ? 1 : c == ']' ? -1 : 0;
                copy(1);
                if (c == '>' && brackets <= 0)
                    return;
            }
        }
    }

    void tag() {
        m_depth += m_rest.starts_with("</") ? -1 : 1;
        copy(1);
        while (!m_rest.empty()) {
            const size_t plain = std::min(m_rest.find_first_of("\"'>"), m_rest.size());
            const bool isEmptyElement = plain > 0 && m_rest[plain - 1] == '/';
            copy(plain);
            if (m_rest.empty())
                return;
            if (m_rest[0] == '>') {
                m_depth -= isEmptyElement ? 1 : 0;
                copy(1);
                return;
            }
            copy(endOf(m_rest.substr(0, 1), 1));
        }
    }

    std::string_view m_rest;
    const XmlMarks& m_marks;
    std::string m_marked;
    int m_depth = 0;
};

}  // namespace

std::optional<XmlMarks> unusedXmlMarks(std::string_view document) {
    std::array<bool, kLastPrivateUse - kFirstPrivateUse + 1> used{};
    for (size_t i = 0; i + 2 < document.size(); ++i) {
        const auto byte = [&](size_t at) { return static_cast<unsigned char>(document[i + at]); };
        if ((byte(0) & 0xF0U) != 0xE0)
            continue;
        const unsigned code = (byte(0) & 0x0FU) << 12 | (byte(1) & 0x3FU) << 6 | (byte(2) & 0x3FU);
        if (code >= kFirstPrivateUse && code <= kLastPrivateUse)
            used[code - kFirstPrivateUse] = true;
    }
    const auto first = std::find(used.begin(), used.end(), false);
    const auto second = first == used.end() ? first : std::find(first + 1, used.end(), false);
    if (second == used.end())
        return std::nullopt;
    const auto character = [&](auto place) {
        return utf8OfPrivateUse(kFirstPrivateUse + static_cast<unsigned>(place - used.begin()));
    };
    return XmlMarks{character(first), character(second)};
}

std::string withXmlMarks(std::string_view document, const XmlMarks& marks) {
    return Marker(document, marks).run();
}

}  // namespace platform
