#pragma once

// The tables of names behind the look-up calls, and the searches in them. The tables are constants of the
// library: they need no lock, and may be read from any thread and at any time between its load and its
// unload.

#include <span>
#include <string_view>

namespace goal {

/// A token and its value.
struct EnumRow {
    const char* name;
    int value;
};

/// An exported function and its entry point.
struct ProcRow {
    const char* name;
    void* entry;
};

/// The first row of that exact name, upper and lower case apart; null when there is none.
template <typename Row>
const Row* Find(std::span<const Row> table, std::string_view name) {
    for (const Row& row : table) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

/// True when `names` has `name`, upper and lower case being the same.
bool ContainsIgnoringCase(std::span<const std::string_view> names, std::string_view name);

}  // namespace goal
