#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Two characters that a document does not contain, from the private use area (U+E000 to U+F8FF), in UTF-8.
struct XmlMarks {
    std::string carriageReturn;  ///< stands for a carriage return that a line feed follows
    std::string split;           ///< stands around a reference
};

/// Characters that the document (UTF-8) does not contain; none if it uses nearly all of them.
std::optional<XmlMarks> unusedXmlMarks(std::string_view document);

/// The document with the carriage return of every CR LF in its text replaced by a mark, so that a parser that
/// normalises line ends (XML 1.0, section 2.11) passes it on, and with a mark before and after every
/// reference in its text. Everything else, what stands outside the root element included, stays as it is. A
/// document that is not well-formed does not become so.
std::string withXmlMarks(std::string_view document, const XmlMarks& marks);

}  // namespace platform
