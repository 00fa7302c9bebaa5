#include "Masker.h"

#include <fmt/format.h>
#include <re2/re2.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "MaskRules.h"
#include "TraceStream.h"
#include "devtools/trace/TraceReader.h"

namespace orvanereport {

namespace {

constexpr size_t kShortestLiteral = 3;

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return result;
}

bool isInWord(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || static_cast<unsigned char>(character) >= 0x80;
}

/// Whether the text at `place` stands for itself, not within a longer word.
bool isWord(std::string_view text, size_t place, size_t length) {
    return (place == 0 || !isInWord(text[place - 1])) &&
           (place + length == text.size() || !isInWord(text[place + length]));
}

re2::StringPiece piece(std::string_view text) {
    return {text.data(), text.size()};
}

}  // namespace

Masker::Masker() : unmasked_(kUnmasked.begin(), kUnmasked.end()) {
    re2::RE2::Options options;
    options.set_encoding(re2::RE2::Options::EncodingLatin1);
    for (const MaskRule& rule : kMaskRules) {
        rules_.push_back({std::string(rule.kind), std::make_unique<re2::RE2>(piece(rule.pattern), options)});
    }
}

Masker::~Masker() = default;

std::string Masker::token(std::string_view kind, std::string_view value) {
    const std::string key = fmt::format("{}\n{}", kind, lower(value));
    auto& found = tokens_[key];
    if (found.empty()) {
        found = fmt::format("{}-{}", kind, ++counts_[std::string(kind)]);
        mapping_.emplace_back(found, value);
    }
    return found;
}

// A person is also found by a part of the name.
void Masker::addLiteral(std::string_view kind, std::string_view value) {
    if (value.size() < kShortestLiteral || value == "(null)") {
        return;
    }
    const std::string token = this->token(kind, value);
    const auto add = [&](std::string_view text) {
        const std::string literal = lower(text);
        const bool known = std::any_of(literals_.begin(), literals_.end(),
                                       [&](const auto& entry) { return entry.first == literal; });
        if (!known && text.size() >= kShortestLiteral) {
            literals_.emplace_back(literal, token);
        }
    };
    add(value);
    if (kind == "person") {
        for (size_t start = 0; start < value.size();) {
            const size_t end = std::min(value.find(' ', start), value.size());
            add(value.substr(start, end - start));
            start = end + 1;
        }
    }
    std::sort(literals_.begin(), literals_.end(), [](const auto& one, const auto& other) {
        return one.first.size() != other.first.size() ? one.first.size() > other.first.size() : one < other;
    });
}

void Masker::learn(const Archive& archive) {
    streamTrace(archive, [this](const tracefile::TraceLine& line) {
        if (line.module != "39") {
            return;
        }
        if (line.basicInfo == "clientversion") {
            unmasked_.emplace_back(line.text);
        }
        for (const MaskedParameter& parameter : kMaskedParameters) {
            if (line.basicInfo == parameter.name) {
                addLiteral(parameter.kind, line.isEncoded() ? tracefile::decodeBase64(line.text).value_or("")
                                                            : std::string(line.text));
            }
        }
    });
    constexpr std::string_view kCrash = ".crash";
    for (const Archive::Entry& entry : archive.entries()) {
        const size_t host = entry.name.rfind('_');
        if (entry.name.ends_with(kCrash) && host != std::string::npos) {
            addLiteral(
                "host",
                std::string_view(entry.name).substr(host + 1, entry.name.size() - host - 1 - kCrash.size()));
        }
    }
}

void Masker::maskLine(std::string_view line, std::string& to) {
    std::vector<Span> spans;
    for (size_t rank = 0; rank < rules_.size(); ++rank) {
        re2::StringPiece groups[2];
        size_t place = 0;
        const int count = std::min(1, rules_[rank].pattern->NumberOfCapturingGroups()) + 1;
        while (place < line.size() && rules_[rank].pattern->Match(piece(line), place, line.size(),
                                                                  re2::RE2::UNANCHORED, groups, count)) {
            const re2::StringPiece& found = groups[count - 1];
            const auto begin = static_cast<size_t>(found.data() - line.data());
            const std::string_view value = line.substr(begin, found.size());
            if (std::find(unmasked_.begin(), unmasked_.end(), value) == unmasked_.end()) {
                spans.push_back({begin, value.size(), rank, ""});
            }
            place = std::max(begin + found.size(), place + 1);
        }
    }
    const std::string lowered = literals_.empty() ? "" : lower(line);
    for (const auto& [literal, token] : literals_) {
        for (size_t place = lowered.find(literal); place != std::string::npos;
             place = lowered.find(literal, place + literal.size())) {
            if (isWord(line, place, literal.size())) {
                spans.push_back({place, literal.size(), rules_.size(), token});
            }
        }
    }
    std::stable_sort(spans.begin(), spans.end(), [](const Span& one, const Span& other) {
        return one.begin != other.begin ? one.begin < other.begin : one.length > other.length;
    });
    size_t place = 0;
    for (const Span& span : spans) {
        if (span.begin < place) {
            continue;
        }
        to += line.substr(place, span.begin - place);
        // What names a person, a meeting or an id that is known has its token already.
        const std::string known = lower(line.substr(span.begin, span.length));
        const auto literal = std::find_if(literals_.begin(), literals_.end(),
                                          [&](const auto& entry) { return entry.first == known; });
        to += literal != literals_.end()
                  ? literal->second
                  : token(rules_[span.rank].kind, line.substr(span.begin, span.length));
        place = span.begin + span.length;
    }
    to += line.substr(place);
}

std::string Masker::mask(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const bool broken = text[end - 1] == '\n';
        maskLine(text.substr(0, end - (broken ? 1 : 0)), result);
        if (broken) {
            result += '\n';
        }
        text.remove_prefix(end);
    }
    return result;
}

std::string Masker::maskField(std::string_view name, std::string_view value) {
    for (const MaskedParameter& parameter : kMaskedParameters) {
        if (name == parameter.name) {
            return value.empty() ? "" : token(parameter.kind, value);
        }
    }
    return name == "clientversion" ? std::string(value) : mask(value);
}

std::string Masker::mapping() const {
    auto json = nlohmann::ordered_json::object();
    for (const auto& [token, value] : mapping_) {
        json[token] = value;
    }
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace orvanereport
