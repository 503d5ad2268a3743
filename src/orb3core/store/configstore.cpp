#include "orb3core/store/configstore.h"

#include <wx/fileconf.h>
#include <wx/mstream.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "orb3core/store/storetext.h"
#include "platform/storefile.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace orb3 {
namespace {

// Guards each open, work and close. Never destroyed: a game's threads may still log while the process ends.
slib::Mutex& StoreMutex() {
    static slib::NoDestroy<slib::Mutex> mutex;
    return *mutex;
}

bool areStoresClosed SLIB_GUARDED_BY(StoreMutex()) = false;

wxString ToWx(const std::string& text) {
    const std::string repaired = RepairUtf8(text);
    return wxString::FromUTF8(repaired.data(), repaired.size());
}

std::string FromWx(const wxString& text) {
    const wxScopedCharBuffer bytes = text.utf8_str();
    return {bytes.data(), bytes.length()};
}

// A store in memory. It is made from a stream, which works in a process with or without a wx application of
// its own and on any thread, and leaves opening, locking and replacing the file to the caller.
class MemoryStore : public OpenStore {
public:
    explicit MemoryStore(const std::string& content) {
        const std::string text = RepairStoreText(content);
        wxMemoryInputStream stream(text.data(), text.size());
        config = std::make_unique<wxFileConfig>(stream, wxConvUTF8);
        config->SetExpandEnvVars(false);
    }

    std::string Read(const std::string& key, const std::string& defaultValue) const override {
        wxString value;
        return config->Read(ToWx(key), &value) ? FromWx(value) : defaultValue;
    }

    void Write(const std::string& key, const std::string& value) override {
        config->Write(ToWx(key), ToWx(value));
    }

    // What belongs into the file; nothing when that couldn't be made, whole.
    std::optional<std::string> Text() const {
        wxMemoryOutputStream stream;
        if (!config->Save(stream, wxConvUTF8)) return std::nullopt;
        std::string text(stream.GetSize(), '\0');
        stream.CopyTo(text.data(), text.size());
        return text;
    }

private:
    std::unique_ptr<wxFileConfig> config;
};

std::filesystem::path FileOf(const std::string& root, ConfigStore::Scope scope) {
    switch (scope) {
        case ConfigStore::Scope::User:
            return platform::UserStorePath(root);
        case ConfigStore::Scope::Machine:
            return platform::MachineStorePath(root);
    }
    slib::ThrowUnreachable();
}

}  // namespace

ConfigStore::ConfigStore(std::string root, Scope scope) : root(std::move(root)), scope(scope) {}

std::string ConfigStore::Read(const std::string& key, const std::string& defaultValue) const {
    const slib::Lock lock(StoreMutex());
    if (areStoresClosed) return defaultValue;
    const std::filesystem::path file = FileOf(root, scope);
    const std::optional<std::string> content = platform::ReadStoreFile(file);
    return content ? MemoryStore(*content).Read(key, defaultValue) : defaultValue;
}

void ConfigStore::Write(const std::string& key, const std::string& value) const {
    Update([&](OpenStore& store) { store.Write(key, value); });
}

void ConfigStore::Update(const std::function<void(OpenStore&)>& change) const {
    const slib::Lock lock(StoreMutex());
    if (areStoresClosed) return;
    const std::filesystem::path file = FileOf(root, scope);
    if (file.empty()) return;
    const platform::StoreFileLock fileLock(file);
    if (!fileLock.IsHeld()) return;
    const std::optional<std::string> content = platform::ReadStoreFile(file);
    if (!content) return;
    MemoryStore store(*content);
    change(store);
    // A file that can't be written stays as it was, and its readers with it.
    if (const std::optional<std::string> text = store.Text())
        static_cast<void>(platform::ReplaceStoreFile(file, *text));
}

void CloseStores() {
    const slib::Lock lock(StoreMutex());
    areStoresClosed = true;
}

std::string ReadSpeakerConfiguration() {
    std::string text = ConfigStore(storeRoot, ConfigStore::Scope::User).Read("/Speakers/Configuration", "");
    if (text.empty()) throw slib::BadDataException("It appears that speakers have not yet been set up.");
    return text;
}

void WriteSpeakerConfiguration(const std::string& text) {
    ConfigStore(storeRoot, ConfigStore::Scope::User).Write("/Speakers/Configuration", text);
}

std::string ReadFormatLibraryPath() {
    const ConfigStore store(storeRoot, ConfigStore::Scope::Machine);
    std::string path = store.Read("/Formats/AFL", "");
    return path.empty() ? store.Read("/Formats/UFL", "") : path;
}

}  // namespace orb3
