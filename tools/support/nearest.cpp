#include "tools/support/nearest.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <string_view>
#include <utility>

#include "slib/text.h"

namespace tool {
namespace {

// Letters and digits in lower case. Of a word without any, as in another script, all that it has.
std::string LettersOf(const std::string& word) {
    const std::string letters = slib::toLower(slib::KeepAlphanumeric(word));
    return letters.empty() ? word : letters;
}

// The only name for which it is so; nothing where there are several.
template <typename Condition>
std::optional<std::size_t> FindOnly(const std::vector<std::string>& names, const Condition& isSo) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!isSo(LettersOf(names[i]))) continue;
        if (found) return std::nullopt;
        found = i;
    }
    return found;
}

// How many letters have to be put in, left out, replaced, or exchanged with the next one, to make one word
// the other (Damerau 1964, Wagner & Fischer 1974).
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool isSame = a[i - 1] == b[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last.back();
}

constexpr std::size_t longestWord = 100;

// Nothing where they have little in common. Names that have the word in them come before those of many slips.
std::optional<std::size_t> FarnessOf(const std::string& name, const std::string& word) {
    if (word.size() > longestWord || name.size() > longestWord) return std::nullopt;
    const std::size_t distance = Distance(name, word), most = std::max<std::size_t>(1, (word.size() + 1) / 3);
    if (word.size() > 2 && name.find(word) != std::string::npos) return std::min<std::size_t>(distance, 1);
    if (distance <= most && distance < word.size()) return distance;
    return std::nullopt;
}

bool AreDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::optional<std::size_t> FindMeant(const std::vector<std::string>& names, const std::string& word) {
    const auto exact = std::ranges::find(names, word);
    if (exact != names.end()) return static_cast<std::size_t>(exact - names.begin());
    std::string letters = LettersOf(word);
    if (word.empty()) return std::nullopt;
    for (int turn = 0; turn < 2; ++turn) {
        if (const auto found = FindOnly(names, [&](const std::string& name) { return name == letters; }))
            return found;
        if (const auto found =
                FindOnly(names, [&](const std::string& name) { return name.starts_with(letters); }))
            return found;
        if (const auto found =
                FindOnly(names, [&](const std::string& name) { return name.ends_with(letters); }))
            return found;
        if (letters.size() < 4 || !letters.ends_with('s')) break;
        letters.pop_back();
    }
    return std::nullopt;
}

std::vector<std::string> NearestNames(const std::vector<std::string>& names, const std::string& word) {
    constexpr std::size_t most = 3;
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& name : names)
        if (const auto farness = FarnessOf(LettersOf(name), LettersOf(word)))
            found.emplace_back(*farness, name);
    std::ranges::stable_sort(found, {}, &std::pair<std::size_t, std::string>::first);
    std::vector<std::string> nearest;
    for (std::size_t i = 0; i < std::min(most, found.size()); ++i)
        nearest.push_back(found[i].second);
    return nearest;
}

std::string DidYouMean(const std::vector<std::string>& names, const std::string& word) {
    std::vector<std::string> nearest = NearestNames(names, word);
    if (nearest.empty()) return "";
    for (std::string& name : nearest)
        name = "'" + name + "'";
    return " Did you mean " + Alternatives(nearest) + "?";
}

std::string Alternatives(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    return text;
}

std::string WithDecimalPoint(const std::string& number) {
    const std::size_t comma = number.find(',');
    if (comma == std::string::npos || number.find('.') != std::string::npos) return number;
    const std::string_view before = std::string_view(number).substr(0, comma);
    const std::string_view whole = before.starts_with('-') ? before.substr(1) : before;
    const std::size_t end = std::min(number.find_first_not_of("0123456789", comma + 1), number.size());
    const std::string_view fraction = std::string_view(number).substr(comma + 1, end - comma - 1);
    const bool mayPartThousands = fraction.size() == 3 && whole.size() <= 3 && !whole.starts_with('0');
    if (!AreDigits(whole) || fraction.empty() || mayPartThousands ||
        number.find(',', end) != std::string::npos)
        return number;
    return std::string(number).replace(comma, 1, ".");
}

std::optional<double> ParseGain(const std::string& text) {
    std::string plain = WithDecimalPoint(text);
    const bool isInDecibels = slib::toLower(plain).ends_with("db");
    if (isInDecibels) plain = plain.substr(0, plain.find_last_not_of(' ', plain.size() - 3) + 1);
    double number = 0;
    const char* const end = plain.data() + plain.size();
    const char* const begin = plain.data() + (isInDecibels && plain.starts_with('+') ? 1 : 0);
    const auto result = std::from_chars(begin, end, number);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number)) return std::nullopt;
    return isInDecibels ? std::pow(10.0, number / 20) : number;
}

}  // namespace tool
