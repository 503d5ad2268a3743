#include "tools/support/table.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string_view>

#include "tools/support/terminal.h"

namespace tool {
namespace {

constexpr std::size_t gap = 2;  // between columns

std::vector<std::size_t> WidthsOf(const std::vector<std::vector<std::string>>& rows, std::size_t columns,
                                  std::size_t least) {
    std::vector<std::size_t> widths(columns, least);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], WidthOf(row[c]));
    return widths;
}

std::size_t LongestWord(const std::string& text) {
    std::istringstream words(text);
    std::size_t longest = 0;
    for (std::string word; words >> word;)
        longest = std::max(longest, WidthOf(word));
    return longest;
}

// The widest columns give way until a line has `room` columns of the terminal. No word is broken.
void Narrow(std::vector<std::size_t>& widths, const std::vector<std::vector<std::string>>& rows,
            std::size_t room) {
    std::vector<std::size_t> least(widths.size(), 0);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            least[c] = std::max(least[c], LongestWord(row[c]));
    std::size_t sum = gap * (widths.size() - 1);
    for (const std::size_t width : widths)
        sum += width;
    for (; sum > room; --sum) {
        std::size_t widest = widths.size();
        for (std::size_t c = 0; c < widths.size(); ++c)
            if (widths[c] > least[c] && (widest == widths.size() || widths[c] > widths[widest])) widest = c;
        if (widest == widths.size()) return;
        --widths[widest];
    }
}

// A cell that has room stays as it is, with all of its blanks.
std::vector<std::string> Wrapped(const std::string& text, std::size_t width) {
    if (WidthOf(text) <= width) return {text};
    std::vector<std::string> lines{""};
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        if (line.empty())
            line = word;
        else if (WidthOf(line) + 1 + WidthOf(word) <= width)
            line += " " + word;
        else
            lines.push_back(word);
    }
    return lines;
}

void PrintRow(std::ostream& stream, const std::string& indent, const std::vector<std::string>& row,
              const std::vector<std::size_t>& widths) {
    std::vector<std::vector<std::string>> cells;
    std::size_t lines = 1;
    for (std::size_t c = 0; c < row.size(); ++c) {
        cells.push_back(Wrapped(row[c], widths[c]));
        lines = std::max(lines, cells.back().size());
    }
    for (std::size_t i = 0; i < lines; ++i) {
        std::string line = indent;
        for (std::size_t c = 0; c < cells.size(); ++c) {
            const std::string text = i < cells[c].size() ? cells[c][i] : "";
            line += text + std::string(widths[c] - std::min(widths[c], WidthOf(text)) + gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        stream << line << "\n";
    }
}

}  // namespace

std::vector<std::vector<std::string>> Table::Texts(bool withTitles) const {
    std::vector<std::vector<std::string>> texts;
    if (withTitles) {
        texts.emplace_back();
        for (const Column& column : columns)
            texts.back().push_back(column.title);
    }
    for (const auto& row : rows) {
        texts.emplace_back();
        for (const Cell& cell : row)
            texts.back().push_back(cell.text);
    }
    return texts;
}

void Table::PrintAligned(std::ostream& stream, const std::string& indent, bool withTitles,
                         std::size_t width) const {
    const auto texts = Texts(withTitles);
    std::vector<std::size_t> widths = WidthsOf(texts, columns.size(), 0);
    if (width > indent.size()) Narrow(widths, texts, width - indent.size());
    for (const auto& row : texts)
        PrintRow(stream, indent, row, widths);
}

void Table::PrintAligned(std::ostream& stream, const std::string& indent, bool withTitles) const {
    PrintAligned(stream, indent, withTitles, &stream == &std::cout ? TerminalWidth(STDOUT_FILENO) : 0);
}

void Table::PrintMarkdown(std::ostream& stream) const {
    const auto texts = Texts(true);
    const std::vector<std::size_t> widths = WidthsOf(texts, columns.size(), 3);
    const auto print = [&](const std::vector<std::string>& row) {
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string blanks(widths[c] - WidthOf(row[c]), ' ');
            stream << "| " << (columns[c].isRight ? blanks + row[c] : row[c] + blanks) << " ";
        }
        stream << "|\n";
    };
    print(texts.front());
    for (std::size_t c = 0; c < widths.size(); ++c)
        stream << "| " << std::string(widths[c] - 1, '-') << (columns[c].isRight ? ':' : '-') << " ";
    stream << "|\n";
    std::for_each(texts.begin() + 1, texts.end(), print);
}

Json Table::ToJson() const {
    Json array = Json::array();
    for (const auto& row : rows) {
        Json object = Json::object();
        for (std::size_t c = 0; c < row.size(); ++c)
            if (!columns[c].key.empty()) object[columns[c].key] = row[c].value;
        array.push_back(std::move(object));
    }
    return array;
}

std::string Fixed(double value, int digits) {
    if (!std::isfinite(value)) return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    const bool isMinusZero =
        text[0] == '-' && std::string_view(text).find_first_of("123456789") == std::string_view::npos;
    return isMinusZero ? text + 1 : text;
}

Cell Number(double value, int digits, const std::string& unit, bool hasValue) {
    if (!hasValue) return {"-", nullptr};
    return {Fixed(value, digits) + unit, std::isfinite(value) ? Json(value) : Json(nullptr)};
}

std::string Size(double bytes) {
    if (bytes < 1000) return Fixed(bytes, 0) + " B";
    if (bytes < 1e6) return Fixed(bytes / 1e3, 1) + " kB";
    return Fixed(bytes / 1e6, 2) + " MB";
}

}  // namespace tool
