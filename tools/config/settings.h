#pragma once

// All settings by name: where each stands, what it may be and what it is for. The names are those of the
// document's attributes and the store's keys; names are found in whatever case. One thread.

#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"
#include "tools/config/range.h"

namespace tool {

struct Setting {
    enum class Place {
        Document,         ///< attribute of the document's root
        Tessarune,        ///< of its node of this name
        GeneralRenderer,  ///< of its node "AudioRenderer"; these names begin with "AudioRenderer."
        Platform,         ///< value of the store, under "/Platform"
    };

    std::string name;
    Place place;
    Range range;
    std::string meaning;  ///< for people

    /// The attribute or the last part of the key.
    std::string Attribute() const;
};

/// In the order in which they are shown.
const std::vector<Setting>& Settings();

/// Throws WrongUse, which names those that are meant perhaps.
const Setting& FindSetting(const std::string& name);

/// `configuration` serves for what is in the document; the rest is read from the store.
std::string GetSetting(const Setting& setting, const orb3::Configuration& configuration);

/// Stores `text`, in the one way in which it is stored, and returns that. Throws WrongUse for what isn't in
/// the range, and what the storing throws.
std::string StoreSetting(const Setting& setting, const std::string& text);

/// Throws WrongUse for a number or word in the text of a document that its reader would change in silence.
void CheckDocumentSettings(const std::string& documentText);

}  // namespace tool
