#include "tools/support/privatestore.h"

#include <stdlib.h>

#include <system_error>

#include "orb3core/settings/configuration.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/log.h"
#include "slib/sxml.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

using std::filesystem::path;

constexpr const char* document = "/Speakers/Configuration";

path MakeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tessarune-XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) return name;
    throw slib::OperatingSystemErrnoException("No folder can be made in '" +
                                              std::filesystem::temp_directory_path().string() +
                                              "'. Free space there, or name another folder in TMPDIR.");
}

orb3::ConfigStore Store() {
    return {orb3::storeRoot, orb3::ConfigStore::Scope::User};
}

void StoreDocument(const orb3::Configuration& configuration) {
    PrivateStore::Write(document, configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact));
}

// A first start measures the machine beside its sound, and then begins anew with the settings that it chose,
// which would part a recording. So they are chosen here.
void ChooseSettings() {
    if (!Store().Read(document, "").empty()) return;
    const Progress progress("Measuring the machine");
    slib::Log nowhere;
    slib::ErrorLog errors(&nowhere);
    orb3::SharedConfiguration shared(&errors);
    StoreDocument(shared.Read([](const orb3::Configuration& configuration) { return configuration; }));
}

}  // namespace

PrivateStore::PrivateStore(Content content) : folder(MakeFolder()) {
    const path own = platform::UserStorePath(orb3::storeRoot);
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    const path copy = platform::UserStorePath(orb3::storeRoot);
    std::error_code ignored;  // without a store of the user's own all is at its default
    std::filesystem::create_directories(copy.parent_path(), ignored);
    if (content == Content::UsersOwn)
        std::filesystem::copy_file(own, copy, ignored);
    else
        StoreDocument({});
}

PrivateStore::~PrivateStore() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void PrivateStore::Write(const std::string& key, const std::string& value) {
    Store().Write(key, value);
    if (Store().Read(key, "") == value) return;
    throw slib::BadStateException("The settings of this run can't be stored in '" +
                                  platform::UserStorePath(orb3::storeRoot).string() +
                                  "'. Free space there, or name another folder in TMPDIR.");
}

void PrivateStore::PlayInto(const std::string& waveFile) const {
    Write("/Platform/Output", "WaveFile");
    Write("/Platform/WaveFile", waveFile);
    ChooseSettings();
}

void PrivateStore::TakeSpeakers(slib::StandardFormat format) const {
    Write("/Platform/SpeakerSetting", slib::GetStandardFormatName(format));
    const std::string text = Store().Read(document, "");
    if (text.empty()) return;  // the defaults follow the speakers
    orb3::Configuration configuration;
    configuration.Read(slib::SXMLNode(text));
    configuration.useDirectSoundAutoselect = true;
    StoreDocument(configuration);
}

}  // namespace tool
