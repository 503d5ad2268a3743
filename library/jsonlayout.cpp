#include "library/jsonlayout.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <numbers>
#include <optional>
#include <vector>

#include "library/layoutbuilder.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace design {
namespace {

using Json = nlohmann::ordered_json;

// Counts the lines that the parser has read.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, int& line) : at(at), line(&line) {}
    reference operator*() const { return *at; }
    CountingIterator& operator++() {
        if (*at++ == '\n') ++*line;
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return at == other.at; }
    bool operator!=(const CountingIterator& other) const { return at != other.at; }

private:
    const char* at;
    int* line;
};

// A document with the line in which each of its objects and arrays begins.
class Document {
public:
    Document(std::string_view text, const std::string& source) : source(source) {
        constexpr int deepest = 64;
        const auto note = [this](int depth, Json::parse_event_t event, Json&) {
            if (depth > deepest) Fail(line, "The document is nested too deeply.");
            if (event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start)
                begins.push_back(line);
            return true;
        };
        try {
            root = Json::parse(CountingIterator(text.data(), line),
                               CountingIterator(text.data() + text.size(), line), note);
        } catch (const Json::exception& failure) {
            Fail(line, Reason(failure.what()));
        }
        auto next = begins.cbegin();
        Number(root, next);
    }

    [[noreturn]] void Fail(int where, const std::string& what) const {
        throw slib::BadDataException(source + ", line " + std::to_string(where) + ": " + what);
    }
    int LineOf(const Json& value) const {
        const auto found = lines.find(&value);
        return found == lines.end() ? 1 : found->second;
    }

    Json root;

private:
    // Without the parser's own number and place.
    static std::string Reason(const std::string& text) {
        const std::size_t colon = text.find(": ");
        return std::string("This is no JSON: ")
            .append(text, colon == std::string::npos ? 0 : colon + 2)
            .append(".");
    }

    void Number(const Json& value, std::vector<int>::const_iterator& next) {
        if (!value.is_structured() || next == begins.end()) return;
        lines[&value] = *next++;
        for (const Json& child : value)
            Number(child, next);
    }

    const std::string& source;
    int line = 1;
    std::vector<int> begins;
    std::map<const Json*, int> lines;
};

// Null where the object has no such member, in capitals or not.
const Json* Find(const Json& object, std::string_view name) {
    if (!object.is_object()) return nullptr;
    for (const auto& [key, value] : object.items())
        if (slib::toLower(key) == name) return &value;
    return nullptr;
}

// The first object, from the outside, that has a list of speakers; null where there is none.
const Json* FindLayout(const Json& value) {
    for (const char* list : {"loudspeakers", "elements"})
        if (const Json* const found = Find(value, list); found != nullptr && found->is_array()) return &value;
    if (!value.is_structured()) return nullptr;
    for (const Json& child : value)
        if (const Json* const found = FindLayout(child); found != nullptr) return found;
    return nullptr;
}

struct Entry {
    RoomSpeaker speaker;
    std::optional<int> channel;
    int line = 0;
};

class Reader {
public:
    Reader(const Document& document, const std::string& source) : document(document), source(source) {}

    SpeakerLayout Read() {
        const Json* const layout = FindLayout(document.root);
        if (layout == nullptr)
            document.Fail(1, "There is no array \"Loudspeakers\" or \"Elements\" with the speakers.");
        const Json* list = Find(*layout, "loudspeakers");
        if (list == nullptr || !list->is_array()) list = Find(*layout, "elements");
        for (const Json& speaker : *list)
            ReadSpeaker(speaker, document.LineOf(speaker.is_structured() ? speaker : *list));
        Sort(document.LineOf(*list));
        At(document.LineOf(*layout), [&] { builder.SetName(NameOf(*layout)); });
        for (std::size_t i = 0; i < entries.size(); ++i)
            At(entries[i].line, [&] { builder.Add(Labelled(entries[i], i + 1)); });
        SpeakerLayout whole;
        At(document.LineOf(*list), [&] { whole = builder.Finish(); });
        return whole;
    }

private:
    // What `step` throws is told with the line.
    template <typename Step>
    void At(int line, const Step& step) const {
        try {
            step();
        } catch (const slib::BadDataException& failure) {
            document.Fail(line, failure.what());
        }
    }

    std::string NameOf(const Json& layout) const {
        for (const Json* const object : {&layout, &document.root})
            if (const Json* const name = Find(*object, "name"); name != nullptr && name->is_string())
                if (auto text = name->get<std::string>(); !text.empty()) return text;
        return std::filesystem::path(source).stem().string();
    }

