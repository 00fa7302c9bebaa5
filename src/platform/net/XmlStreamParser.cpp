#include "platform/net/XmlStreamParser.h"

#include <glib.h>
#include <libxml/parser.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "platform/Text.h"
#include "platform/net/XmlTextMarks.h"

namespace platform {
namespace {

/// The encoding that a document names: by a byte order mark, by the look of its first bytes, or in its XML
/// declaration. UTF-8 if it names none.
std::string encodingOf(std::string_view document) {
    using namespace std::string_view_literals;
    constexpr std::pair<std::string_view, const char*> kBeginnings[] = {
        {"\xEF\xBB\xBF"sv, "UTF-8"}, {"\xFF\xFE\0\0"sv, "UTF-32LE"}, {"\0\0\xFE\xFF"sv, "UTF-32BE"},
        {"\xFF\xFE"sv, "UTF-16LE"},  {"\xFE\xFF"sv, "UTF-16BE"},     {"<\0\0\0"sv, "UTF-32LE"},
        {"\0\0\0<"sv, "UTF-32BE"},   {"<\0?\0"sv, "UTF-16LE"},       {"\0<\0?"sv, "UTF-16BE"},
    };
    for (const auto& [beginning, encoding] : kBeginnings) {
        if (document.starts_with(beginning))
            return encoding;
    }
    if (!document.starts_with("<?xml"))
        return "UTF-8";
    const std::string_view declaration = document.substr(0, document.find("?>"));
    const size_t named = declaration.find("encoding");
    const size_t quote = named == std::string_view::npos ? named : declaration.find_first_of("\"'", named);
    if (quote == std::string_view::npos)
        return "UTF-8";
    const size_t end = declaration.find(declaration[quote], quote + 1);
    return std::string(declaration.substr(quote + 1, end == std::string_view::npos ? end : end - quote - 1));
}

std::optional<std::string> utf8Of(std::string document) {
    const std::string encoding = encodingOf(document);
    if (g_ascii_strcasecmp(encoding.c_str(), "UTF-8") != 0) {
        gsize length = 0;
        const std::unique_ptr<gchar, decltype(&g_free)> converted(
            g_convert(document.data(), static_cast<gssize>(document.size()), "UTF-8", encoding.c_str(),
                      nullptr, &length, nullptr),
            g_free);
        if (!converted)
            return std::nullopt;
        document.assign(converted.get(), length);
    }
    if (document.starts_with("\xEF\xBB\xBF"))
        document.erase(0, 3);
    if (!isUtf8(document) || document.find('\0') != std::string::npos)
        return std::nullopt;
    return document;
}

/// One run of the library over one document.
class Reading {
public:
    Reading(XmlStreamDelegate& delegate, XmlMarks marks) : m_delegate(delegate), m_marks(std::move(marks)) {}
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() {
        if (m_context == nullptr)
            return;
        // Where entities are declared the library makes itself a document to keep them in.
        xmlFreeDoc(m_context->myDoc);
        m_context->myDoc = nullptr;
        xmlFreeParserCtxt(m_context);
    }

    std::optional<XmlParseError> run(const std::string& document) {
        xmlSAXHandler handler = callbacks();
        m_context = xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr);
        if (m_context == nullptr)
            return XmlParseError{XML_ERR_NO_MEMORY, 0, "no memory for the parser"};
        xmlCtxtUseOptions(m_context, XML_PARSE_NONET | XML_PARSE_IGNORE_ENC);
        xmlParseChunk(m_context, document.data(), static_cast<int>(document.size()), 1);
        if (!m_error && m_context->wellFormed == 0)
            m_error = XmlParseError{m_context->errNo, 0, "the document is not well-formed"};
        return m_error;
    }

private:
    static xmlSAXHandler callbacks() {
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startDocument = [](void* reading) {
            static_cast<Reading*>(reading)->m_delegate.parserDidStartDocument();
        };
        handler.startElementNs = [](void* reading, const xmlChar* name, const xmlChar*, const xmlChar*, int,
                                    const xmlChar**, int, int, const xmlChar**) {
            static_cast<Reading*>(reading)->startElement(reinterpret_cast<const char*>(name));
        };
        handler.endElementNs = [](void* reading, const xmlChar*, const xmlChar*, const xmlChar*) {
            static_cast<Reading*>(reading)->endElement();
        };
        handler.characters = [](void* reading, const xmlChar* text, int length) {
            static_cast<Reading*>(reading)->addText(text, length);
        };
        handler.ignorableWhitespace = handler.characters;
        handler.cdataBlock = [](void* reading, const xmlChar* text, int length) {
            static_cast<Reading*>(reading)->addSection(text, length);
        };
        handler.comment = [](void* reading, const xmlChar*) { static_cast<Reading*>(reading)->flush(); };
        handler.processingInstruction = [](void* reading, const xmlChar*, const xmlChar*) {
            static_cast<Reading*>(reading)->flush();
        };
        handler.serror = [](void* reading, xmlErrorPtr error) {
            static_cast<Reading*>(reading)->fail(*error);
        };
        return handler;
    }

