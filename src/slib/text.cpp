#include "slib/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <optional>
#include <system_error>

#include "slib/exception.h"

namespace slib {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::string_view SkipSpace(std::string_view text) {
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

// Takes one "+" or "-" off the front; true for "-".
bool TakeSign(std::string_view& text) {
    if (text.empty() || (text.front() != '+' && text.front() != '-')) return false;
    const bool isNegative = text.front() == '-';
    text.remove_prefix(1);
    return isNegative;
}

// Takes "0x" off the front if hexadecimal digits follow, with or without a point before them.
bool TakeHexPrefix(std::string_view& text) {
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
    const std::size_t digit = text[2] == '.' ? 3 : 2;
    if (digit >= text.size() || !IsHexDigit(text[digit])) return false;
    text.remove_prefix(2);
    return true;
}

// For a number outside double's range: true when it is too large, false when it is too small. `number` has no
// sign. The sign of the leading digit's exponent distinguishes the two.
bool IsTooLarge(std::string_view number, bool isHex) {
    const std::size_t exponentAt = number.find_first_of(isHex ? "pP" : "eE");
    const std::string_view mantissa = number.substr(0, exponentAt);
    const std::string_view exponentText =
        exponentAt == std::string_view::npos ? std::string_view() : number.substr(exponentAt + 1);
    const auto pointAt = static_cast<long long>(std::min(mantissa.find('.'), mantissa.size()));
    const auto firstAt = static_cast<long long>(std::min(mantissa.find_first_not_of("0."), mantissa.size()));
    return (pointAt - firstAt) * (isHex ? 4 : 1) + ParseInt(exponentText) > 0;
}

// Reads a number without a sign; nothing when there is none.
std::optional<double> ParseMagnitude(std::string_view text) {
    if (text.empty() || text.front() == '-') return std::nullopt;
    const bool isHex = TakeHexPrefix(text);
    const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, format);
    if (result.ec == std::errc::invalid_argument) return std::nullopt;
    if (result.ec != std::errc::result_out_of_range) return value;
    const auto length = static_cast<std::size_t>(result.ptr - text.data());
    return IsTooLarge(text.substr(0, length), isHex) ? std::numeric_limits<double>::infinity() : 0.0;
}

char LowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Takes the next byte that counts off the front of `name`; false when none is left.
bool TakeSignificant(std::string_view& name, char& c) {
    while (!name.empty()) {
        c = name.front();
        if (c == '(') {
            const std::size_t end = name.find(')');
            name.remove_prefix(end == std::string_view::npos ? name.size() : end + 1);
            continue;
        }
        name.remove_prefix(1);
        if (!IsSpace(c)) return true;
    }
    return false;
}

}  // namespace

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool ParseBool(std::string_view text) {
    if (text == "True") return true;
    if (text == "False") return false;
    throw BadDataException("Unable to parse string '" + std::string(text) + "' as 'True' or 'False'.");
}

std::string FormatBool(bool value) {
    return value ? "True" : "False";
}

int ParseInt(std::string_view text) {
    text = SkipSpace(text);
    const bool isNegative = TakeSign(text);
    long long magnitude = 0;
    constexpr long long limit = std::numeric_limits<int>::max();
    for (; !text.empty() && IsDigit(text.front()); text.remove_prefix(1))
        magnitude = std::min(magnitude * 10 + (text.front() - '0'), limit + 1);
    return static_cast<int>(isNegative ? -magnitude : std::min(magnitude, limit));
}

double ParseDouble(std::string_view text) {
    text = SkipSpace(text);
    const bool isNegative = TakeSign(text);
    const std::optional<double> magnitude = ParseMagnitude(text);
    if (!magnitude) return 0.0;
    return isNegative ? -*magnitude : *magnitude;
}

double ParseFiniteDouble(std::string_view text) {
    const double value = ParseDouble(text);
    constexpr double limit = std::numeric_limits<double>::max();
    return std::isnan(value) ? 0.0 : std::clamp(value, -limit, limit);
}

float ParseFiniteFloat(std::string_view text) {
    constexpr double limit = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(ParseFiniteDouble(text), -limit, limit));
}

std::string FormatNumber(int value) {
    return std::to_string(value);
}

std::string FormatNumber(double value, int significantDigits) {
    std::array<char, 40> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value,
                                      std::chars_format::general, significantDigits);
    return std::string(text.data(), result.ptr);
}

std::string toUpper(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

std::string toLower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), LowerCase);
    return lower;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, LowerCase, LowerCase);
}

std::string KeepAlphanumeric(std::string_view text) {
    std::string kept;
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
    return kept;
}

bool sameIgnoringSpaceAndParentheses(std::string_view a, std::string_view b) {
    char fromA = '\0';
    char fromB = '\0';
    for (;;) {
        const bool hasA = TakeSignificant(a, fromA);
        const bool hasB = TakeSignificant(b, fromB);
        if (!hasA || !hasB) return hasA == hasB;
        if (fromA != fromB) return false;
    }
}

}  // namespace slib
