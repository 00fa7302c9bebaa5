#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/net/XmlStreamParser.h"

/// Reads a reply of the upload server into a flat dictionary: element name to text. Nesting does not matter.
/// A piece of text belongs to the element that was started last, also after that one has ended, and replaces
/// what was there; only a piece that is exactly one line feed is passed over.
class DGAXMLParser final : public platform::XmlStreamDelegate {
public:
    using Dictionary = std::map<std::string, std::string>;
    using Completion = std::function<void(const Dictionary&)>;
    using Failed = std::function<void(const platform::XmlParseError&)>;

    /// A parser with an empty node name; startParse() is still to be called. Callbacks may be empty.
    static std::unique_ptr<DGAXMLParser> parserValueWith(std::string reply, Completion completion,
                                                         Failed failed);

    void initParserValueWith(std::string reply, std::string nodeName, Completion completion, Failed failed);

    /// Reads the reply and, before it returns, calls one of the two callbacks once.
    void startParse();

    void parserDidStartDocument() override;
    void parserDidStartElement(const std::string& elementName) override;
    void parserFoundCharacters(const std::string& text) override;
    void parserDidEndDocument() override;
    void parserParseErrorOccurred(const platform::XmlParseError& error) override;

private:
    std::unique_ptr<platform::XmlStreamParser> _parser;
    std::string _nodeName;
    std::string _currentNode;
    Completion _completionHandler;
    Failed _failedHandle;
    Dictionary _parserDic;
};
