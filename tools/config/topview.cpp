#include "tools/config/topview.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string_view>

#include "tools/support/table.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

using Kind = ViewLine::Kind;
using Lines = std::vector<ViewLine>;

constexpr const char* nobody = "No game is running.";
constexpr const char* keys = "Arrow keys choose a game, q ends.";
constexpr std::size_t gap = 2;  // between columns

// ---- The games ----

struct Column {
    const char* title;
    std::string (*text)(const GameStatus& game, std::uint64_t now);
    bool isRight;
    int importance;    // those of the lowest are left out first
    std::size_t most;  // characters
};

bool HasContext(const GameStatus& game) {
    return game.contextsAlive > 0 && game.sampleRate > 0;
}

std::string StateOf(const GameStatus& game, std::uint64_t now) {
    constexpr std::uint64_t patience = 2'000'000'000;  // ns
    if (game.contextsAlive == 0) return "no sound";
    if (game.isOutputAway) return "away";
    if (now > game.blockTime && now - game.blockTime > patience) return "stands";
    return game.sourcesPlaying > 0 ? "plays" : "silent";
}

std::string OfContext(const GameStatus& game, const std::string& text) {
    return HasContext(game) ? text : "-";
}

std::string Percent(double share) {
    return Fixed(100 * share, 0) + "%";
}

std::string OrNone(const std::string& text) {
    return text.empty() ? "-" : text;
}

std::string LatencyOf(const GameStatus& game, std::uint64_t) {
    return OfContext(game, Fixed(1000.0 * game.latencyFrames / std::max(game.sampleRate, 1U), 1) + " ms");
}

constexpr std::array<Column, 12> columns{{
    {"PROGRAM", [](const GameStatus& g, std::uint64_t) { return g.program; }, false, 11, 20},
    {"PID", [](const GameStatus& g, std::uint64_t) { return std::to_string(g.pid); }, true, 3, 8},
    {"STATE", StateOf, false, 7, 8},
    {"RATE/BLOCK",
     [](const GameStatus& g, std::uint64_t) {
         return OfContext(g, std::to_string(g.sampleRate) + "/" + std::to_string(g.blockFrames));
     },
     true, 4, 14},
    {"LATENCY", LatencyOf, true, 5, 10},
    {"LOAD", [](const GameStatus& g, std::uint64_t) { return OfContext(g, Percent(g.loadMean)); }, true, 10,
     6},
    {"MAX", [](const GameStatus& g, std::uint64_t) { return OfContext(g, Percent(g.loadMax)); }, true, 8, 6},
    {"LATE", [](const GameStatus& g, std::uint64_t) { return OfContext(g, std::to_string(g.lateBlocks)); },
     true, 9, 8},
    {"SOURCES",
     [](const GameStatus& g, std::uint64_t) { return OfContext(g, std::to_string(g.sourcesPlaying)); }, true,
     6, 7},
    {"DEVICE", [](const GameStatus& g, std::uint64_t) { return OrNone(g.device); }, false, 2, 28},
    {"LAYOUT", [](const GameStatus& g, std::uint64_t) { return OrNone(g.layout); }, false, 1, 20},
    {"PROFILE", [](const GameStatus& g, std::uint64_t) { return OrNone(g.profile); }, false, 0, 20},
}};

// The first `width` characters, of which the last says that there are more.
std::string Cut(const std::string& text, std::size_t width) {
    if (WidthOf(text) <= width) return text;
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end)
        if ((text[end] & 0xC0) != 0x80 && ++characters >= width) break;
    return text.substr(0, end) + (width > 0 ? "~" : "");
}

std::string Padded(const std::string& text, std::size_t width, bool isRight) {
    const std::string blanks(width - std::min(width, WidthOf(text)), ' ');
    return isRight ? blanks + text : text + blanks;
}

