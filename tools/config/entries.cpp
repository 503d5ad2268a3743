#include "tools/config/entries.h"

namespace tool {

Table Entries(const std::string& title, const std::vector<design::OwnEntry>& entries,
              const std::string& used) {
    Table table(
        {{"", "is_used"}, {title, "name"}, {"METHOD", "method"}, {"BY", "is_own"}, {"", "description"}});
    for (const design::OwnEntry& entry : entries)
        table.AddRow({{entry.tag == used ? "*" : "", entry.tag == used},
                      entry.name,
                      entry.tag,
                      {entry.isOwn ? "you" : "the system", entry.isOwn},
                      {"", entry.writeup}});
    return table;
}

}  // namespace tool
