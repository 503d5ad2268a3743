#pragma once

// All settings of a user as one file: the configuration document, the settings of the machine, the speakers
// of single devices and the profiles of games; not the log, and not the user's own library, whose heads and
// rooms it names. For the commands and the page; one thread.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"

namespace tool {

/// The text of the file. Throws as ReadValue, and slib::BadDataException where what is stored can't be used.
std::string AllSettingsText();

/// A file that was read and checked: of all settings, or a configuration document alone.
struct SettingsFile {
    bool isAll = false;
    std::optional<orb3::Configuration> document;  ///< of a file of all settings none, where none was stored
    std::map<std::string, std::string> values;    ///< of the store, by key; empty for the default
    std::map<std::string, std::string> names;     ///< of heads and headphones, by their tags
};

/// What becomes of settings that name files: of this machine's own, or those of the file.
enum class Paths { Keep, Take };

/// Throws WrongUse and slib::BadDataException for what isn't such a file, or has a value that can't be.
SettingsFile ReadSettingsFile(const std::string& text, Paths paths);

/// Puts all that the file has in force, in place of what there is, or nothing of it. True when a document
/// that couldn't be used was kept (StoreDocumentText). Throws what the storing throws.
bool StoreSettingsFile(const SettingsFile& file);

/// What the layouts of a document need and the format library lacks, with the command that makes it: a
/// sentence each. `names` as in a SettingsFile.
std::vector<std::string> WhatIsLacking(const orb3::Configuration& document,
                                       const std::map<std::string, std::string>& names);

}  // namespace tool
