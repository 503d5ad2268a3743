#include "tools/support/table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace tool {
namespace {

// Characters, not bytes: titles have degree signs.
std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::vector<std::size_t> WidthsOf(const std::vector<std::vector<std::string>>& rows, std::size_t columns,
                                  std::size_t least) {
    std::vector<std::size_t> widths(columns, least);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], WidthOf(row[c]));
    return widths;
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

void Table::PrintAligned(std::ostream& stream, const std::string& indent, bool withTitles) const {
    const auto texts = Texts(withTitles);
    const std::vector<std::size_t> widths = WidthsOf(texts, columns.size(), 0);
    for (const auto& row : texts) {
        std::string line = indent;
        for (std::size_t c = 0; c < row.size(); ++c)
            line += row[c] + std::string(widths[c] - WidthOf(row[c]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        stream << line << "\n";
    }
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
