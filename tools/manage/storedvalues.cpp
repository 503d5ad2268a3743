#include "tools/manage/storedvalues.h"

#include <utility>
#include <vector>

#include "orb3core/settings/documentchange.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/store/configstore.h"
#include "orb3core/store/registrylog.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/sxml.h"
#include "tools/manage/history.h"
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

// Notes the values that are written.
class NotedStore : public orb3::OpenStore {
public:
    explicit NotedStore(orb3::OpenStore& store) : store(store) {}

    std::string Read(const std::string& key, const std::string& defaultValue) const override {
        return store.Read(key, defaultValue);
    }
    void Write(const std::string& key, const std::string& value) override {
        WriteInPlaceOf(store.Read(key, ""), key, value);
    }
    // To be taken back to `before`, whatever is stored.
    void WriteInPlaceOf(const std::string& before, const std::string& key, const std::string& value) {
        values.push_back({key, before, value});
        store.Write(key, value);
    }

    std::vector<ChangedValue> values;

private:
    orb3::OpenStore& store;
};

void Update(const std::function<void(NotedStore&)>& change) {
    std::vector<ChangedValue> values;
    UpdateStoreUnnoted([&](orb3::OpenStore& store) {
        NotedStore noted(store);
        change(noted);
        values = std::move(noted.values);
    });
    ChangeStep::Note(values);
}

}  // namespace

std::filesystem::path StoreFile() {
    return platform::UserStorePath(orb3::storeRoot);
}

std::string ReadValue(const std::string& key) {
    orb3::StoredValue value = FindValue(key);
    return value.state == orb3::StoredValue::State::Present ? std::move(value.text) : "";
}

void UpdateStoreUnnoted(const std::function<void(orb3::OpenStore&)>& change) {
    if (UserStore().Update(change, orb3::ConfigStore::Patience::Person)) return;
    throw slib::BadStateException(
        "The change couldn't be stored in '" + StoreFile().string() +
        "'. Make sure that you may write to this file and its folder, and that the disk isn't full.");
}

void UpdateStore(const std::function<void(orb3::OpenStore&)>& change) {
    Update([&](NotedStore& store) { change(store); });
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

orb3::Configuration PeekDocument() {
    return HasDocument() ? ParseStored(ReadDocumentText()) : orb3::Configuration();
}

void ChangeDocument(const std::function<void(orb3::Configuration&)>& change, Force force) {
    // The defaults are made outside of the step, since making them may use the store.
    const orb3::Configuration first = HasDocument() ? orb3::Configuration() : FirstDocument();
    Update([&](NotedStore& store) {
        const std::string text = store.Read(orb3::configurationKey, "");
        orb3::Configuration configuration = text.empty() ? first : ParseStored(text);
        const orb3::Configuration before = configuration;
        change(configuration);
        if (force == Force::No) CheckSense(before, configuration);
        // What a start would have chosen comes back when the first change is taken back.
        store.WriteInPlaceOf(text.empty() ? DocumentText(first) : text, orb3::configurationKey,
                             DocumentText(configuration));
    });
}

bool StoreDocumentText(const std::string& text) {
    bool isKept = false;
    const ChangeStep step(text.empty() ? "the reset" : "the import");
    UpdateStore([&](orb3::OpenStore& store) { isKept = orb3::ReplaceDocument(store, text); });
    if (isKept) ggui::RegistryLog(orb3::storeRoot, "tessarune-config").Write(orb3::keptText, false);
    return isKept;
}

void RestoreKeptDocument() {
    bool wasKept = false;
    const ChangeStep step("the restored configuration");
    UpdateStore([&](orb3::OpenStore& store) { wasKept = orb3::RestoreDocument(store); });
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
