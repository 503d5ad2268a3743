// Fuzz target for status pages, as a program reads those of any process. What it takes fits its place and is
// fit to be printed, and a page of the same texts says the same. Also linked with replay_main.cpp into a
// program that runs the corpus in the ordinary tests.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "fuzz/check.h"
#include "tools/support/gamestatus.h"

namespace {

using Layout = goal::StatusLayout;

bool IsPrintable(const std::string& text) {
    return std::ranges::none_of(text,
                                [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; });
}

void CheckNumbers(const tool::GameStatus& status) {
    Check(status.outputs.size() <= Layout::mostOutputs && status.effects.size() <= Layout::mostEffects &&
          status.sources.size() <= Layout::mostSources);
    const auto isLevel = [](double value) { return value >= 0 && value <= 1e6; };
    Check(isLevel(status.greatestLoad) && isLevel(status.loadMean) && isLevel(status.loadMax) &&
          isLevel(status.greatestPeak) && status.limiterGain > 0 && status.limiterGain <= 1);
    for (const tool::GameOutput& output : status.outputs)
        Check(IsPrintable(output.name) && isLevel(output.peak) && isLevel(output.rms));
    for (const tool::GameEffect& effect : status.effects)
        Check(isLevel(effect.gain));
    for (const tool::GameSource& source : status.sources)
        Check(isLevel(source.level) && source.distance >= 0 && source.distance <= 1e12 &&
              std::max({std::fabs(source.x), std::fabs(source.y), std::fabs(source.z)}) <= 1);
}

}  // namespace

// The input is a page from its version on, what it lacks is 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::array<std::byte, Layout::size> page{};
    Put(page, Layout::magic, Layout::magicText);
    std::copy_n(reinterpret_cast<const std::byte*>(data), std::min(size, page.size() - Layout::version.at),
                page.begin() + Layout::version.at);
    const std::optional<tool::GameStatus> status = tool::ParseStatusPage(page);
    if (!status) return 0;
    CheckNumbers(*status);
    const std::array<std::pair<const std::string&, goal::StatusText>, 7> texts{
        {{status->program, Layout::program},
         {status->libraryVersion, Layout::libraryVersion},
         {status->profile, Layout::profile},
         {status->profileChanges, Layout::profileChanges},
         {status->lastFailure, Layout::lastFailure},
         {status->device, Layout::device},
         {status->layout, Layout::layout}}};
    for (const auto& [text, field] : texts) {
        Check(text.size() <= field.length && IsPrintable(text));
        Put(page, field, text);
    }
    Check(tool::ParseStatusPage(page) == status);
    return 0;
}
