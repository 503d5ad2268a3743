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

// Whether the pieces of `message` follow each other in `text`.
bool Follows(std::string_view text, std::string_view message) {
    while (!message.empty()) {
        const std::string_view piece = message.substr(0, message.find(varies));
        const std::size_t at = text.find(piece);
        if (at == std::string_view::npos) return false;
        text.remove_prefix(at + piece.size());
        message.remove_prefix(piece.size() < message.size() ? piece.size() + 1 : piece.size());
    }
    return true;
}

// The last place where the message begins.
std::optional<std::size_t> Place(std::string_view text, std::string_view message) {
    const std::string_view first = message.substr(0, message.find(varies));
    const std::string_view rest = message.substr(first.size());
    for (std::size_t at = text.rfind(first); at != std::string_view::npos;
         at = at == 0 ? std::string_view::npos : text.rfind(first, at - 1))
        if (IsStart(text, at) && Follows(text.substr(at + first.size()), rest)) return at;
    return std::nullopt;
}

}  // namespace

const MessageCure* FindCure(std::string_view text) {
    const MessageCure* found = nullptr;
    std::size_t foundAt = 0;
    for (const MessageCure& row : messageCures) {
        const auto at = Place(text, row.message);
        if (!at) continue;
        const bool isBetter = found == nullptr || *at > foundAt ||
                              (*at == foundAt && row.message.size() > found->message.size());
        if (!isBetter) continue;
        found = &row;
        foundAt = *at;
    }
    return found;
}

}  // namespace tool
