#include "DGAUpload/logic/DGAXMLParser.h"

#include <utility>

std::unique_ptr<DGAXMLParser> DGAXMLParser::parserValueWith(std::string reply, Completion completion,
                                                            Failed failed) {
    auto parser = std::make_unique<DGAXMLParser>();
    parser->initParserValueWith(std::move(reply), "", std::move(completion), std::move(failed));
    return parser;
}

void DGAXMLParser::initParserValueWith(std::string reply, std::string nodeName, Completion completion,
                                       Failed failed) {
    _nodeName = std::move(nodeName);
    _completionHandler = std::move(completion);
    _failedHandle = std::move(failed);
    _parser = std::make_unique<platform::XmlStreamParser>(std::move(reply));
    _parser->setDelegate(this);
}

void DGAXMLParser::startParse() {
    if (_parser)
        _parser->parse();
}

void DGAXMLParser::parserDidStartDocument() {
    _parserDic.clear();
}

void DGAXMLParser::parserDidStartElement(const std::string& elementName) {
    _currentNode = elementName;
}

void DGAXMLParser::parserFoundCharacters(const std::string& text) {
    if (text != "\n")
        _parserDic[_currentNode] = text;
}

void DGAXMLParser::parserDidEndDocument() {
    if (_completionHandler)
        _completionHandler(_parserDic);
}

void DGAXMLParser::parserParseErrorOccurred(const platform::XmlParseError& error) {
    if (_failedHandle)
        _failedHandle(error);
}
