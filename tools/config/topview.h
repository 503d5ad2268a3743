#pragma once

// What `tessarune-config top` shows, as lines of text: a table of all games, and of the chosen one the levels
// of its outputs, its effects and its sources. Pure functions; any thread.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/support/gamestatus.h"

namespace tool {

/// Columns and lines of a terminal.
struct ViewSize {
    std::size_t width = 80, height = 24;
};

struct ViewLine {
    enum class Kind { Plain, Title, Chosen };
    std::string text;
    Kind kind = Kind::Plain;

    bool operator==(const ViewLine&) const = default;
};

/// The titles, and a row for each game. Texts are shortened, and the least important columns left out, until
/// a line has at most `width` columns; 0 has any number. `now` is of the monotonic clock (ns).
std::vector<ViewLine> TableOfGames(const std::vector<GameStatus>& games, std::uint64_t now,
                                   std::size_t width);

/// All that fits into `size`, with the details of the game `chosen`, an index.
std::vector<ViewLine> ViewOf(const std::vector<GameStatus>& games, std::size_t chosen, std::uint64_t now,
                             const ViewSize& size);

}  // namespace tool
