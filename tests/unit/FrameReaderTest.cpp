#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/FrameReader.h"

namespace {

using platform::FrameReader;
using namespace std::string_literals;

struct Case {
    const char* name;
    std::string stream;
    std::vector<std::string> messages;  // "<id>:<data>"
    FrameReader::Front rest;
    bool restIsEmpty;
};

const Case kCases[] = {
    {"nothing", "", {}, FrameReader::Front::part, true},
    {"several",
     "\1\0\0\0\2\0\0\0ab\xff\xff\xff\xff\0\0\0\0\0\1\0\0\4\0\0\0wxyz"s,
     {"1:ab", "-1:", "256:wxyz"},
     FrameReader::Front::part,
     true},
    {"partOfAHeader", "\1\0\0\0\1\0\0\0a\2\0\0"s, {"1:a"}, FrameReader::Front::part, false},
    {"partOfAMessage", "\1\0\0\0\3\0\0\0ab"s, {}, FrameReader::Front::part, false},
    {"tooLong", "\1\0\0\0\1\0\0\0a\1\0\0\0\5\0\0\0"s, {"1:a"}, FrameReader::Front::tooLong, false},
    {"farTooLong", "\1\0\0\0\xff\xff\xff\xff"s, {}, FrameReader::Front::tooLong, false},
};

TEST(FrameReader, CutsTheStreamHoweverItArrives) {
    for (const auto& test : kCases) {
        for (const size_t piece : {size_t{1}, size_t{3}, size_t{100}}) {
            FrameReader reader(4);
            std::vector<std::string> messages;
            for (size_t at = 0; at < test.stream.size(); at += piece) {
                const size_t count = std::min(piece, test.stream.size() - at);
                std::copy_n(test.stream.data() + at, count, reader.room(100).data());
                reader.push(count);
                while (reader.front() == FrameReader::Front::message) {
                    const auto [id, data] = reader.takeMessage();
                    messages.push_back(std::to_string(id) + ":" + std::string(data));
                }
            }
            EXPECT_EQ(messages, test.messages) << test.name << " in pieces of " << piece;
            EXPECT_EQ(reader.front(), test.rest) << test.name << " in pieces of " << piece;
            EXPECT_EQ(reader.isEmpty(), test.restIsEmpty) << test.name << " in pieces of " << piece;
        }
    }
}

}  // namespace
