#include "orb3core/store/storetext.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "slib/text.h"

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

// A value in the one spelling: a backslash that begins no escape stands for itself, and so does a quotation
// mark inside a quoted value. A value that begins beyond ASCII is put in quotes, since there are readers of
// such files that take some of these characters for blanks, and drop them.
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

// Only ASCII has blanks and small letters here, whatever the process's locale says.
bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void TrimEnd(std::string& text) {
    while (!text.empty() && IsBlank(text.back()))
        text.pop_back();
}

std::string Unescape(std::string_view text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && ++i == text.size()) break;
        name += text[i];
    }
    return name;
}

std::string Escape(std::string_view name) {
    std::string escaped;
    for (const char c : name) {
        const bool isPlain = static_cast<unsigned char>(c) >= 0x80U || (c >= '0' && c <= '9') ||
                             (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                             std::string_view("@_/-!.*%()").find(c) != std::string_view::npos;
        if (!isPlain) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

// Names that differ only in case are the same one.
bool IsSameName(std::string_view a, std::string_view b) {
    return slib::toLower(a) == slib::toLower(b);
}

// The key in the text before a "=". An exclamation mark at the front isn't part of it: it marks a value that
// other readers of such files refuse to change. Nor is a byte order mark, which at the front of the text
// would be taken for the file's.
std::string KeyName(std::string_view text) {
    std::string raw(text);
    TrimEnd(raw);
    raw.erase(0, static_cast<std::size_t>(std::find_if_not(raw.begin(), raw.end(), IsBlank) - raw.begin()));
    std::string name = Unescape(raw);
    TrimEnd(name);
    for (;;) {
        if (name.starts_with('!'))
            name.erase(0, 1);
        else if (name.starts_with(byteOrderMark))
            name.erase(0, byteOrderMark.size());
        else
            return name;
    }
}

// The names in a path like "/A/B"; nothing when it leads above the root.
std::optional<std::vector<std::string>> NamesOf(std::string path) {
    path += '/';
    std::vector<std::string> names;
    for (std::size_t start = 0, end = 0; (end = path.find('/', start)) != std::string::npos;
         start = end + 1) {
        std::string name = path.substr(start, end - start);
        if (name == "..") {
            if (names.empty()) return std::nullopt;
            names.pop_back();
        } else if (!name.empty() && name != ".") {
            names.push_back(std::move(name));
        }
    }
    return names;
}

std::string Joined(const std::vector<std::string>& names) {
    std::string path;
    for (const std::string& name : names)
        path += (path.empty() ? "" : "/") + name;
    return path;
}

// Gathers the lines group by group, so that one that comes twice becomes one.
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

    bool hasLost = false;  // a line that isn't blank and isn't in the result

private:
    struct Group {
        std::string lines;           // with its header
        std::set<std::string> keys;  // in small letters
    };

    void TakeLine(std::string_view line) {
        if (line.empty()) return;
        if (line.front() == '#' || line.front() == ';')
            Keep(line);
        else if (line.front() == '[')
            TakeHeader(line);
        else if (isSkipping || !TakeEntry(line))
            hasLost = true;
    }

    // The entries of a group whose header is lost have no place any more.
    void TakeHeader(std::string_view line) {
        const std::size_t end = FindUnescaped(line, ']');
        const auto names =
            end == std::string_view::npos ? std::nullopt : NamesOf(Unescape(line.substr(1, end - 1)));
        isSkipping = !names.has_value();
        hasLost |= isSkipping;
        if (isSkipping) return;
        const std::string path = Joined(*names);
        const auto [place, isNew] = placeOfPath.try_emplace(slib::toLower(path), groups.size());
        current = place->second;
        if (!isNew) return;
        groups.emplace_back();
        Keep(std::string("[").append(Escape(path)).append("]"));
    }

    bool TakeEntry(std::string_view line) {
        const std::size_t end = FindUnescaped(line, '=');
        if (end == std::string_view::npos) return false;
        const std::string key = KeyName(line.substr(0, end));
        if (key.empty() || !groups[current].keys.insert(slib::toLower(key)).second) return false;
        Keep(Escape(key) + "=" + RepairValue(TrimFront(line.substr(end + 1))));
        return true;
    }

    void Keep(std::string_view line) { groups[current].lines.append(line).append("\n"); }

    std::vector<Group> groups{1};  // the first one is the root, which has no header
    std::map<std::string, std::size_t> placeOfPath{{"", 0}};
    std::size_t current = 0;
    bool isSkipping = false;
};

// The lines of a repaired text that are in the group, or those that aren't.
std::string SelectLines(std::string_view text, std::string_view group, bool isWanted) {
    const std::string header = std::string("[").append(group).append("]");
    std::string selected;
    bool isInside = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        if (line.front() == '[') isInside = IsSameName(line.substr(0, line.size() - 1), header);
        if (isInside == isWanted) selected += line;
        text.remove_prefix(line.size());
    }
    return selected;
}

// ---- Values ----

// How a value is written: with a letter for each character that would end the line or begin an escape, and in
// quotes when it begins with a blank, a quotation mark or a character beyond ASCII.
std::string WrittenValue(std::string_view value) {
    const bool isQuoted = !value.empty() && (IsBlank(value.front()) || value.front() == '"' ||
                                             static_cast<unsigned char>(value.front()) >= 0x80U);
    std::string written = isQuoted ? "\"" : "";
    for (const char c : value) {
        if (c == '\n')
            written += "\\n";
        else if (c == '\r')
            written += "\\r";
        else if (c == '\t')
            written += "\\t";
        else if (c == '\\' || (c == '"' && isQuoted))
            written += {'\\', c};
        else
            written += c;
    }
    return written + (isQuoted ? "\"" : "");
}

// The value that was written so, in the one spelling of RepairStoreText.
std::string ReadValue(std::string_view written) {
    if (written.starts_with('"')) written = written.substr(1, written.size() - 2);
    std::string value;
    for (std::size_t i = 0; i < written.size(); ++i) {
        const bool isEscape = written[i] == '\\' && i + 1 < written.size();
        const char c = written[isEscape ? ++i : i];
        value += !isEscape ? c : c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
    return value;
}

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

bool LosesLines(std::string_view text) {
    Repairer repairer;
    repairer.Repair(RepairUtf8(text));
    return repairer.hasLost;
}

std::string LinesOfGroup(std::string_view text, std::string_view group) {
    return SelectLines(text, group, true);
}

std::string LinesBesideGroup(std::string_view text, std::string_view group) {
    return SelectLines(text, group, false);
}

bool IsInGroup(const std::string& key, std::string_view group) {
    const auto names = NamesOf(RepairUtf8(key));
    return names && names->size() > 1 && IsSameName(names->front(), group);
}

StoreText::StoreText(std::string_view content) {
    const std::string text = RepairStoreText(content);
    Group* group = &root;
    for (std::size_t start = 0, end = 0; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        const std::string_view line = std::string_view(text).substr(start, end - start);
        const Line place = lines.insert(lines.end(), std::string(line));
        if (line.front() == '[') {
            group = &GroupAt(*NamesOf(Unescape(line.substr(1, FindUnescaped(line, ']') - 1))));
            group->header = place;
            group->parent->lastGroup = group;
        } else if (line.front() != '#' && line.front() != ';') {
            const std::size_t sign = FindUnescaped(line, '=');
            group->entries.push_back({Unescape(line.substr(0, sign)), sign + 1, place});
            group->lastEntry = place;
        }
    }
}

std::string StoreText::Read(const std::string& key, const std::string& defaultValue) const {
    std::vector<std::string> names = NamesOf(RepairUtf8(key)).value_or(std::vector<std::string>());
    if (names.empty()) return defaultValue;
    const std::string name = std::move(names.back());
    names.pop_back();
    const Group* group = &root;
    for (const std::string& part : names) {
        group = group->Find(part);
        if (group == nullptr) return defaultValue;
    }
    const Entry* const entry = group->FindEntry(name);
    return entry == nullptr ? defaultValue : ReadValue(std::string_view(*entry->line).substr(entry->valueAt));
}

void StoreText::Write(const std::string& key, const std::string& value) {
    std::vector<std::string> names = NamesOf(RepairUtf8(key)).value_or(std::vector<std::string>());
    if (names.empty()) return;
    const std::string name = KeyName(Escape(names.back()));
    if (name.empty()) return;
    names.pop_back();
    Group& group = GroupAt(names);
    const std::string written = WrittenValue(RepairUtf8(value));
    if (const Entry* const entry = group.FindEntry(name)) {
        entry->line->replace(entry->valueAt, std::string::npos, written);
        return;
    }
    const std::string front = Escape(name) + "=";
    const Line place = InsertAfter(LastEntryLine(group), front + written);
    group.entries.push_back({name, front.size(), place});
    group.lastEntry = place;
}

std::string StoreText::Text() const {
    std::string text;
    for (const std::string& line : lines)
        text.append(line).append("\n");
    return text;
}

StoreText::Group* StoreText::Group::Find(std::string_view wanted) const {
    const auto found = std::ranges::find_if(
        groups, [&](const std::unique_ptr<Group>& group) { return IsSameName(group->name, wanted); });
    return found == groups.end() ? nullptr : found->get();
}

const StoreText::Entry* StoreText::Group::FindEntry(std::string_view wanted) const {
    const auto found =
        std::ranges::find_if(entries, [&](const Entry& entry) { return IsSameName(entry.name, wanted); });
    return found == entries.end() ? nullptr : &*found;
}

StoreText::Group& StoreText::GroupAt(const std::vector<std::string>& names) {
    Group* group = &root;
    for (const std::string& name : names) {
        Group* next = group->Find(name);
        if (next == nullptr) {
            next = group->groups.emplace_back(std::make_unique<Group>()).get();
            next->name = name;
            next->parent = group;
        }
        group = next;
    }
    return *group;
}

std::optional<StoreText::Line> StoreText::HeaderOf(Group& group) {
    if (group.header || group.parent == nullptr) return group.header;
    std::vector<std::string> names;
    for (const Group* g = &group; g->parent != nullptr; g = g->parent)
        names.insert(names.begin(), g->name);
    group.header =
        InsertAfter(LastGroupLine(*group.parent), std::string("[").append(Escape(Joined(names))).append("]"));
    group.parent->lastGroup = &group;
    return group.header;
}

std::optional<StoreText::Line> StoreText::LastEntryLine(Group& group) {
    return group.lastEntry ? group.lastEntry : HeaderOf(group);
}

std::optional<StoreText::Line> StoreText::LastGroupLine(Group& group) {
    return group.lastGroup != nullptr ? LastGroupLine(*group.lastGroup) : LastEntryLine(group);
}

StoreText::Line StoreText::InsertAfter(const std::optional<Line>& place, std::string line) {
    return lines.insert(place ? std::next(*place) : lines.begin(), std::move(line));
}

}  // namespace orb3
