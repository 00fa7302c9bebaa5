#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Archive.h"

namespace re2 {
class RE2;
}

namespace orvanereport {

/// Replaces what names people, places and machines by tokens such as "person-1"; the same text always by the
/// same token, in all archives that one masker works on.
class Masker {
public:
    Masker();
    ~Masker();
    Masker(const Masker&) = delete;
    Masker& operator=(const Masker&) = delete;

    /// Looks through an archive for who took part, so that they are found everywhere. Throws ArchiveError.
    void learn(const Archive& archive);

    std::string mask(std::string_view text);

    /// The value of a session parameter: masked as a whole if it is a personal one.
    std::string maskField(std::string_view name, std::string_view value);

    /// A copy of an archive at `target`, which must not exist: texts masked, what cannot be masked left out;
    /// a file "orvdga_masked.txt" in it says so. Throws ArchiveError and leaves nothing.
    void maskArchive(const Archive& archive, const std::string& target);

    /// What stands behind each token, as a JSON object.
    std::string mapping() const;

private:
    struct Span {
        size_t begin;
        size_t length;
        size_t rank;
        std::string token;
    };
    struct Rule {
        std::string kind;
        std::unique_ptr<re2::RE2> pattern;
    };

    void addLiteral(std::string_view kind, std::string_view value);
    std::string token(std::string_view kind, std::string_view value);
    void maskLine(std::string_view line, std::string& to);
    std::string maskTrace(std::string_view text);
    std::string maskTopic(std::string_view text);

    std::vector<Rule> rules_;
    std::vector<std::pair<std::string, std::string>> literals_;  ///< in lower case, and its token
    std::vector<std::string> unmasked_;
    std::unordered_map<std::string, std::string> tokens_;  ///< by kind and value
    std::unordered_map<std::string, int> counts_;          ///< by kind
    std::vector<std::pair<std::string, std::string>> mapping_;
};

}  // namespace orvanereport
