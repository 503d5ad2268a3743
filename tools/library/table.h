#pragma once

// Text tables for the terminal, which are Markdown as well. Used by the commands; plain objects.

#include <ostream>
#include <string>
#include <vector>

namespace tool {

class Table {
public:
    /// A title that begins with ">" aligns its column to the right.
    explicit Table(std::vector<std::string> titles);

    /// As many cells as titles.
    void AddRow(std::vector<std::string> cells);
    void Print(std::ostream& stream) const;

private:
    std::vector<bool> isRight;
    std::vector<std::vector<std::string>> rows;  // the titles first
};

/// `value` with that many decimals; "-" unless it is finite.
std::string Fixed(double value, int digits);

/// "7.3 MB" and the like.
std::string Size(double bytes);

}  // namespace tool
