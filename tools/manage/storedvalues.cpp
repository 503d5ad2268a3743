#include "tools/manage/storedvalues.h"

#include <utility>

#include "orb3core/settings/documentchange.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/store/configstore.h"
#include "orb3core/store/registrylog.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/sxml.h"
#include "tools/manage/sense.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

orb3::ConfigStore UserStore() {
    return {orb3::storeRoot, orb3::ConfigStore::Scope::User};
}

// What a start makes of a store without a document.
orb3::Configuration FirstDocument() {
    const Progress progress("Measuring the machine");
    slib::Log target;
    slib::ErrorLog errors(&target);
    orb3::SharedConfiguration shared(&errors);
    return shared.Read([](const orb3::Configuration& configuration) { return configuration; });
}

orb3::Configuration ParseStored(const std::string& text) {
    try {
        return ParseDocument(text);
    } catch (const std::exception& failure) {
        throw slib::BadDataException(
            std::string("The stored configuration can't be used: ") + failure.what() +
            " 'tessarune-config export FILE' saves it as it is, 'tessarune-config import FILE' loads it "
            "again once it is repaired, and 'tessarune-config reset' starts afresh.");
    }
}

orb3::StoredValue FindValue(const std::string& key) {
    orb3::StoredValue value = UserStore().Find(key);
    if (value.state != orb3::StoredValue::State::Unreadable) return value;
    throw slib::BadStateException(value.text + " Make sure that you may read it. Nothing was changed.");
}

// Without a document there may be one in lines that can't be used: defaults must not take its place.
bool HasDocument() {
    const orb3::StoredValue value = FindValue(orb3::configurationKey);
    if (value.state == orb3::StoredValue::State::Damaged)
        throw slib::BadDataException("There may be a configuration that can't be read: " + value.text +
                                     " Repair the file, or start afresh by 'tessarune-config reset', which "
                                     "keeps the file as it is now "
                                     "in '" +
                                     StoreFile().string() + ".damaged'.");
    return value.state == orb3::StoredValue::State::Present && !value.text.empty();
}

// What the store doesn't take isn't changed.
void Update(const std::function<void(orb3::OpenStore&)>& change) {
    if (UserStore().Update(change, orb3::ConfigStore::Patience::Person)) return;
    throw slib::BadStateException(
        "The change couldn't be stored in '" + StoreFile().string() +
        "'. Make sure that you may write to this file and its folder, and that the disk isn't full.");
}

}  // namespace

std::filesystem::path StoreFile() {
    return platform::UserStorePath(orb3::storeRoot);
}

std::string ReadValue(const std::string& key) {
    orb3::StoredValue value = FindValue(key);
    return value.state == orb3::StoredValue::State::Present ? std::move(value.text) : "";
}

void ReplaceValue(const std::string& key, const std::function<std::string(const std::string&)>& change) {
    Update([&](orb3::OpenStore& store) { store.Write(key, change(store.Read(key, ""))); });
}

std::string ReadDocumentText() {
    return ReadValue(orb3::configurationKey);
}

orb3::Configuration ReadDocument() {
    return HasDocument() ? ParseStored(ReadDocumentText()) : FirstDocument();
}

void ChangeDocument(const std::function<void(orb3::Configuration&)>& change, Force force) {
    // The defaults are made outside of the step, since making them may use the store.
    const orb3::Configuration first = HasDocument() ? orb3::Configuration() : FirstDocument();
    ReplaceValue(orb3::configurationKey, [&](const std::string& text) {
        orb3::Configuration configuration = text.empty() ? first : ParseStored(text);
        const orb3::Configuration before = configuration;
        change(configuration);
        if (force == Force::No) CheckSense(before, configuration);
        return DocumentText(configuration);
    });
}

bool StoreDocumentText(const std::string& text) {
    bool isKept = false;
    Update([&](orb3::OpenStore& store) { isKept = orb3::ReplaceDocument(store, text); });
    if (isKept) ggui::RegistryLog(orb3::storeRoot, "tessarune-config").Write(orb3::keptText, false);
    return isKept;
}

void RestoreKeptDocument() {
    bool wasKept = false;
    Update([&](orb3::OpenStore& store) { wasKept = orb3::RestoreDocument(store); });
    if (!wasKept)
        throw slib::BadStateException(
            "No configuration is kept. One is kept when 'import', 'reset' or a game replaces one that can't "
            "be used.");
}

std::string DocumentText(const orb3::Configuration& configuration) {
    return configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact);
}

orb3::Configuration ParseDocument(const std::string& text) {
    orb3::Configuration configuration;
    configuration.Read(slib::SXMLNode(text));
    return configuration;
}

}  // namespace tool