    void startElement(const char* name) {
        flush();
        if (m_error)
            return;
        if (++m_depth > XmlStreamParser::kMostDepth) {
            m_error = XmlParseError{0, 0, "elements are nested too deep"};
            xmlStopParser(m_context);
            return;
        }
        m_delegate.parserDidStartElement(name);
    }

    void endElement() {
        flush();
        --m_depth;
    }

    // The library hands over long text in pieces of its own making: they are joined again.
    void addText(const xmlChar* text, int length) {
        if (m_inSection)
            flush();
        m_inSection = false;
        m_text.append(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    }

    void addSection(const xmlChar* text, int length) {
        if (!m_inSection)
            flush();
        m_inSection = true;
        m_text.append(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    }

    void flush() {
        const std::string text = std::exchange(m_text, {});
        for (size_t start = 0; start < text.size() && !m_error;) {
            const size_t end = std::min(text.find(m_marks.split, start), text.size());
            if (end > start)
                m_delegate.parserFoundCharacters(unmarked(text.substr(start, end - start)));
            start = end + m_marks.split.size();
        }
    }

    std::string unmarked(const std::string& text) const {
        std::string plain;
        plain.reserve(text.size());
        for (size_t start = 0; start < text.size();) {
            const size_t mark = text.find(m_marks.carriageReturn, start);
            plain.append(text, start, mark == std::string::npos ? mark : mark - start);
            if (mark == std::string::npos)
                break;
            plain += '\r';
            start = mark + m_marks.carriageReturn.size();
        }
        return plain;
    }

    void fail(const xmlError& error) {
        if (m_error || error.level != XML_ERR_FATAL)
            return;  // a matter of namespaces: the document is well-formed
        flush();
        m_error = XmlParseError{error.code, error.line, error.message != nullptr ? error.message : ""};
        while (m_error->message.ends_with('\n'))
            m_error->message.pop_back();
        xmlStopParser(m_context);
    }

    XmlStreamDelegate& m_delegate;
    const XmlMarks m_marks;
    xmlParserCtxtPtr m_context = nullptr;
    std::optional<XmlParseError> m_error;
    std::string m_text;
    bool m_inSection = false;
    int m_depth = 0;
};

}  // namespace

XmlStreamParser::XmlStreamParser(std::string document) : m_document(std::move(document)) {}

bool XmlStreamParser::parse() {
    if (m_delegate == nullptr)
        return false;
    std::optional<XmlParseError> error;
    if (m_document.size() > kMostBytes) {
        error = XmlParseError{0, 0, "the document is too large"};
    } else if (const auto document = utf8Of(m_document); !document) {
        error =
            XmlParseError{XML_ERR_INVALID_ENCODING, 0, "the bytes are not text in the encoding they name"};
    } else if (const auto marks = unusedXmlMarks(*document); !marks) {
        error = XmlParseError{0, 0, "the document uses too many private characters"};
    } else {
        error = Reading(*m_delegate, *marks).run(withXmlMarks(*document, *marks));
    }
    if (error)
        m_delegate->parserParseErrorOccurred(*error);
    else
        m_delegate->parserDidEndDocument();
    return !error;
}

}  // namespace platform
