#include "tools/support/range.h"
#include "tools/support/nearest.h"

#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "slib/exception.h"
#include "slib/text.h"

namespace tool {
namespace {

using Kind = orb3::SettingRange::Kind;
using orb3::Bounds;

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> otherWords{
    {{"yes", "true"}, {"on", "true"}, {"1", "true"}, {"no", "false"}, {"off", "false"}, {"0", "false"}}};

// Nothing unless the whole text is a number of this kind.
template <typename Number>
std::optional<Number> ParseAll(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

std::vector<std::string> Flags() {
    return {slib::FormatBool(true), slib::FormatBool(false)};
}

std::optional<std::string> FindChoice(const std::vector<std::string>& choices, const std::string& word) {
    for (const std::string& choice : choices)
        if (slib::toLower(choice) == word) return choice;
    return std::nullopt;
}

std::optional<std::string> FindFlag(std::string word) {
    for (const auto& [other, plain] : otherWords)
        if (word == other) word = plain;
    return FindChoice(Flags(), word);
}

std::optional<std::string> FindWhole(const Bounds& bounds, const std::string& text) {
    const std::optional<int> number = ParseAll<int>(text);
    if (!number || *number < bounds.least || *number > bounds.greatest) return std::nullopt;
    return slib::FormatNumber(*number);
}

std::optional<std::string> FindReal(const Bounds& bounds, const std::string& text) {
    const std::optional<double> number = ParseAll<double>(text);
    if (!number || !std::isfinite(*number) || *number < bounds.least) return std::nullopt;
    return slib::FormatNumber(*number + 0.0);  // no "-0"
}

// Games run in folders of their own.
std::optional<std::string> FindPath(const std::string& text) {
    if (text.empty()) return text;
    const std::filesystem::path path = std::filesystem::absolute(text).lexically_normal();
    std::error_code ignored;
    const bool isFile = path.has_filename() && !std::filesystem::is_directory(path, ignored);
    if (!isFile || !std::filesystem::is_directory(path.parent_path(), ignored)) return std::nullopt;
    return path.string();
}

std::optional<std::string> Find(const orb3::SettingRange& range, const std::string& text) {
    switch (range.kind) {
        case Kind::Flag:
            return FindFlag(slib::toLower(text));
        case Kind::Choice:
            return FindChoice(range.choices(), slib::toLower(text));
        case Kind::Whole:
            return FindWhole(range.bounds, text);
        case Kind::Real:
            return FindReal(range.bounds, text);
        case Kind::Path:
            return FindPath(text);
    }
    slib::ThrowUnreachable();
}

std::string WholeText(const Bounds& bounds) {
    const std::string least = std::to_string(bounds.least), greatest = std::to_string(bounds.greatest);
    if (bounds.greatest == orb3::noLimit) return least + " or more";
    return least + (bounds.greatest == bounds.least + 1 ? " or " : " to ") + greatest;
}

}  // namespace

std::string RangeText(const orb3::SettingRange& range) {
    switch (range.kind) {
        case Kind::Flag:
            return Alternatives(Flags());
        case Kind::Choice:
            return Alternatives(range.choices());
        case Kind::Whole:
            return WholeText(range.bounds);
        case Kind::Real:
            return "a number of " + std::to_string(range.bounds.least) + " or more";
        case Kind::Path:
            return "the path of a file in a folder that exists, or '' for none";
    }
    slib::ThrowUnreachable();
}

std::vector<std::string> Words(const orb3::SettingRange& range) {
    if (range.kind == Kind::Flag) return Flags();
    return range.kind == Kind::Choice ? range.choices() : std::vector<std::string>();
}

std::string Canonical(const orb3::SettingRange& range, const std::string& text) {
    const std::optional<std::string> found = Find(range, text);
    if (found) return *found;
    throw slib::BadParameterException("must be " + RangeText(range) + ", not '" + text + "'." +
                                      DidYouMean(Words(range), text));
}

}  // namespace tool
