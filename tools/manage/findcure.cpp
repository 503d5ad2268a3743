#include <cstddef>
#include <optional>

#include "tools/manage/messagecures.h"

namespace tool {
namespace {

constexpr char varies = '\1';

// Where words begin.
bool IsStart(std::string_view text, std::size_t at) {
    return at == 0 || text[at - 1] == ' ' || text[at - 1] == '\'' || text[at - 1] == '[';
}

// Where the pieces of `message` end that follow each other in `text` from `at` on.
std::optional<std::size_t> EndOf(std::string_view text, std::size_t at, std::string_view message) {
    while (!message.empty()) {
        const std::string_view piece = message.substr(0, message.find(varies));
        at = text.find(piece, at);
        if (at == std::string_view::npos) return std::nullopt;
        at += piece.size();
        message.remove_prefix(piece.size() < message.size() ? piece.size() + 1 : piece.size());
    }
    return at;
}

// The same of the last place where the message begins.
std::optional<std::size_t> LastEnd(std::string_view text, std::string_view message) {
    const std::string_view first = message.substr(0, message.find(varies));
    for (std::size_t at = text.rfind(first); at != std::string_view::npos;
         at = at == 0 ? std::string_view::npos : text.rfind(first, at - 1)) {
        const auto end = EndOf(text, at, message);
        if (end && IsStart(text, at)) return end;
    }
    return std::nullopt;
}

}  // namespace

const MessageCure* FindCure(std::string_view text) {
    const MessageCure* found = nullptr;
    std::size_t foundEnd = 0;
    for (const MessageCure& row : messageCures) {
        const auto end = LastEnd(text, row.message);
        if (!end) continue;
        const bool isBetter = found == nullptr || *end > foundEnd ||
                              (*end == foundEnd && row.message.size() > found->message.size());
        if (!isBetter) continue;
        found = &row;
        foundEnd = *end;
    }
    return found;
}

}  // namespace tool
