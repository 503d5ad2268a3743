#include "tools/config/settingcell.h"

#include <string>

#include "slib/exception.h"
#include "slib/text.h"
#include "tools/manage/settings.h"

namespace tool {

Cell SettingCell(const orb3::Setting& setting, const orb3::Configuration& configuration) {
    using Kind = orb3::SettingRange::Kind;
    const std::string text = GetSetting(setting, configuration);
    switch (setting.value.range.kind) {
        case Kind::Flag:
            return {text, slib::ParseBool(text)};
        case Kind::Whole:
            return {text, slib::ParseInt(text)};
        case Kind::Real:
            return {text, slib::ParseDouble(text)};
        case Kind::Choice:
        case Kind::Path:
            return text;
    }
    slib::ThrowUnreachable();
}

}  // namespace tool
