#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <nlohmann/json.hpp>
#include <utility>

#include "Base64.h"
#include "Masker.h"
#include "devtools/trace/TraceLine.h"
#include "devtools/trace/TraceReader.h"

namespace orvanereport {

namespace {

constexpr uint64_t kMostText = 256ULL << 20;

/// Pictures, archives and other bytes cannot be looked through.
bool isText(std::string_view bytes) {
    return bytes.find('\0') == std::string_view::npos;
}

/// Takes texts out of a JSON value, except those that identify nobody.
void maskJson(Masker& masker, nlohmann::ordered_json& value) {
    if (value.is_string()) {
        value = masker.mask(value.get_ref<const std::string&>());
    } else if (value.is_object()) {
        value.erase("sha256");
        for (auto& [name, member] : value.items()) {
            if (name != "buildId" && name != "version") {
                maskJson(masker, member);
            }
        }
    } else if (value.is_array()) {
        for (auto& member : value) {
            maskJson(masker, member);
        }
    }
}

class NewArchive {
public:
    explicit NewArchive(const std::string& path) {
        int code = 0;
        archive_ = zip_open(path.c_str(), ZIP_CREATE | ZIP_EXCL, &code);
        if (archive_ == nullptr) {
            throw ArchiveError(fmt::format("cannot make {}", path));
        }
    }
    ~NewArchive() {
        if (archive_ != nullptr) {
            zip_discard(archive_);
        }
    }
    NewArchive(const NewArchive&) = delete;
    NewArchive& operator=(const NewArchive&) = delete;

    void add(const std::string& name, std::string text) {
        // The library reads the bytes when it closes: they stay where they are until then.
        const std::string& kept = texts_.emplace_back(std::move(text));
        zip_source_t* const source = zip_source_buffer(archive_, kept.data(), kept.size(), 0);
        if (source == nullptr ||
            zip_file_add(archive_, name.c_str(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8) < 0) {
            zip_source_free(source);
            throw ArchiveError(zip_strerror(archive_));
        }
    }

    void close() {
        if (zip_close(archive_) != 0) {
            throw ArchiveError(zip_strerror(archive_));
        }
        archive_ = nullptr;
    }

private:
    zip_t* archive_ = nullptr;
    std::deque<std::string> texts_;
};

}  // namespace

std::string Masker::maskTrace(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const auto record = tracefile::splitTraceLine(line);
        if (!record || record->module != "39") {
            maskLine(line, result);
        } else {
            const auto decoded = record->isEncoded() ? tracefile::decodeBase64(record->text) : std::nullopt;
            const std::string masked = maskField(record->basicInfo, decoded ? *decoded : record->text);
            const auto before = static_cast<size_t>(record->text.data() - line.data());
            result += line.substr(0, before);
            result += decoded ? encodeBase64(masked) : masked;
            result += line.substr(before + record->text.size());
        }
        result += '\n';
    }
    return result;
}

std::string Masker::maskTopic(std::string_view text) {
    const auto topic = tracefile::parseTopic(text);
    return topic ? encodeBase64(maskField("confname", topic->meetingName)) + "\n" + topic->time : mask(text);
}

void Masker::maskArchive(const Archive& archive, const std::string& target) {
    NewArchive copy(target);
    std::string note = "Names, addresses, ids, keys and hosts in these files were replaced by tokens.\n";
    for (const Archive::Entry& entry : archive.entries()) {
        std::string bytes;
        std::string reason;
        try {
            bytes = archive.read(entry, kMostText);
            reason = isText(bytes) ? "" : "not a text";
        } catch (const ArchiveError&) {
            reason = "damaged or too large";
        }
        const std::string name = mask(entry.name);
        if (!reason.empty()) {
            note += fmt::format("left out: {} ({})\n", name, reason);
            continue;
        }
        if (entry.name.starts_with("orvdga_trace_") && entry.name.ends_with(".csv")) {
            copy.add(name, maskTrace(bytes));
        } else if (entry.name == "orvdga_topic.txt") {
            copy.add(name, maskTopic(bytes));
        } else if (auto json = nlohmann::ordered_json::parse(bytes, nullptr, false);
                   entry.name.ends_with(".json") && !json.is_discarded()) {
            maskJson(*this, json);
            copy.add(name, json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        } else {
            copy.add(name, mask(bytes));
        }
    }
    if (const auto minutes = archive.utcOffsetMinutes()) {
        note += fmt::format("times are {:+} minutes from UTC\n", *minutes);
    }
    copy.add("orvdga_masked.txt", note);
    copy.close();
}

}  // namespace orvanereport
