// Fuzz target for status pages, as a program reads those of any process. What it takes fits its place and is
// fit to be printed, and a page of the same texts says the same. Also linked with replay_main.cpp into a
// program that runs the corpus in the ordinary tests.

#include <algorithm>
#include <array>
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

}  // namespace

// The input is a page from its version on, what it lacks is 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::array<std::byte, Layout::size> page{};
    Put(page, Layout::magic, Layout::magicText);
    std::copy_n(reinterpret_cast<const std::byte*>(data), std::min(size, page.size() - Layout::version.at),
                page.begin() + Layout::version.at);
    const std::optional<tool::GameStatus> status = tool::ParseStatusPage(page);
    if (!status) return 0;
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
