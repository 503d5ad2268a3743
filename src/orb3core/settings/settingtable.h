#pragma once

// All settings, one row each. The reading and writing of the configuration's records, the commands of
// `tessarune-config` and docs/settings.md come from this table, so a setting is added as a field of its
// record, with its default, and a row here. Constant data; any thread.

#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "slib/sxml.h"

namespace orb3 {

class Configuration;
struct AudioRendererConfig;
struct GoalConfig;
struct Setting;

inline constexpr int noLimit = std::numeric_limits<int>::max();

/// Numbers from `least` to `greatest`; of numbers that aren't whole `least` alone counts.
struct Bounds {
    int least = 0;
    int greatest = noLimit;
};

/// What people may give a setting. A document's reader takes more, and corrects it in silence.
struct SettingRange {
    enum class Kind {
        Flag,    ///< True or False
        Choice,  ///< one of `choices`
        Whole,   ///< a whole number within `bounds`
        Real,    ///< a finite number from `bounds.least` up
        Path,    ///< of a file in a folder that exists, or nothing
    };

    Kind kind = Kind::Flag;
    Bounds bounds;
    std::vector<std::string> (*choices)() = nullptr;  ///< in the order in which they are shown
};

/// When a document holds the setting.
enum class Presence {
    Required,       ///< always; a document without it can't be read
    Optional,       ///< always when written; absent means the default
    UnlessDefault,  ///< only when it isn't the default, so that documents of before it stay as they were
};

/// What the reader makes of a number outside the bounds that it takes.
enum class Outside { Nearest, Default, Kept };

/// How a setting that lies in a record is written as text and read from it.
template <typename Record>
struct RecordField {
    std::string (*write)(const Record& record);
    /// Corrects what is out of range; throws slib::BadDataException for a bad bool.
    void (*read)(const Setting& setting, std::string_view text, Record& record);
};

/// Of a setting that is a value of its own in the user's store.
struct StoreValue {
    std::string_view defaultText;  ///< what nothing in the store means
};

struct SettingValue {
    SettingRange range;
    Bounds taken;  ///< by the reader
    Outside outside = Outside::Kept;
    std::variant<StoreValue, RecordField<GoalConfig>, RecordField<AudioRendererConfig>,
                 RecordField<Configuration>>
        field;
};

struct Setting {
    enum class Place {
        Tessarune,      ///< attribute of the document's node of this name
        Document,       ///< attribute of the document's root
        Platform,       ///< value of the user's store, under "/Platform"
        AudioRenderer,  ///< attribute of the document's node of this name
    };

    std::string_view attribute;  ///< or the last part of the store's key
    Presence presence;
    SettingValue value;
    std::string_view meaning;  ///< for people, in a few words
    std::string_view scope;    ///< what it acts on, for people
    std::string_view advice;   ///< sentences for people: what follows from it, and when to change it

    Place GetPlace() const;

    /// The name for people: "Order", "AudioRenderer.Gain".
    std::string Name() const;

    /// Where the store has it; of settings under "/Platform" alone.
    std::string StoreKey() const;

    /// As text.
    std::string Default() const;
};

/// In the order in which documents are read and settings are shown.
std::span<const Setting> Settings();

/// The text of a setting that lies in the document.
std::string SettingText(const Setting& setting, const Configuration& configuration);

/// Takes `text` as a document's reader does. Throws slib::BadDataException for a bad bool.
void TakeSetting(const Setting& setting, std::string_view text, Configuration& configuration);

/// Reads the settings of a record, which holds the defaults, from the attributes of its node. Numbers and
/// words out of range are corrected in silence. Throws slib::BadXMLException for a missing attribute,
/// slib::BadDataException for a bad bool.
template <typename Record>
void ReadSettings(const slib::SXMLNode& node, Record& record);

/// Adds the settings of a record to the attributes of `node`.
template <typename Record>
void WriteSettings(const Record& record, slib::SXMLNode& node);

}  // namespace orb3
