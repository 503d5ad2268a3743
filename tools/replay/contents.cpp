#include "tools/replay/contents.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "app/recording/callshape.h"
#include "app/recording/decodedcall.h"
#include "slib/exception.h"
#include "tools/support/table.h"

namespace replay {
namespace {

using recording::RecordedCall;

// Looks at the arguments of one call.
class Gatherer {
public:
    Gatherer(Contents& contents, const recording::RecordingReader& reader, std::string_view name)
        : contents(contents), reader(reader), name(name) {}

    void Take(ALint value) { integers.Add(value); }
    void Take(const std::optional<std::string>& text) {
        if (text && name.find("Get") + name.find("Is") != 2 * name.npos) contents.asked.insert(*text);
    }
    void Take(const recording::Answers<ALuint>& names) {
        constexpr std::string_view maker = "alGen";
        if (!name.starts_with(maker)) return;
        const auto count =
            std::count_if(names.values.begin(), names.values.end(), [](ALuint made) { return made != 0; });
        contents.made[std::string(name.substr(maker.size()))] += static_cast<std::uint64_t>(count);
    }
    void Take(const recording::Samples& samples) { data = samples; }
    template <typename Other>
    void Take(const Other&) {}

    void Finish() const {
        if (!name.starts_with("alBufferData") || !data.number) return;
        const std::string* const bytes = reader.FindSamples(*data.number);
        if (bytes == nullptr) return;
        std::array<char, 32> kind{};
        std::snprintf(kind.data(), kind.size(), "0x%04X %d Hz", static_cast<unsigned>(integers[0]),
                      integers[2]);
        SampleCount& count = contents.samples[kind.data()];
        ++count.buffers;
        count.bytes += bytes->size();
    }

private:
    Contents& contents;
    const recording::RecordingReader& reader;
    const std::string_view name;
    recording::Integers integers;
    recording::Samples data;
};

template <typename Function>
void GatherFrom(Contents& contents, const recording::RecordingReader& reader, const RecordedCall& call) {
    const recording::DecodedCall<Function> decoded{recording::ByteReader(call.content)};
    const std::string_view name = recording::calls[call.index].name;
    Gatherer gatherer(contents, reader, name);
    std::apply([&](const auto&... each) { (gatherer.Take(each), ...); }, decoded.arguments);
    gatherer.Finish();
    if (name == "alcCreateContext") ++contents.contexts;
}

using GatherOne = void (*)(Contents&, const recording::RecordingReader&, const RecordedCall&);

constexpr auto gatherers = recording::calls.ForEach<GatherOne>(
    []<std::size_t, typename Function>() -> GatherOne { return &GatherFrom<Function>; });

void Gather(Contents& contents, const recording::RecordingReader& reader, const RecordedCall& call) {
    ++contents.calls;
    ++contents.callsByName[std::string(recording::calls[call.index].name)];
    contents.threads.insert(call.thread);
    contents.seconds = 1e-6 * static_cast<double>(call.time);
    gatherers[call.index](contents, reader, call);
}

std::vector<std::pair<std::string, std::uint64_t>> MostFirst(
    const std::map<std::string, std::uint64_t>& counts) {
    std::vector<std::pair<std::string, std::uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return sorted;
}

}  // namespace

Contents ReadContents(std::istream& stream) {
    recording::RecordingReader reader(stream);
    Contents contents;
    try {
        for (RecordedCall call; reader.Next(call);)
            Gather(contents, reader, call);
    } catch (const slib::BadDataException& failure) {
        contents.damage = failure.what();
    }
    contents.notes = reader.notes;
    for (const auto& data : reader.samples)
        contents.distinctBytes += data.bytes.size();
    for (const auto& [name, count] : reader.unknown)
        contents.callsByName[name] += count;
    contents.stopped = reader.stopped;
    contents.missing = reader.missing;
    return contents;
}

std::string EndOf(const Contents& contents) {
    return contents.damage.empty() ? recording::ExplainEnd(contents.stopped, contents.missing)
                                   : contents.damage;
}

void Print(const Contents& contents) {
    std::vector<tool::Table::Column> columns{{"", ""}, {"", ""}};
    tool::Table facts(columns);
    for (const auto& [name, value] : contents.notes)
        facts.AddRow({name, value});
    facts.AddRow({"time", tool::Fixed(contents.seconds, 3) + " s"});
    facts.AddRow({"calls", contents.calls});
    facts.AddRow({"threads", contents.threads.size()});
    facts.AddRow({"contexts", contents.contexts});
    for (const auto& [kind, count] : contents.made)
        facts.AddRow({kind, count});
    for (const auto& [kind, count] : contents.samples)
        facts.AddRow({"samples " + kind, std::to_string(count.buffers) + " times, " +
                                             tool::Size(static_cast<double>(count.bytes))});
    facts.AddRow({"distinct samples", tool::Size(static_cast<double>(contents.distinctBytes))});
    for (const std::string& name : contents.asked)
        facts.AddRow({"asks for", name});
    facts.PrintAligned(std::cout, "", false);
    std::cout << "\n";
    tool::Table calls({{"Call", "name"}, {"Times", "calls", true}});
    for (const auto& [name, count] : MostFirst(contents.callsByName))
        calls.AddRow({name, count});
    calls.PrintAligned(std::cout);
    std::cout << "\n" << EndOf(contents) << "\n";
}

tool::Json ToJson(const Contents& contents) {
    tool::Json samples = tool::Json::array();
    for (const auto& [kind, count] : contents.samples)
        samples.push_back({{"kind", kind}, {"buffers", count.buffers}, {"bytes", count.bytes}});
    return {{"notes", contents.notes},
            {"seconds", contents.seconds},
            {"calls", contents.calls},
            {"threads", contents.threads.size()},
            {"contexts", contents.contexts},
            {"made", contents.made},
            {"samples", samples},
            {"distinctBytes", contents.distinctBytes},
            {"asked", contents.asked},
            {"callsByName", contents.callsByName},
            {"isComplete", contents.damage.empty() && contents.missing == std::uint64_t{0}},
            {"missing", contents.missing ? tool::Json(*contents.missing) : tool::Json()},
            {"end", EndOf(contents)}};
}

}  // namespace replay
