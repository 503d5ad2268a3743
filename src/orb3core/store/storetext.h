#pragma once

// The text of a store's file: what it holds, and how it changes when a value is written. Groups of lines
// under headers, "[A/B]", with an entry a line, "key=value", and comments:
//
//     [Log]
//     Index=5
//     005=I2012-03-04 05:06:07.89 Tessarune: Rendering started.
//
// Whatever the file holds is taken for what can still be used of it, without complaint. The process's locale
// plays no part. Plain values without a thread of their own; ConfigStore keeps two threads apart.

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orb3 {

/// `text` with each byte that isn't part of a UTF-8 sequence (RFC 3629), and each NUL, replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

/// The lines of a store file that can be used, in UTF-8 and one spelling: lines that never were such lines
/// go, and so do blank ones, a byte order mark at the front and stray text behind a header. A group that
/// comes twice becomes one; a key that comes twice in a group, in whatever case and escapes, keeps its first
/// value. Backslashes and quotation marks that mean nothing in their place are escaped. Repairing twice is
/// the same as repairing once.
std::string RepairStoreText(std::string_view text);

/// True when repairing takes something away that may have been an entry or a header.
bool LosesLines(std::string_view text);

/// Of a repaired text the lines of one group of the root, with its header, or all others.
std::string LinesOfGroup(std::string_view text, std::string_view group);
std::string LinesBesideGroup(std::string_view text, std::string_view group);

/// True for the key of a value in that group of the root, or below.
bool IsInGroup(const std::string& key, std::string_view group);

/// One store's text, repaired, between its reading and its replacement. Keys are paths of "/"-separated names
/// ("/Log/Index"); upper and lower case of ASCII letters are the same.
class StoreText {
public:
    explicit StoreText(std::string_view content);
    StoreText(const StoreText&) = delete;
    StoreText& operator=(const StoreText&) = delete;

    /// The text under `key`, or `defaultValue` when there is none.
    std::string Read(const std::string& key, const std::string& defaultValue) const;

    /// Stores `value`, repaired, under `key`. A new entry goes behind the last one of its group, a new group
    /// behind the last one of its parent, whose header is made when there is none; all other lines stay as
    /// they are. A path that names nothing ("", "/..") changes nothing.
    void Write(const std::string& key, const std::string& value);

    /// What belongs into the file.
    std::string Text() const;

private:
    using Line = std::list<std::string>::iterator;

    struct Entry {
        std::string name;
        std::size_t valueAt;  // in the line
        Line line;
    };

    struct Group {
        Group* Find(std::string_view wanted) const;
        const Entry* FindEntry(std::string_view wanted) const;

        std::string name;
        Group* parent = nullptr;
        std::vector<std::unique_ptr<Group>> groups;
        std::vector<Entry> entries;
        std::optional<Line> header;     // none in the root, and where only groups within are named
        std::optional<Line> lastEntry;  // the one behind which the next one goes
        Group* lastGroup = nullptr;     // likewise
    };

    Group& GroupAt(const std::vector<std::string>& names);
    std::optional<Line> HeaderOf(Group& group);
    std::optional<Line> LastEntryLine(Group& group);
    std::optional<Line> LastGroupLine(Group& group);
    Line InsertAfter(const std::optional<Line>& place, std::string line);

    std::list<std::string> lines;
    Group root;
};

}  // namespace orb3
