#include "orb3core/settings/documentchange.h"

#include <exception>

#include "orb3core/settings/configuration.h"
#include "slib/sxml.h"

namespace orb3 {
namespace {

bool IsUsable(const std::string& text) {
    try {
        Configuration().Read(slib::SXMLNode(text));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

bool ReplaceDocument(OpenStore& store, const std::string& text) {
    const std::string before = store.Read(configurationKey, "");
    const bool isKept = !before.empty() && before != text && !IsUsable(before);
    if (isKept) store.Write(keptConfigurationKey, before);
    store.Write(configurationKey, text);
    return isKept;
}

bool RestoreDocument(OpenStore& store) {
    const std::string kept = store.Read(keptConfigurationKey, "");
    if (kept.empty()) return false;
    store.Write(keptConfigurationKey, store.Read(configurationKey, ""));
    store.Write(configurationKey, kept);
    return true;
}

}  // namespace orb3