// Of the columns that stay, none of which is wider than it has to be.
std::array<std::size_t, columns.size()> WidthsOf(const std::vector<std::vector<std::string>>& rows,
                                                 std::size_t width) {
    std::array<std::size_t, columns.size()> widths{};
    for (const auto& row : rows)
        for (std::size_t c = 0; c < columns.size(); ++c)
            widths[c] = std::max(widths[c], WidthOf(row[c]));
    const auto sum = [&] {
        std::size_t all = 0;
        for (const std::size_t one : widths)
            all += one > 0 ? one + gap : 0;
        return all - gap;
    };
    for (int importance = 0; width > 0 && sum() > width; ++importance) {
        const auto* const least = std::ranges::find(columns, importance, &Column::importance);
        if (least == columns.end()) break;
        std::size_t& one = widths[static_cast<std::size_t>(least - columns.begin())];
        const std::size_t excess = sum() - width, shortest = WidthOf(least->title) + gap;
        one = least->isRight || one < shortest + excess ? 0 : one - excess;
    }
    return widths;
}

// ---- The chosen game ----

constexpr double quietest = -60;  // dB, of a meter

std::string LevelText(double linear) {
    const double level = Decibels(linear);
    return Padded(level > -100 ? Fixed(level, 1) : "-", 6, true);
}

// "[=======  |    ]", with `peak` where that isn't 0.
std::string Bar(double level, double peak, std::size_t width) {
    const std::size_t cells = std::max<std::size_t>(width, 6) - 2;
    const auto at = [&](double linear) {
        const double share = std::clamp(1 - Decibels(linear) / quietest, 0.0, 1.0);
        return static_cast<std::size_t>(share * static_cast<double>(cells) + 0.5);
    };
    std::string bar(at(level), '=');
    bar.resize(cells, ' ');
    if (at(peak) > 0) bar[at(peak) - 1] = '|';
    return "[" + bar + "]";
}

// "FL      [=======  |    ] -12.1 dB, peak  -8.0"
std::string Meter(const GameOutput& output, std::size_t width) {
    constexpr std::size_t nameWidth = 8;
    const std::string numbers = LevelText(output.rms) + " dB, peak " + LevelText(output.peak);
    const std::size_t around = nameWidth + numbers.size();
    return Padded(Cut(output.name, nameWidth - 1), nameWidth, false) +
           Bar(output.rms, output.peak, std::max(width, around) - around) + numbers;
}

// From top to bottom, in as many columns as have room.
Lines Meters(const GameStatus& game, std::size_t width) {
    constexpr std::size_t narrowest = 48, fewestLines = 4;
    const std::size_t count = game.outputs.size();
    if (count == 0) return {};
    const std::size_t most = std::max<std::size_t>(width / narrowest, 1);
    const std::size_t across = std::clamp<std::size_t>((count + fewestLines - 1) / fewestLines, 1, most);
    const std::size_t down = (count + across - 1) / across;
    Lines lines(down);
    for (std::size_t i = 0; i < count; ++i) {
        std::string& line = lines[i % down].text;
        const GameOutput& output = game.outputs[i];
        line += (line.empty() ? "" : "  ") + Meter(output, (width - gap * (across - 1)) / across);
    }
    return lines;
}

ViewLine Summary(const GameStatus& game) {
    const double gain = Decibels(game.limiterGain);
    std::string text = gain < -0.05 ? "Limiter " + Fixed(gain, 1) + " dB" : "Limiter off";
    text += "   Order " + std::to_string(game.order) + "   Effects ";
    if (game.effects.empty()) text += "none";
    for (const GameEffect& effect : game.effects)
        text += (&effect == game.effects.data() ? "" : ", ") + std::to_string(effect.slot) + " " +
                effect.type + (effect.gain == 1 ? "" : " x" + Fixed(effect.gain, 2));
    return {text};
}