    void ReadSpeaker(const Json& value, int line) {
        Entry entry{{.label = "", .direction = Direction::UnitX()}, {}, line};
        if (value.is_array())
            ReadPair(value, entry);
        else if (value.is_object())
            ReadObject(value, entry);
        else
            document.Fail(line, "A speaker is an object, or an array of azimuth, elevation and distance.");
    }

    void ReadPair(const Json& value, Entry& entry) {
        std::vector<double> numbers;
        for (const Json& number : value) {
            if (!number.is_number()) break;
            numbers.push_back(number.get<double>());
        }
        if (numbers.size() != value.size() || numbers.size() < 2 || numbers.size() > 3)
            document.Fail(entry.line, "A speaker's array has numbers for azimuth, elevation and distance.");
        Take(numbers[0], numbers[1], numbers.size() == 3 ? numbers[2] : 1, entry);
    }

    void ReadObject(const Json& value, Entry& entry) {
        if (const Json* const isImaginary = Find(value, "isimaginary"); isImaginary != nullptr) {
            if (!isImaginary->is_boolean()) document.Fail(entry.line, "\"IsImaginary\" is true or false.");
            if (isImaginary->get<bool>()) return;
        }
        if (const Json* const name = Find(value, "name"); name != nullptr && name->is_string())
            entry.speaker.label = name->get<std::string>();
        if (const auto channel = NumberOf(value, "channel", entry.line)) {
            if (!(*channel >= 1 && *channel <= 65535 && *channel == std::floor(*channel)))
                document.Fail(entry.line, "A \"Channel\" is a whole number from 1 on.");
            entry.channel = static_cast<int>(*channel);
        }
        entry.speaker.gain = NumberOf(value, "gain", entry.line).value_or(1);
        if (!(entry.speaker.gain >= 0)) document.Fail(entry.line, "A \"Gain\" is a number of 0 or more.");
        const auto azimuth = NumberOf(value, "azimuth", entry.line);
        if (!azimuth) document.Fail(entry.line, "The speaker has no \"Azimuth\".");
        Take(*azimuth, NumberOf(value, "elevation", entry.line).value_or(0),
             NumberOf(value, "radius", entry.line).value_or(1), entry);
    }

    std::optional<double> NumberOf(const Json& object, std::string_view name, int line) const {
        const Json* const value = Find(object, name);
        if (value == nullptr) return std::nullopt;
        if (!value->is_number())
            document.Fail(line, std::string("\"").append(name).append("\" is no number."));
        return value->get<double>();
    }

    void Take(double azimuth, double elevation, double distance, Entry& entry) {
        At(entry.line, [&] { PlaceAt(azimuth, elevation, distance, entry.speaker); });
        entry.speaker.hasDistance = distance != 1;  // what tools write where nobody measured
        entries.push_back(entry);
    }

    void Sort(int line) {
        const auto count =
            std::ranges::count_if(entries, [](const Entry& e) { return e.channel.has_value(); });
        if (count == 0) return;
        if (static_cast<std::size_t>(count) != entries.size())
            document.Fail(line, "All speakers have a \"Channel\", or none has.");
        std::ranges::stable_sort(entries, {}, [](const Entry& e) { return *e.channel; });
        for (std::size_t i = 1; i < entries.size(); ++i)
            if (entries[i].channel == entries[i - 1].channel)
                document.Fail(entries[i].line,
                              "Two speakers have the channel " + std::to_string(*entries[i].channel) + ".");
    }

    static RoomSpeaker Labelled(const Entry& entry, std::size_t number) {
        RoomSpeaker speaker = entry.speaker;
        if (speaker.label.empty())
            speaker.label = "Speaker " + std::to_string(entry.channel.value_or(static_cast<int>(number)));
        if (AngleBetween(speaker.direction, Direction::UnitX()) < 1e-6)
            speaker.role = orb3::spk::Role::FrontCentre;
        return speaker;
    }

    const Document& document;
    const std::string& source;
    LayoutBuilder builder;
    std::vector<Entry> entries;
};

}  // namespace

bool IsJson(std::string_view text) {
    const auto first = std::ranges::find_if_not(text, slib::IsSpace);
    return first != text.end() && (*first == '{' || *first == '[');
}

SpeakerLayout ReadJsonLayout(std::string_view text, const std::string& source) {
    const Document document(text, source);
    return Reader(document, source).Read();
}

}  // namespace design
