#include "orb3core/store/storetext.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwctype>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace orb3 {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t\v\f";

// What the first byte of a sequence promises: its length and the range of the second byte. The ranges keep
// out overlong forms, surrogates and what lies beyond U+10FFFF.
struct Utf8Lead {
    std::uint8_t first, last, length, secondFirst, secondLast;
};
constexpr std::array<Utf8Lead, 7> utf8Leads{{
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF4, 4, 0x80, 0xBF},
}};

// The length of the valid sequence at the front, 0 when there is none.
std::size_t Utf8SequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    if (byte(0) != 0 && byte(0) < 0x80U) return 1;
    for (const Utf8Lead& lead : utf8Leads) {
        if (byte(0) < lead.first || byte(0) > lead.last) continue;
        if (text.size() < lead.length) return 0;
        if (byte(1) < lead.secondFirst || byte(1) > lead.secondLast) return 0;
        if (byte(0) == 0xF4 && byte(1) > 0x8F) return 0;
        for (std::size_t i = 2; i < lead.length; ++i)
            if ((byte(i) & 0xC0U) != 0x80U) return 0;
        return lead.length;
    }
    return 0;
}

std::string_view TrimFront(std::string_view text) {
    const std::size_t start = text.find_first_not_of(blanks);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// The place of the first `wanted` that no backslash stands before, or npos.
std::size_t FindUnescaped(std::string_view text, char wanted) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i;
        else if (text[i] == wanted)
            return i;
    }
    return std::string_view::npos;
}

// A value in the spelling that the parser takes: a backslash that begins none of its escapes stands for
// itself, and so does a quotation mark inside a quoted value. The parser drops leading blanks, and which
// characters beyond ASCII are blanks depends on the process's locale, so that a value which begins with one
// of those is put in quotes.
std::string RepairValue(std::string_view value) {
    const bool isQuoted = value.starts_with('"');
    const bool needsQuotes =
        isQuoted || (!value.empty() && static_cast<unsigned char>(value.front()) >= 0x80U);
    if (isQuoted) value.remove_prefix(1);
    std::string repaired = needsQuotes ? "\"" : "";
    while (!value.empty()) {
        const std::size_t plain = std::min(value.find_first_of("\\\""), value.size());
        repaired.append(value.substr(0, plain));
        value.remove_prefix(plain);
        if (value.empty() || (isQuoted && value == "\"")) break;
        const bool isEscape = value.front() == '\\' && value.size() > 1 &&
                              std::string_view("nrt\\\"").find(value[1]) != std::string_view::npos;
        if (isEscape) value.remove_prefix(1);
        if (isEscape || needsQuotes || value.front() == '\\') repaired += '\\';
        repaired += value.front();
        value.remove_prefix(1);
    }
    return repaired + (needsQuotes ? "\"" : "");
}

// `text`, which is UTF-8, in characters.
std::wstring Widen(std::string_view text) {
    std::wstring wide;
    for (std::size_t length = 0; !text.empty(); text.remove_prefix(length)) {
        length = Utf8SequenceLength(text);
        const auto lead = static_cast<std::uint8_t>(text.front());
        std::uint32_t character = length == 1 ? lead : lead & (0x7FU >> length);
        for (std::size_t i = 1; i < length; ++i)
            character = character << 6U | (static_cast<std::uint8_t>(text[i]) & 0x3FU);
        wide += static_cast<wchar_t>(character);
    }
    return wide;
}

std::string Narrow(std::wstring_view wide) {
    std::string text;
    for (const wchar_t character : wide) {
        const auto code = static_cast<char32_t>(character);
        const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
        if (code < 0x80U) text += static_cast<char>(code);
        if (code >= 0x80U && code < 0x800U) text += static_cast<char>(0xC0U | code >> 6U);
        if (code >= 0x800U && code < 0x10000U) text += static_cast<char>(0xE0U | code >> 12U);
        if (code >= 0x10000U) text += static_cast<char>(0xF0U | code >> 18U);
        if (code >= 0x10000U) tail(12);
        if (code >= 0x800U) tail(6);
        if (code >= 0x80U) tail(0);
    }
    return text;
}

// What is a blank, and what is a small letter, the parser asks the C library, and so the process's locale.
bool IsBlank(wchar_t character) {
    return std::iswspace(static_cast<std::wint_t>(character)) != 0;
}

void TrimEnd(std::wstring& text) {
    while (!text.empty() && IsBlank(text.back()))
        text.pop_back();
}

std::wstring Unescape(std::wstring_view text) {
    std::wstring name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && ++i == text.size()) break;
        name += text[i];
    }
    return name;
}

