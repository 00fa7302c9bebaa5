#include <cstdint>
#include <cstdlib>
#include <string>

#include "DGAUpload/logic/DGAXMLParser.h"

// Whatever the server sends, one of the two callbacks runs, once, and a piece of text is never larger than
// the document can say in any encoding.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length) {
    const std::string reply(reinterpret_cast<const char*>(bytes), length);
    int calls = 0;
    DGAXMLParser::parserValueWith(
        reply,
        [&](const DGAXMLParser::Dictionary& values) {
            ++calls;
            for (const auto& [name, text] : values) {
                if (text == "\n" || text.size() > 3 * length)
                    std::abort();
            }
        },
        [&](const platform::XmlParseError& /*error*/) { ++calls; })
        ->startParse();
    if (calls != 1)
        std::abort();
    return 0;
}
