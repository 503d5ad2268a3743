#include "orb3core/store/configstore.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>
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

// Changes under StoreMutex; the log, which takes none, reads it without.
std::atomic<bool> areStoresClosed{false};

constexpr const char* logGroup = "Log";

// What a process still waits for the lock of one file. A holder that doesn't go on costs each process one
// wait, and not one for each change.
class Budget {
public:
    std::chrono::milliseconds Left() const { return std::chrono::milliseconds(isSpent ? 0 : 50); }
    void Note(const platform::StoreFileLock& lock) { isSpent = lock.HasTimedOut(); }

private:
    std::atomic<bool> isSpent{false};
};

Budget storeBudget;
Budget logBudget;

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

// The text that a change of the log begins with: the log's file, or as long as there is none what an older
// version left in the store's.
std::optional<std::string> ReadLogText(const std::string& root) {
    std::optional<std::string> own = platform::ReadStoreFile(platform::UserLogPath(root));
    if (!own || !own->empty()) return own;
    const std::optional<std::string> older = platform::ReadStoreFile(platform::UserStorePath(root));
    return LinesOfGroup(RepairStoreText(older.value_or("")), logGroup);
}

// The lines of the log that an older version left in the store's file, and which the log's file now has, go
// with the next change.
std::string WithoutOldLog(const std::string& root, const std::string& content) {
    const std::optional<std::string> log = platform::ReadStoreFile(platform::UserLogPath(root));
    return log && !log->empty() ? LinesBesideGroup(RepairStoreText(content), logGroup) : content;
}

std::filesystem::path DamagedFile(const std::filesystem::path& file) {
    return file.string() + ".damaged";
}

// Changes what was read of a file and replaces it; the caller holds its lock. False when it stayed as it was.
bool ChangeFile(const std::filesystem::path& file, platform::Durability durability,
                const std::optional<std::string>& content, const std::function<void(OpenStore&)>& change) {
    if (!content) return false;
    StoreText text(*content);
    MemoryStore store(text);
    change(store);
    // A file that can't be written stays as it was, and its readers with it.
    return platform::ReplaceStoreFile(file, text.Text(), durability);
}

std::string Quoted(const std::filesystem::path& file) {
    return std::string("'").append(file.string()).append("'");
}

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
    StoredValue value = Find(key);
    if (value.state != StoredValue::State::Present) return defaultValue;
    return std::move(value.text);
}

StoredValue ConfigStore::Find(const std::string& key) const {
    const slib::Lock lock(StoreMutex());
    if (areStoresClosed) return {StoredValue::State::Unreadable, "The store is closed."};
    const bool isOfLog = IsOfLog(key);
    const std::filesystem::path file = isOfLog ? platform::UserLogPath(root) : FileOf(root, scope);
    const std::optional<std::string> content = isOfLog ? ReadLogText(root) : platform::ReadStoreFile(file);
    if (!content) {
        const std::string reason = std::generic_category().message(errno);
        return {StoredValue::State::Unreadable, Quoted(file) + " can't be read: " + reason + "."};
    }
    const StoreText text(*content);
    // No value has a NUL, so this one stands for none.
    const std::string none(1, '\0');
    std::string value = text.Read(key, none);
    if (value != none) return {StoredValue::State::Present, std::move(value)};
    if (!LosesLines(*content)) return {StoredValue::State::Absent, "There is no value."};
    return {StoredValue::State::Damaged, Quoted(file) + " has lines that can't be used."};
}

void ConfigStore::Write(const std::string& key, const std::string& value) const {
    const auto change = [&](OpenStore& store) { store.Write(key, value); };
    IsOfLog(key) ? UpdateLog(change) : Update(change);
}

bool ConfigStore::Update(const std::function<void(OpenStore&)>& change, Patience patience) const {
    const slib::Lock lock(StoreMutex());
    if (areStoresClosed) return false;
    const std::filesystem::path file = FileOf(root, scope);
    if (file.empty()) return false;
    const bool isForPerson = patience == Patience::Person;
    const platform::StoreFileLock fileLock(file, isForPerson ? std::chrono::seconds(5) : storeBudget.Left());
    storeBudget.Note(fileLock);
    if (!fileLock.IsHeld()) return false;
    std::optional<std::string> content = platform::ReadStoreFile(file);
    if (content && LosesLines(*content) && !platform::ReplaceStoreFile(DamagedFile(file), *content))
        return false;
    if (content && scope == Scope::User) content = WithoutOldLog(root, *content);
    return ChangeFile(file, platform::Durability::Machine, content, change);
}

bool ConfigStore::UpdateLog(const std::function<void(OpenStore&)>& change) const {
    if (areStoresClosed) return false;
    const std::filesystem::path file = platform::UserLogPath(root);
    if (file.empty()) return false;
    const platform::StoreFileLock fileLock(file, logBudget.Left());
    logBudget.Note(fileLock);
    return fileLock.IsHeld() && ChangeFile(file, platform::Durability::Process, ReadLogText(root), change);
}

bool ConfigStore::IsOfLog(const std::string& key) const {
    return scope == Scope::User && IsInGroup(key, logGroup);
}

void CloseStores() {
    const slib::Lock lock(StoreMutex());
    areStoresClosed = true;
}

std::string ReadSpeakerConfiguration() {
    using State = StoredValue::State;
    StoredValue value = ConfigStore(storeRoot, ConfigStore::Scope::User).Find(configurationKey);
    if (value.state == State::Unreadable || value.state == State::Damaged)
        throw slib::BadStateException(value.text);
    if (value.state == State::Absent || value.text.empty())
        throw slib::BadDataException("It appears that speakers have not yet been set up.");
    return std::move(value.text);
}

void WriteSpeakerConfiguration(const std::string& text) {
    ConfigStore(storeRoot, ConfigStore::Scope::User).Write(configurationKey, text);
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