std::string Escape(std::wstring_view name) {
    std::wstring escaped;
    for (const wchar_t c : name) {
        const bool isPlain = c >= 0x80 || (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') ||
                             (c >= L'a' && c <= L'z') ||
                             std::wstring_view(L"@_/-!.*%()").find(c) != std::wstring_view::npos;
        if (!isPlain) escaped += L'\\';
        escaped += c;
    }
    return Narrow(escaped);
}

// Names that differ only in case are the same one.
std::wstring Fold(std::wstring name) {
    for (wchar_t& c : name)
        c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    return name;
}

// The key that the parser makes of the text before a "=". An exclamation mark at the front isn't part of it:
// it marks a value that refuses to be changed, which would have the parser speak up at the next write. Nor is
// a byte order mark, which at the front of the text would be taken for the file's.
std::wstring KeyName(std::string_view text) {
    std::wstring raw = Widen(text);
    TrimEnd(raw);
    raw.erase(0, static_cast<std::size_t>(std::find_if_not(raw.begin(), raw.end(), IsBlank) - raw.begin()));
    std::wstring name = Unescape(raw);
    TrimEnd(name);
    name.erase(0, std::min(name.find_first_not_of(L"!\uFEFF"), name.size()));
    return name;
}

// The path of a group, "A/B", that the parser makes of the text between the brackets; nothing when it leads
// above the root.
std::optional<std::wstring> GroupPath(std::string_view text) {
    const std::wstring path = Unescape(Widen(text)) + L"/";
    std::vector<std::wstring> names;
    for (std::size_t start = 0, end = 0; (end = path.find(L'/', start)) != std::wstring::npos;
         start = end + 1) {
        const std::wstring name = path.substr(start, end - start);
        if (name == L"..") {
            if (names.empty()) return std::nullopt;
            names.pop_back();
        } else if (!name.empty() && name != L".") {
            names.push_back(name);
        }
    }
    std::wstring joined;
    for (const std::wstring& name : names)
        joined += (joined.empty() ? L"" : L"/") + name;
    return joined;
}

// Gathers the lines group by group: the parser objects to a group that comes twice.
class Repairer {
public:
    std::string Repair(std::string_view text) {
        if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
        while (!text.empty()) {
            const std::size_t end = text.find_first_of("\r\n");
            TakeLine(TrimFront(text.substr(0, end)));
            text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        }
        std::string result;
        for (const Group& group : groups)
            result += group.lines;
        return result;
    }

private:
    struct Group {
        std::string lines;            // with its header
        std::set<std::wstring> keys;  // folded
    };

    void TakeLine(std::string_view line) {
        if (line.empty()) return;
        if (line.front() == '#' || line.front() == ';')
            Keep(line);
        else if (line.front() == '[')
            TakeHeader(line);
        else if (!isSkipping)
            TakeEntry(line);
    }

    // The entries of a group whose header is lost have no place any more.
    void TakeHeader(std::string_view line) {
        const std::size_t end = FindUnescaped(line, ']');
        const auto path = end == std::string_view::npos ? std::nullopt : GroupPath(line.substr(1, end - 1));
        isSkipping = !path.has_value();
        if (isSkipping) return;
        const auto [place, isNew] = placeOfPath.try_emplace(Fold(*path), groups.size());
        current = place->second;
        if (!isNew) return;
        groups.emplace_back();
        Keep(std::string("[").append(Escape(*path)).append("]"));
    }

    void TakeEntry(std::string_view line) {
        const std::size_t end = FindUnescaped(line, '=');
        if (end == std::string_view::npos) return;
        const std::wstring key = KeyName(line.substr(0, end));
        if (key.empty() || !groups[current].keys.insert(Fold(key)).second) return;
        Keep(Escape(key) + "=" + RepairValue(TrimFront(line.substr(end + 1))));
    }

    void Keep(std::string_view line) { groups[current].lines.append(line).append("\n"); }

    std::vector<Group> groups{1};  // the first one is the root, which has no header
    std::map<std::wstring, std::size_t> placeOfPath{{L"", 0}};
    std::size_t current = 0;
    bool isSkipping = false;
};

}  // namespace

std::string RepairUtf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    std::size_t length = 0;
    for (std::size_t i = 0, start = 0; i <= text.size(); i += std::max<std::size_t>(length, 1)) {
        length = i < text.size() ? Utf8SequenceLength(text.substr(i)) : 0;
        if (length > 0) continue;
        repaired.append(text.substr(start, i - start));
        if (i < text.size()) repaired.append(replacement);
        start = i + 1;
    }
    return repaired;
}

std::string RepairStoreText(std::string_view text) {
    return Repairer().Repair(RepairUtf8(text));
}

}  // namespace orb3
