#pragma once

// What a person does about a message in the log: the rows of docs/messages.md, which the build makes a table
// of. Constant data and plain functions; any thread.

#include <span>
#include <string>
#include <string_view>

namespace tool {

struct MessageCure {
    std::string_view message;  ///< what varies in it is '\1'; more may stand before and behind it
    std::string_view cure;     ///< sentences, which name commands in quotes
};

/// In the order of the page.
extern const std::span<const MessageCure> messageCures;

/// The message that `text` has in it: where there are several the one that ends last, which is the reason of
/// those before it, and of those that end at one place the longest. Null for none.
const MessageCure* FindCure(std::string_view text);

}  // namespace tool
