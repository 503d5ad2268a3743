#include "library/layoutreader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "library/jsonlayout.h"
#include "library/layoutbuilder.h"
#include "slib/exception.h"
#include "slib/text.h"
#include "slib/trimmed.h"

namespace design {
namespace {

constexpr std::size_t mostBytes = 4'000'000;

// Takes the part before the first `mark` off `text`, and the mark with it.
std::string_view TakeUntil(std::string_view& text, char mark) {
    const std::size_t end = std::min(text.find(mark), text.size());
    const std::string_view head = slib::Trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return head;
}

// The numbers that place a speaker, by the words that introduce them.
enum Coordinate { Azimuth, Elevation, Distance, X, Y, Z, CoordinateCount };
constexpr std::array<std::string_view, CoordinateCount> words{"azimuth", "elevation", "distance",
                                                              "x",       "y",         "z"};
using Coordinates = std::array<std::optional<double>, CoordinateCount>;

class Reader {
public:
    Reader(std::istream& stream, const std::string& source) : stream(stream), source(source) {}

    SpeakerLayout Read() {
        std::string text;
        while (std::getline(stream, text)) {
            ++line;
            std::string_view rest = text;
            rest = TakeUntil(rest, '#');
            if (!rest.empty()) ReadLine(rest);
        }
        SpeakerLayout layout;
        Take([&] { layout = builder.Finish(); });
        return layout;
    }

private:
    std::istream& stream;
    const std::string& source;
    int line = 0;
    LayoutBuilder builder;

    [[noreturn]] void Fail(const std::string& what) const {
        throw slib::BadDataException(source + ", line " + std::to_string(line) + ": " + what);
    }

    void ReadLine(std::string_view text) {
        if (text.find(':') == std::string_view::npos)
            Fail("A line is \"name: <layout>\" or \"<speaker>: azimuth 30, distance 2\".");
        const std::string label(TakeUntil(text, ':'));
        if (label.empty()) Fail("A speaker needs a label before the colon.");
        if (slib::toLower(label) == "name") return Take([&] { builder.SetName(slib::Trimmed(text)); });
        if (slib::toLower(label) == "crossover")
            return Take([&] { builder.SetCrossover(NumberOf("crossover", slib::Trimmed(text))); });
        AddSpeaker(label, text);
    }

    // What `step` throws is told with the line.
    template <typename Step>
    void Take(const Step& step) const {
        try {
            step();
        } catch (const slib::BadDataException& failure) {
            Fail(failure.what());
        }
    }

    void AddSpeaker(const std::string& label, std::string_view rest) {
        RoomSpeaker speaker{.label = label, .direction = Direction::UnitX()};
        Coordinates coordinates;
        while (!rest.empty())
            ReadProperty(TakeUntil(rest, ','), speaker, coordinates);
        Place(coordinates, speaker);
        Take([&] { builder.Add(speaker); });
    }

    void ReadProperty(std::string_view text, RoomSpeaker& speaker, Coordinates& coordinates) const {
        const std::string word = slib::toLower(TakeUntil(text, ' '));
        const std::string_view value = slib::Trimmed(text);
        const auto known = std::ranges::find(words, word);
        if (known != words.end())
            SetCoordinate(coordinates[static_cast<std::size_t>(known - words.begin())], word, value);
        else
            SetKind(word, value, speaker);
    }

    void SetCoordinate(std::optional<double>& coordinate, const std::string& word,
                       std::string_view value) const {
        if (coordinate) Fail(std::string("\"") + word + "\" is given twice.");
        coordinate = NumberOf(word, value);
    }

    double NumberOf(const std::string& word, std::string_view value) const {
        double number = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
        if (error != std::errc() || end != value.data() + value.size() || !std::isfinite(number))
            Fail(std::string("\"") + std::string(value) + "\" is not a number for \"" + word + "\".");
        return number;
    }

    void SetKind(const std::string& word, std::string_view value, RoomSpeaker& speaker) const {
        if (word != "role" && word != "type")
            Fail(std::string("\"") + word +
                 "\" is not one of azimuth, elevation, distance, x, y, z, role and type.");
        Take([&] {
            if (word == "role")
                speaker.role = orb3::spk::ParseRole(value);
            else
                speaker.type = orb3::spk::ParseSpeakerType(value);
        });
    }

    void Place(const Coordinates& at, RoomSpeaker& speaker) const {
        const bool isPolar = at[Azimuth] || at[Elevation] || at[Distance], isPoint = at[X] || at[Y] || at[Z];
        if (isPolar == isPoint)
            Fail("A speaker stands at an azimuth, elevation and distance, or at x, y and z.");
        if (isPolar) {
            Take([&] {
                PlaceAt(at[Azimuth].value_or(0), at[Elevation].value_or(0), at[Distance].value_or(1),
                        speaker);
            });
            speaker.hasDistance = at[Distance].has_value();
        } else {
            const Direction place(at[X].value_or(0), at[Y].value_or(0), at[Z].value_or(0));
            speaker.distance = place.norm();
            speaker.hasDistance = true;
            if (speaker.distance > 0) speaker.direction = place / speaker.distance;
        }
    }
};

}  // namespace

SpeakerLayout ReadLayout(std::istream& stream, const std::string& source) {
    std::string text(std::istreambuf_iterator<char>(stream), {});
    if (stream.bad()) throw slib::BadDataException(source + ": the file can't be read.");
    if (text.size() > mostBytes)
        throw slib::BadDataException(source + ": the file is too long for a layout.");
    if (IsJson(text)) return ReadJsonLayout(text, source);
    std::istringstream lines(std::move(text));
    return Reader(lines, source).Read();
}

}  // namespace design
