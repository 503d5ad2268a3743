#include "orb3core/store/configstore.h"

#include <filesystem>
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

// A store in memory, for a change.
class MemoryStore : public OpenStore {
public:
    explicit MemoryStore(StoreText& text) : text(text) {}

    std::string Read(const std::string& key, const std::string& defaultValue) const override {
        return text.Read(key, defaultValue);
    }
    void Write(const std::string& key, const std::string& value) override { text.Write(key, value); }

private:
    StoreText& text;
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
    return content ? StoreText(*content).Read(key, defaultValue) : defaultValue;
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
    StoreText text(*content);
    MemoryStore store(text);
    change(store);
    // A file that can't be written stays as it was, and its readers with it.
    static_cast<void>(platform::ReplaceStoreFile(file, text.Text()));
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
    if (path.empty()) path = store.Read("/Formats/UFL", "");
    if (!path.starts_with('.')) return path;
    const std::filesystem::path folder = FileOf(storeRoot, ConfigStore::Scope::Machine).parent_path();
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(folder / path, error);
    return error ? (folder / path).string() : resolved.string();
}

}  // namespace orb3
