#pragma once

// The settings by name, read from the user's store and changed there. Names are found in whatever case. One
// thread.

#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"
#include "orb3core/settings/settingtable.h"
#include "tools/manage/storedvalues.h"

namespace tool {

/// Throws WrongUse, which names those that are meant perhaps.
const orb3::Setting& FindSetting(const std::string& name);

/// `configuration` serves for what is stored in the document; the rest is read from the store.
std::string GetSetting(const orb3::Setting& setting, const orb3::Configuration& configuration);

/// The names of all.
std::vector<std::string> SettingNames();

/// `text` in the one way in which it is stored. Throws WrongUse for what isn't in the range.
std::string CheckedSetting(const orb3::Setting& setting, const std::string& text);

/// Stores `text`, in the one way in which it is stored, and returns that. Throws WrongUse for what isn't in
/// the range, and what the storing throws.
std::string StoreSetting(const orb3::Setting& setting, const std::string& text, Force force);

/// Forgets the settings that are values of their own in the store. Throws what the storing throws.
void ForgetPlatformSettings();

/// Their names: "Output, WaveFile, WaveFilePace, WaveFileChannels, SpeakerSetting, Input and InputFile".
std::string PlatformSettingNames();

/// Throws WrongUse for a number or word in the text of a document that its reader would change in silence.
void CheckDocumentSettings(const std::string& documentText);

}  // namespace tool
