#include "DGAUpload/logic/webaccess/PacParser.h"

CPacParser* CPacParser::sharedInstance() {
    static CPacParser parser;
    return &parser;
}

bool CPacParser::IsPacEnabled() {
    return false;
}

std::vector<PacProxy> CPacParser::FindProxy(const char* /*url*/) {
    return {};
}
