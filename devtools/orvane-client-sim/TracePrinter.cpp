#include "TracePrinter.h"

#include <fmt/format.h>

#include <algorithm>

#include "devtools/trace/Printable.h"
#include "devtools/trace/TraceNames.h"

namespace clientsim {

using tracefile::moduleName;
using tracefile::printable;
using tracefile::Trace;
using tracefile::TraceRecord;

namespace {

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
                printable(cells[index] != nullptr ? *cells[index] : std::string(moduleName(record.module))));
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
