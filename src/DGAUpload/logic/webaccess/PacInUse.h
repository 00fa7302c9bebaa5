#pragma once

#include "DGAUpload/logic/webaccess/PacParser.h"

/// Keeps a parser alive while one of its calls waits: the loop that is served meanwhile may clean it up.
class CPacParser::InUse {
public:
    explicit InUse(CPacParser* parser);
    ~InUse();
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;

private:
    CPacParser* parser_;
};
