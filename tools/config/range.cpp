#include "tools/config/range.h"

#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace tool {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> otherWords{
    {{"yes", "true"}, {"on", "true"}, {"1", "true"}, {"no", "false"}, {"off", "false"}, {"0", "false"}}};

// Nothing unless the whole text is a number of this kind.
template <typename Number>
std::optional<Number> ParseWhole(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

std::optional<std::string> FindChoice(const Range& range, const std::string& text) {
    std::string word = slib::toLower(text);
    if (range.choices == Flag().choices)
        for (const auto& [other, plain] : otherWords)
            if (word == other) word = plain;
    for (const std::string& choice : range.choices)
        if (slib::toLower(choice) == word) return choice;
    return std::nullopt;
}

std::optional<std::string> FindWhole(const Range& range, const std::string& text) {
    const std::optional<int> number = ParseWhole<int>(text);
    if (!number || *number < range.least || *number > range.greatest) return std::nullopt;
    return slib::FormatNumber(*number);
}

std::optional<std::string> FindReal(const Range& range, const std::string& text) {
    const std::optional<double> number = ParseWhole<double>(text);
    if (!number || !std::isfinite(*number) || *number < range.least) return std::nullopt;
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

}  // namespace

std::string Range::Text() const {
    switch (kind) {
        case Kind::Choice: {
            std::string text = choices.front();
            for (std::size_t i = 1; i < choices.size(); ++i)
                text += (i + 1 == choices.size() ? " or " : ", ") + choices[i];
            return text;
        }
        case Kind::Whole: {
            const bool isOpen = greatest == std::numeric_limits<int>::max();
            return std::to_string(least) + (isOpen ? " or more" : " to " + std::to_string(greatest));
        }
        case Kind::Real:
            return "a number, " + std::to_string(least) + " or more";
        case Kind::Path:
            return "the path of a file in a folder that exists, or '' for none";
    }
    slib::ThrowUnreachable();
}

std::string Range::Canonical(const std::string& text) const {
    std::optional<std::string> found;
    switch (kind) {
        case Kind::Choice:
            found = FindChoice(*this, text);
            break;
        case Kind::Whole:
            found = FindWhole(*this, text);
            break;
        case Kind::Real:
            found = FindReal(*this, text);
            break;
        case Kind::Path:
            found = FindPath(text);
            break;
    }
    if (!found) throw slib::BadParameterException("it has to be " + Text());
    return *found;
}

Range Flag() {
    return Choice({"True", "False"});
}

Range Choice(std::vector<std::string> choices) {
    return {Range::Kind::Choice, std::move(choices), 0, 0};
}

Range Whole(int least, int greatest) {
    return {Range::Kind::Whole, {}, least, greatest};
}

Range RealFrom(int least) {
    return {Range::Kind::Real, {}, least, 0};
}

Range FilePath() {
    return {Range::Kind::Path, {}, 0, 0};
}

}  // namespace tool
