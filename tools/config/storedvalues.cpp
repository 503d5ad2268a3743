#include "tools/config/storedvalues.h"

#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/sxml.h"

namespace tool {
namespace {

constexpr const char* documentKey = "/Speakers/Configuration";

orb3::ConfigStore UserStore() {
    return {orb3::storeRoot, orb3::ConfigStore::Scope::User};
}

// What a start makes of a store without a document.
orb3::Configuration FirstDocument() {
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

}  // namespace

std::filesystem::path StoreFile() {
    return platform::UserStorePath(orb3::storeRoot);
}

std::string ReadValue(const std::string& key) {
    return UserStore().Read(key, "");
}

// The store says nothing of a write that failed, so it is read again.
void ReplaceValue(const std::string& key, const std::function<std::string(const std::string&)>& change) {
    std::string value;
    bool hasRun = false;
    UserStore().Update([&](orb3::OpenStore& store) {
        value = change(store.Read(key, ""));
        store.Write(key, value);
        hasRun = true;
    });
    if (hasRun && ReadValue(key) == value) return;
    throw slib::BadStateException(
        "The change couldn't be stored in '" + StoreFile().string() +
        "'. Make sure that you may write to this file and its folder, and that the disk isn't full.");
}

std::string ReadDocumentText() {
    return ReadValue(documentKey);
}

orb3::Configuration ReadDocument() {
    const std::string text = ReadDocumentText();
    return text.empty() ? FirstDocument() : ParseStored(text);
}

void ChangeDocument(const std::function<void(orb3::Configuration&)>& change) {
    // The defaults are made outside of the step, since making them may use the store.
    const bool isFirst = ReadDocumentText().empty();
    const orb3::Configuration first = isFirst ? FirstDocument() : orb3::Configuration();
    ReplaceValue(documentKey, [&](const std::string& text) {
        orb3::Configuration configuration = text.empty() ? first : ParseStored(text);
        change(configuration);
        return DocumentText(configuration);
    });
}

void StoreDocumentText(const std::string& text) {
    ReplaceValue(documentKey, [&](const std::string&) { return text; });
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
