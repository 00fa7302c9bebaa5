#include "JsonLines.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "devtools/trace/TraceNames.h"
#include "devtools/trace/TraceReader.h"

namespace orvanereport {

namespace {

constexpr size_t kHeld = 1 << 18;
constexpr uint64_t kMostSummary = 1 << 20;

bool isPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; });
}

void appendQuoted(std::string& to, std::string_view text) {
    if (isPlain(text)) {
        to += '"';
        to += text;
        to += '"';
    } else {
        to += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
}

void appendDigits(std::string& to, unsigned number, int width) {
    char digits[] = "0000";
    for (int place = width - 1; place >= 0; --place, number /= 10) {
        digits[place] = static_cast<char>('0' + number % 10);
    }
    to.append(digits, static_cast<size_t>(width));
}

}  // namespace

TraceCount JsonLines::add(const Archive& archive, const std::string& number) {
    if (masker_ != nullptr) {
        masker_->learn(archive);
    }
    start_ = "{\"report\":";
    appendQuoted(start_, masker_ != nullptr ? masker_->mask(number) : number);
    const auto minutes = archive.utcOffsetMinutes();
    offsetMinutes_ = std::chrono::minutes(minutes.value_or(0));
    offset_ = minutes ? fmt::format("{}{:02}:{:02}", *minutes < 0 ? '-' : '+', std::abs(*minutes) / 60,
                                    std::abs(*minutes) % 60)
                      : "";
    addSummary(archive);
    return streamTrace(archive, [this](const tracefile::TraceLine& line) { addRecord(line); });
}

void JsonLines::begin(std::string_view module, std::string_view name) {
    text_ += start_;
    addText("module", module);
    addText("name", name);
}

void JsonLines::addText(std::string_view name, std::string_view text) {
    text_ += ",\"";
    text_ += name;
    text_ += "\":";
    appendQuoted(text_, text);
}

// JSON knows no leading zeros.
void JsonLines::addNumber(std::string_view name, std::string_view number) {
    const bool negative = number.starts_with('-');
    if (negative) {
        number.remove_prefix(1);
    }
    while (number.size() > 1 && number[0] == '0' && number[1] != '.') {
        number.remove_prefix(1);
    }
    text_ += ",\"";
    text_ += name;
    text_ += negative ? "\":-" : "\":";
    text_ += number;
}

void JsonLines::addTime(std::string_view text) {
    const auto local = tracefile::parseTraceTime(text);
    if (!local) {
        return;
    }
    const std::chrono::sys_time<std::chrono::milliseconds> time(*local - offsetMinutes_);
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    const auto part = [&](char before, auto number, int width) {
        text_ += before;
        appendDigits(text_, static_cast<unsigned>(number), width);
    };
    text_ += ",\"time\":";
    part('"', static_cast<int>(date.year()), 4);
    part('-', static_cast<unsigned>(date.month()), 2);
    part('-', static_cast<unsigned>(date.day()), 2);
    part('T', clock.hours().count(), 2);
    part(':', clock.minutes().count(), 2);
    part(':', clock.seconds().count(), 2);
    part('.', clock.subseconds().count(), 3);
    text_ += "Z\"";
    if (!offset_.empty()) {
        text_ += ",\"offset\":\"";
        text_ += offset_;
        text_ += '"';
    }
}

void JsonLines::end() {
    text_ += "}\n";
    if (text_.size() >= kHeld) {
        finish();
    }
}

bool JsonLines::finish() {
    failed_ |= std::fwrite(text_.data(), 1, text_.size(), out_) != text_.size();
    text_.clear();
    return !failed_ && std::fflush(out_) == 0;
}

void JsonLines::addRecord(const tracefile::TraceLine& line) {
    const bool resources = line.module == "30";
    const bool network = line.module == "31";
    const bool numbered = line.basicInfo.empty() && !network;
    begin(tracefile::moduleName(line.module),
          network ? "state" : tracefile::recordName(line.module, line.basicInfo, line.id));
    addTime(line.time);
    if (resources || network) {
        addNumber("value", line.id);
    } else if (numbered) {
        addNumber("value", line.value);
    }
    if (!line.text.empty()) {
        std::string decoded;
        std::string_view text = line.text;
        if (line.isEncoded()) {
            decoded = tracefile::decodeBase64(text).value_or(std::string(text));
            text = decoded;
        }
        addText("text", masker_ != nullptr ? masker_->maskField(line.basicInfo, text) : text);
    }
    if (resources) {
        addNumber("process", line.reservedValue);
        addNumber("sample", line.value);
    }
    end();
}

void JsonLines::addSummary(const Archive& archive) {
    const Archive::Entry* const entry = archive.find("orvdga_report", ".json");
    const auto summary = entry != nullptr
                             ? nlohmann::json::parse(archive.read(*entry, kMostSummary), nullptr, false)
                             : nlohmann::json();
    if (!summary.is_object()) {
        return;
    }
    const auto add = [&](const char* name, const char* pointer) {
        const nlohmann::json::json_pointer place(pointer);
        if (!summary.contains(place) || !(summary[place].is_string() || summary[place].is_number())) {
            return;
        }
        const auto& value = summary[place];
        begin("report", name);
        if (value.is_string()) {
            const auto& text = value.get_ref<const std::string&>();
            addText("text", masker_ != nullptr ? masker_->mask(text) : text);
        } else {
            addNumber("value", fmt::format("{:.0f}", value.get<double>()));
        }
        end();
    };
    for (const char* name : {"started", "packed", "description", "memoryAvailable"}) {
        add(name, fmt::format("/{}", name).c_str());
    }
    add("assistant version", "/assistant/version");
    add("client version", "/client/version");
    add("category", "/category/name");
}

}  // namespace orvanereport
