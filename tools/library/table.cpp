#include "tools/library/table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace tool {
namespace {

// Characters, not bytes: titles have degree signs.
std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

Table::Table(std::vector<std::string> titles) {
    for (std::string& title : titles) {
        isRight.push_back(title.starts_with('>'));
        if (isRight.back()) title.erase(0, 1);
    }
    rows.push_back(std::move(titles));
}

void Table::AddRow(std::vector<std::string> cells) {
    rows.push_back(std::move(cells));
}

void Table::Print(std::ostream& stream) const {
    std::vector<std::size_t> widths(isRight.size(), 3);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], WidthOf(row[c]));
    const auto print = [&](const std::vector<std::string>& row) {
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string blanks(widths[c] - WidthOf(row[c]), ' ');
            stream << "| " << (isRight[c] ? blanks + row[c] : row[c] + blanks) << " ";
        }
        stream << "|\n";
    };
    print(rows.front());
    for (std::size_t c = 0; c < widths.size(); ++c)
        stream << "| " << std::string(widths[c] - 1, '-') << (isRight[c] ? ':' : '-') << " ";
    stream << "|\n";
    std::for_each(rows.begin() + 1, rows.end(), print);
}

std::string Fixed(double value, int digits) {
    if (!std::isfinite(value)) return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    const bool isMinusZero =
        text[0] == '-' && std::string_view(text).find_first_of("123456789") == std::string_view::npos;
    return isMinusZero ? text + 1 : text;
}

std::string Size(double bytes) {
    if (bytes < 1000) return Fixed(bytes, 0) + " B";
    if (bytes < 1e6) return Fixed(bytes / 1e3, 1) + " kB";
    return Fixed(bytes / 1e6, 2) + " MB";
}

}  // namespace tool
