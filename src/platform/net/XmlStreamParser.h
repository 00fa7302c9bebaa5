#pragma once

#include <string>
#include <string_view>

namespace platform {

/// Why a document could not be read.
struct XmlParseError {
    int code = 0;  ///< of the XML library (xmlParserErrors); 0 for a limit of ours
    int line = 0;  ///< 0 if it is not known
    std::string message;
};

/// Told what an XML document contains, in the document's order. The last call is either
/// parserDidEndDocument() or parserParseErrorOccurred(), once.
class XmlStreamDelegate {
public:
    virtual ~XmlStreamDelegate() = default;

    virtual void parserDidStartDocument() = 0;

    /// `elementName` is without a namespace prefix.
    virtual void parserDidStartElement(const std::string& elementName) = 0;

    /// Text, in the largest pieces that neither a tag, a comment, a processing instruction nor a reference
    /// interrupts; a reference ("&amp;", "&#65;") is a piece of its own, and so is a CDATA section. A CR LF
    /// of the document is a CR LF here.
    virtual void parserFoundCharacters(const std::string& text) = 0;

    virtual void parserDidEndDocument() = 0;
    virtual void parserParseErrorOccurred(const XmlParseError& error) = 0;
};

/// Reads XML documents from outside (XML 1.0, namespaces). Nothing outside the document is read, and no
/// entity but the five predefined ones is expanded: a reference to one that an internal subset declares is an
/// error.
class XmlStreamParser {
public:
    static constexpr size_t kMostBytes = size_t{16} * 1024 * 1024;
    static constexpr int kMostDepth = 256;

    /// Bytes in any encoding that the system can convert, as the byte order mark or the XML declaration
    /// name it; UTF-8 without either.
    explicit XmlStreamParser(std::string document);

    /// Not owned; alive while parse() runs.
    void setDelegate(XmlStreamDelegate* delegate) { m_delegate = delegate; }

    /// Reads the document on the calling thread. False after an error. Without a delegate nothing is read.
    bool parse();

private:
    std::string m_document;
    XmlStreamDelegate* m_delegate = nullptr;
};

}  // namespace platform
