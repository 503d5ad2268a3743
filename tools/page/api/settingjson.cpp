#include "tools/page/api/settingjson.h"

#include <nlohmann/json.hpp>

#include "orb3core/settings/gameprofile.h"
#include "slib/exception.h"
#include "slib/text.h"
#include "tools/support/range.h"

namespace page {
namespace {

using Kind = orb3::SettingRange::Kind;

Json Numbers(const char* kind, const orb3::Bounds& bounds, bool hasMost) {
    Json range{{"kind", kind}, {"least", bounds.least}};
    if (hasMost && bounds.greatest != orb3::noLimit) range["most"] = bounds.greatest;
    return range;
}

Json Range(const orb3::SettingRange& range) {
    switch (range.kind) {
        case Kind::Flag:
            return {{"kind", "flag"}};
        case Kind::Choice:
            return {{"kind", "choice"}, {"choices", range.choices()}};
        case Kind::Whole:
            return Numbers("whole", range.bounds, true);
        case Kind::Real:
            return Numbers("real", range.bounds, false);
        case Kind::Path:
            return {{"kind", "path"}};
    }
    slib::ThrowUnreachable();
}

}  // namespace

Json SettingValue(const orb3::Setting& setting, const std::string& text) {
    switch (setting.value.range.kind) {
        case Kind::Flag:
            return slib::ParseBool(text);
        case Kind::Whole:
            return slib::ParseInt(text);
        case Kind::Real:
            return slib::ParseDouble(text);
        case Kind::Choice:
        case Kind::Path:
            return text;
    }
    slib::ThrowUnreachable();
}

Json DescribeSetting(const orb3::Setting& setting, const std::string& text) {
    return {{"name", setting.Name()},
            {"value", SettingValue(setting, text)},
            {"default", SettingValue(setting, setting.Default())},
            {"meaning", setting.meaning},
            {"advice", setting.advice},
            {"mayBe", tool::RangeText(setting.value.range)},
            {"range", Range(setting.value.range)},
            {"isForGames", orb3::FindGameSetting(setting.Name()) != nullptr}};
}

}  // namespace page
