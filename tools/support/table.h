#pragma once

// Tables, for people and for programs: aligned columns, Markdown, and JSON. Plain objects.

#include <cstddef>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tools/support/json.h"

namespace tool {

/// What people read, and the value that it states.
struct Cell {
    Cell(const char* text) : text(text), value(text) {}
    Cell(std::string text) : text(std::move(text)), value(this->text) {}
    Cell(std::string text, Json value) : text(std::move(text)), value(std::move(value)) {}
    template <typename Number>
    requires std::is_integral_v<Number> Cell(Number number) : text(std::to_string(number)), value(number) {}

    std::string text;
    Json value;
};

/// Texts are UTF-8.
class Table {
public:
    struct Column {
        std::string title;
        std::string key;       ///< in JSON: lower case, and kept for good; empty for what isn't there
        bool isRight = false;  ///< aligned to the right, in Markdown
    };

    explicit Table(std::vector<Column> columns) : columns(std::move(columns)) {}

    /// As many cells as columns.
    void AddRow(std::vector<Cell> cells) { rows.push_back(std::move(cells)); }

    /// Columns two blanks apart, each line behind `indent`; `withTitles` first. Cells are wrapped between
    /// words so that a line has at most `width` characters, of which 0 has any number.
    void PrintAligned(std::ostream& stream, const std::string& indent, bool withTitles,
                      std::size_t width) const;
    /// In the width of the terminal, where standard output is one.
    void PrintAligned(std::ostream& stream, const std::string& indent = "", bool withTitles = true) const;
    void PrintMarkdown(std::ostream& stream) const;

    /// An array with an object for each row.
    Json ToJson() const;

private:
    std::vector<std::vector<std::string>> Texts(bool withTitles) const;

    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
};

/// `value` with that many decimals; "-" unless it is finite.
std::string Fixed(double value, int digits);

/// That, as a cell. What isn't finite is null in JSON, as are numbers with `hasValue` false, "-" for people.
Cell Number(double value, int digits, const std::string& unit = "", bool hasValue = true);

/// "7.3 MB" and the like.
std::string Size(double bytes);

}  // namespace tool
