#include "tools/config/settingspage.h"

#include "orb3core/settings/settingtable.h"
#include "tools/support/range.h"

namespace tool {
namespace {

using orb3::Setting;
using SettingPlace = Setting::Place;

constexpr const char* head = R"(# Settings

<!-- Printed by `tessarune-config get --markdown` from the table in `src/orb3core/settings/settingtable.cpp`. To add a
     setting, add a field with its default to the record (`GoalConfig`, say) and a row to that table, then print this
     page anew. Reading, writing, the command line and its help come from the row. -->

```sh
tessarune-config get                      # all settings with their values and what they may be
tessarune-config get Order --range
tessarune-config set Order 2
```

Names and words may be given in any case, words also by a beginning or end that no other has, and gains in decibels (`-6dB`). `set` refuses a value that a setting may not have; when a document is read, such a
number is corrected in silence.
)";

struct Section {
    SettingPlace place;
    const char* introduction;
};

constexpr Section sections[] = {
    {SettingPlace::Tessarune, R"(
## Rendering and output

These are attributes of the node `Tessarune` of the configuration document. A running game takes a change up within two
seconds. The default holds until a document is stored. The first start of a game measures the machine for one second, chooses
what the machine can carry for the settings that say so, and stores them.

)"},
    {SettingPlace::Document, R"(
## The layout

This one is an attribute of the configuration document itself. The [user guide](user-guide.md) describes what else the
document holds.

)"},
    {SettingPlace::Platform, R"(
## The machine

These are stored under `[Platform]` of your `store.conf`. A running game takes a change up with the next change of a setting
above, or when it starts. `tessarune-config set SpeakerSetting LAYOUT --device DEVICE` sets the speakers of one device alone, which come
before the setting for all; `Auto` takes them back. They are stored as `SpeakerSettings`, a list of `DEVICE=LAYOUT` with `;` between.

)"},
    {SettingPlace::AudioRenderer, R"(
## Other programs

These are attributes of the node `AudioRenderer`, kept for other programs that share the document. Nothing here follows from
them.

)"},
};

std::string Row(const Setting& setting) {
    const std::string value = setting.Default();
    return "| `" + setting.Name() + "` | " + RangeText(setting.value.range) + " | " +
           (value.empty() ? "none" : value) + " | " + std::string(setting.meaning) + " | " +
           std::string(setting.scope) + " | " + std::string(setting.advice) + " |\n";
}

}  // namespace

std::string SettingsPage() {
    std::string page = head;
    for (const Section& section : sections) {
        page += section.introduction;
        page +=
            "| Setting | May be | Default | Meaning | Acts on | Notes |\n| --- | --- | --- | --- | --- | --- "
            "|\n";
        for (const Setting& setting : orb3::Settings())
            if (setting.GetPlace() == section.place) page += Row(setting);
    }
    return page;
}

}  // namespace tool
