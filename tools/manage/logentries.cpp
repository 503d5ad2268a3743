#include "tools/manage/logentries.h"

#include <array>
#include <cstddef>
#include <ctime>

#include "tools/manage/messagecures.h"
#include "tools/support/logring.h"

namespace tool {

std::optional<LogEntry> ParseLogLine(const std::string& line) {
    const std::size_t time = line.find(' ', line.find(' ') + 1), program = line.find(": ", time);
    if (program == std::string::npos) return std::nullopt;
    return LogEntry{line.starts_with('E'), line.substr(1, time - 1),
                    line.substr(time + 1, program - time - 1), line.substr(program + 2), ""};
}

std::vector<LogEntry> ReadLogEntries() {
    std::vector<LogEntry> entries;
    for (const std::string& line : Lines(ReadLogRing())) {
        LogEntry& entry =
            entries.emplace_back(ParseLogLine(line).value_or(LogEntry{false, "", "", line, ""}));
        if (const MessageCure* const cure = FindCure(entry.text)) entry.cure = cure->cure;
    }
    return entries;
}

std::string ToUtc(const std::string& time) {
    std::tm local{};
    if (strptime(time.c_str(), "%Y-%m-%d %H:%M:%S", &local) == nullptr) return "";
    local.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&local);
    std::tm utc{};
    if (seconds == -1 || gmtime_r(&seconds, &utc) == nullptr) return "";
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

}  // namespace tool