// Azimuth to the left, as that of a speaker.
std::string PlaceOf(const GameSource& source) {
    constexpr double degrees = 180 / std::numbers::pi;
    if (source.x == 0 && source.y == 0 && source.z == 0) return Padded("all around", 2 * gap + 16, true);
    const double azimuth = degrees * std::atan2(-source.x, -source.z);
    const double elevation = degrees * std::asin(std::clamp(source.y, -1.0, 1.0));
    return Padded(Fixed(azimuth, 0), gap + 7, true) + Padded(Fixed(elevation, 0), gap + 9, true);
}

Lines Sources(const GameStatus& game, std::size_t width, std::size_t height) {
    if (game.sources.empty() || height < 3) return {};
    Lines lines{{"SOURCE  AZIMUTH  ELEVATION  DISTANCE", Kind::Title}};
    const std::size_t left = game.sourcesPlaying;
    const std::size_t shown =
        std::min(game.sources.size(), left > height - 1 ? height - 2 : std::min(left, height - 1));
    for (std::size_t i = 0; i < shown; ++i) {
        const GameSource& source = game.sources[i];
        const std::string place = Padded(std::to_string(source.number), 6, true) + PlaceOf(source) +
                                  Padded(Fixed(source.distance, 1), gap + 8, true) +
                                  (source.isLooping ? "  loops " : "        ");
        const std::size_t around = place.size() + 9;
        lines.push_back({place + Bar(source.level, 0, std::max(width, around) - around) +
                         LevelText(source.level) + " dB"});
    }
    if (left > shown) lines.push_back({"... and " + std::to_string(left - shown) + " more"});
    return lines;
}

void Append(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

// Where there are more games than lines, those around the chosen one.
Lines Rows(const Lines& table, std::size_t chosen, std::size_t height) {
    Lines rows{table[0]};
    const std::size_t room = std::max<std::size_t>(height, 2) - 1, count = table.size() - 1;
    const std::size_t first = chosen < room ? 0 : chosen + 1 - room;
    for (std::size_t i = first; i < std::min(count, first + room); ++i) {
        rows.push_back(table[i + 1]);
        if (i == chosen) rows.back().kind = Kind::Chosen;
    }
    return rows;
}

}  // namespace

std::vector<ViewLine> TableOfGames(const std::vector<GameStatus>& games, std::uint64_t now,
                                   std::size_t width) {
    if (games.empty()) return {{nobody}};
    std::vector<std::vector<std::string>> rows(1 + games.size());
    for (const Column& column : columns) {
        rows[0].emplace_back(column.title);
        for (std::size_t i = 0; i < games.size(); ++i)
            rows[i + 1].push_back(Cut(column.text(games[i], now), column.most));
    }
    const auto widths = WidthsOf(rows, width);
    Lines lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t c = 0; c < columns.size(); ++c)
            if (widths[c] > 0)
                line += Padded(Cut(row[c], widths[c]), widths[c], columns[c].isRight) + std::string(gap, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back({width > 0 ? Cut(line, width) : line});
    }
    lines[0].kind = Kind::Title;
    return lines;
}

std::vector<ViewLine> ViewOf(const std::vector<GameStatus>& games, std::size_t chosen, std::uint64_t now,
                             const ViewSize& size) {
    Lines lines = TableOfGames(games, now, size.width);
    if (!games.empty()) {
        const GameStatus& game = games[std::min(chosen, games.size() - 1)];
        lines = Rows(lines, std::min(chosen, games.size() - 1), size.height / 2);
        Append(lines, {{""}, {game.program, Kind::Title}});
        Append(lines, Meters(game, size.width));
        Append(lines, {Summary(game), {""}});
        const std::size_t used = lines.size() + 2;
        if (size.height > used) Append(lines, Sources(game, size.width, size.height - used));
    }
    lines.resize(std::min(lines.size(), std::max<std::size_t>(size.height, 2) - 1));
    lines.resize(std::max<std::size_t>(size.height, 2) - 1);
    lines.push_back({keys});
    for (ViewLine& line : lines)
        line.text = Cut(line.text, size.width);
    return lines;
}

}  // namespace tool
