#include "tools/manage/settings.h"
#include "orb3core/settings/settingtable.h"
#include "slib/text.h"
#include "tools/manage/allsettings.h"
#include "tools/manage/measuring.h"
#include "tools/manage/sense.h"
#include "tools/manage/storedvalues.h"
#include "tools/manage/undo.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"
#include "tools/page/api/settingjson.h"

namespace page {
namespace {

using Kind = orb3::SettingRange::Kind;

Json Answer(const tool::TakenBack& taken) {
    return {{"what", taken.what}, {"warnings", taken.warnings}};
}

tool::Force ForceIn(const Json& body) {
    return FlagIn(body, "force") ? tool::Force::Yes : tool::Force::No;
}

}  // namespace

Json ChangeSetting(const Request& request, Report&) {
    const orb3::Setting& setting = tool::FindSetting(NameIn(request.body, "name"));
    if (setting.value.range.kind == Kind::Path)
        throw tool::WrongUse("The page names no files. Set it by a command: tessarune-config set " +
                             setting.Name() + " FILE.");
    const std::string value =
        tool::StoreSetting(setting, WordIn(request.body, "value"), ForceIn(request.body));
    return {{"value", SettingValue(setting, value)}};
}

Json UndoChange(const Request&, Report& report) {
    return Answer(tool::Undo(StepsOf(report)));
}

Json RedoChange(const Request&, Report& report) {
    return Answer(tool::Redo(StepsOf(report)));
}

Json ExportSettings(const Request&, Report&) {
    return {{"name", "tessarune-settings.sxml"}, {"text", tool::AllSettingsText()}};
}

Json ImportSettings(const Request& request, Report&) {
    const std::string text = TextIn(request.body, "text");
    const tool::SettingsFile file = FromPage([&] { return tool::ReadSettingsFile(text, tool::Paths::Keep); });
    if (file.document && !FlagIn(request.body, "force")) tool::CheckSense({}, *file.document);
    tool::StoreSettingsFile(file);
    std::vector<std::string> warnings;
    if (file.document) warnings = tool::WhatIsLacking(*file.document, file.names);
    return {{"warnings", warnings}};
}

Json Measure(const Request& request, Report& report) {
    const bool isApplied = !request.body.contains("apply") || FlagIn(request.body, "apply");
    report.Step(-1, "the machine");
    const tool::MeasuredPower power = tool::MeasureMachine();
    if (report.IsCancelled()) throw tool::Cancelled();
    if (isApplied) tool::TakeSettingsFor(power);
    return {{"rating", power.rating}, {"text", tool::PowerText(power)}};
}

}  // namespace page
