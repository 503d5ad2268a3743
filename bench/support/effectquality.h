#pragma once

// What the effects but the reverb leave audible in each of the two sounds, for the table of docs/sound.md.

#include <functional>
#include <string>

/// Prints a row: its name, the format of its figures, and what measures one for the refined sound or the
/// plain one.
using PrintRow = std::function<void(const std::string&, const char*, const std::function<double(bool)>&)>;

/// The rows of loops, compressor, aliases and changes.
void PrintEffectRows(const PrintRow& print);
