#include "TracePrinter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace clientsim {

namespace {

/// The bytes of the UTF-8 character at `place`; 0 when there is none.
size_t characterLength(const std::string& text, size_t place) {
    const auto first = static_cast<uint8_t>(text[place]);
    const size_t length = first < 0x80                     ? 1
                          : first >= 0xc2 && first <= 0xdf ? 2
                          : (first & 0xf0) == 0xe0         ? 3
                          : first >= 0xf0 && first <= 0xf4 ? 4
                                                           : 0;
    if (length == 0 || place + length > text.size()) {
        return 0;
    }
    const auto isFollowing = [](char byte) { return (static_cast<uint8_t>(byte) & 0xc0) == 0x80; };
    const auto start = text.begin() + static_cast<std::string::difference_type>(place);
    return std::all_of(start + 1, start + static_cast<std::string::difference_type>(length), isFollowing)
               ? length
               : 0;
}

bool isControl(const std::string& text, size_t place) {
    const auto first = static_cast<uint8_t>(text[place]);
    return first < 0x20 || first == 0x7f || (first == 0xc2 && static_cast<uint8_t>(text[place + 1]) < 0xa0);
}

/// Characters: good enough for names in most scripts.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<uint8_t>(byte) & 0xc0) != 0x80; }));
}

struct Column {
    std::string title;
    std::vector<std::string> cells;
    bool isNumber;

    bool isBlank() const {
        return std::all_of(cells.begin(), cells.end(),
                           [](const std::string& cell) { return cell.empty() || cell == "0"; });
    }

    size_t width() const {
        size_t widest = widthOf(title);
        for (const std::string& cell : cells) {
            widest = std::max(widest, widthOf(cell));
        }
        return widest;
    }
};

std::vector<Column> columnsOf(const Trace& trace) {
    std::vector<Column> columns{
        {"TIME", {}, false}, {"MODULE", {}, false}, {"LEVEL", {}, true},  {"KIND", {}, true},
        {"INFO", {}, false}, {"ID", {}, true},      {"VALUE", {}, true},  {"TEXT", {}, false},
        {"MORE", {}, false}, {"MORE", {}, true},    {"THREAD", {}, true},
    };
    for (const TraceRecord& record : trace.records) {
        const std::string* const cells[] = {&record.time,          nullptr,           &record.level,
                                            &record.interaction,   &record.basicInfo, &record.id,
                                            &record.value,         &record.text,      &record.reserved,
                                            &record.reservedValue, &record.thread};
        for (size_t index = 0; index < columns.size(); ++index) {
            columns[index].cells.push_back(
                printable(cells[index] != nullptr ? *cells[index] : moduleName(record.module)));
        }
    }
    std::erase_if(columns, [](const Column& column) { return column.isBlank(); });
    return columns;
}

std::string row(const std::vector<std::pair<std::string, const Column*>>& cells,
                const std::vector<size_t>& widths) {
    std::string line;
    for (size_t index = 0; index < cells.size(); ++index) {
        const auto& [cell, column] = cells[index];
        const std::string gap(widths[index] - std::min(widths[index], widthOf(cell)), ' ');
        line += (index == 0 ? "" : "  ") + (column->isNumber ? gap + cell : cell + gap);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

}  // namespace

std::string printable(const std::string& text) {
    std::string result;
    for (size_t place = 0; place < text.size();) {
        const size_t length = characterLength(text, place);
        const bool bad = length == 0 || isControl(text, place);
        result += bad ? "?" : text.substr(place, length);
        place += std::max<size_t>(length, 1);
    }
    return result;
}

std::string traceTable(const Trace& trace) {
    const std::vector<Column> columns = columnsOf(trace);
    std::vector<size_t> widths;
    std::vector<std::pair<std::string, const Column*>> cells;
    for (const Column& column : columns) {
        widths.push_back(column.width());
        cells.emplace_back(column.title, &column);
    }
    std::string table = columns.empty() ? "" : row(cells, widths);
    for (size_t index = 0; index < trace.records.size() && !columns.empty(); ++index) {
        cells.clear();
        for (const Column& column : columns) {
            cells.emplace_back(column.cells[index], &column);
        }
        table += row(cells, widths);
    }
    if (!trace.badLines.empty()) {
        table += fmt::format("not records: line {}\n", fmt::join(trace.badLines, ", "));
    }
    return table;
}

}  // namespace clientsim
