#pragma once

// The one configuration of the process, which the game's threads, the server and the watch on the store
// share.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "orb3core/settings/autoselectsettings.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/settings/settingtable.h"
#include "slib/log.h"
#include "slib/mutex.h"

namespace orb3 {

/// How the settings of a start without a usable stored document are chosen.
struct Autoselect {
    std::function<void(GoalConfig& goalConfig)> atFirst = SelectProvisionalSettings;
    /// May measure the machine.
    std::function<void(GoalConfig& goalConfig, slib::Log* log)> atLast = AutoselectSettings;
};

/// A setting that has another value in this process than in the store.
struct SettingOverride {
    const Setting* setting;  ///< of the configuration document
    std::string value;       ///< as a document holds it
};

/// Everything public is guarded by configurationMutex. Lock order: configurationMutex, then the log's mutex,
/// then the store's; nothing above configurationMutex is taken while it is held.
class SharedConfiguration {
public:
    /// `log` is borrowed and outlives this object. Nothing is loaded yet.
    explicit SharedConfiguration(slib::Log* log, Autoselect autoselect = {});

    slib::Mutex configurationMutex;
    Configuration configuration SLIB_GUARDED_BY(configurationMutex);
    bool isConfigurationLoaded SLIB_GUARDED_BY(configurationMutex) = false;
    /// What a restart runs on, as the store has it; set together with isRestartRequested.
    Configuration pendingConfiguration SLIB_GUARDED_BY(configurationMutex);
    bool isRestartRequested SLIB_GUARDED_BY(configurationMutex) = false;
    /// How often a pending configuration has been taken: by it each of several servers knows that it has to
    /// restart.
    std::uint32_t generation SLIB_GUARDED_BY(configurationMutex) = 0;

    /// From now on these hold in `configuration` whatever is stored; the store keeps its own values. Throws
    /// slib::BadDataException for a value that the setting can't have, and then nothing changes.
    void Override(std::vector<SettingOverride> settings) SLIB_REQUIRES(configurationMutex);

    /// For the end of the process, after Unload: gives back the memory of what holds in place of the stored.
    void ForgetOverrides() noexcept SLIB_REQUIRES(configurationMutex) {
        std::vector<SettingOverride>().swap(overrides);
        std::vector<std::string>().swap(overridden);
    }

    /// `stored` as it would be in force here.
    Configuration InForce(Configuration stored) const SLIB_REQUIRES(configurationMutex);

    /// Fills `configuration` from the store. Without a stored document it gets the defaults and the settings
    /// that were chosen for the machine, which takes a second; a document that can't be read or used costs
    /// one line in the log besides. Nothing is written back.
    void LoadConfiguration() SLIB_REQUIRES(configurationMutex);

    /// Takes `newConfiguration` as the one in force and stores its document, unless that would replace one
    /// that the last load couldn't read or use. One that became unusable since is kept, and the log says so.
    /// Takes configurationMutex itself.
    void StoreConfiguration(const Configuration& newConfiguration);

    /// True when StoreConfiguration would store. Takes configurationMutex.
    bool MayStore();

    /// The configuration for a start that doesn't wait for the measuring of the machine: without a usable
    /// stored document the first choice is in force, and nothing is stored, until CompleteChoice. Takes
    /// configurationMutex.
    Configuration ReadForStart();

    /// True between ReadForStart and CompleteChoice where the machine is to be measured. Takes
    /// configurationMutex.
    bool IsChoiceOpen();

    /// Measures the machine where that was put off, which takes a second without the mutex, and stores what a
    /// start has asked to store meanwhile, with the settings chosen; they become pending when they differ
    /// from those in force. A document that another process has stored by then is left to the watch on the
    /// store.
    void CompleteChoice();

    /// Puts the pending configuration, which was read from the store, in force.
    void TakePending() SLIB_REQUIRES(configurationMutex);

    /// Gives back the memory of both configurations; the next reader loads afresh.
    void Unload() SLIB_REQUIRES(configurationMutex);

    /// What `read` makes of the configuration, which is loaded first if need be. Takes configurationMutex.
    template <typename Reader>
    auto Read(const Reader& read) {
        const slib::Lock lock(configurationMutex);
        if (!isConfigurationLoaded) LoadConfiguration();
        return read(static_cast<const Configuration&>(configuration));
    }

    /// The same of a setting that isn't chosen for the machine: without a usable stored document the defaults
    /// are read, and the machine isn't measured. Takes configurationMutex.
    template <typename Reader>
    auto Peek(const Reader& read) {
        const slib::Lock lock(configurationMutex);
        if (!isConfigurationLoaded && !areDefaultsTaken) {
            isConfigurationLoaded = ReadDocument();
            TakeOverrides();
        }
        return read(static_cast<const Configuration&>(configuration));
    }

private:
    [[nodiscard]] bool ReadDocument() SLIB_REQUIRES(configurationMutex);
    void TakeDefaults(const std::string& problem) SLIB_REQUIRES(configurationMutex);
    void StoreInForce() SLIB_REQUIRES(configurationMutex);
    void TakeOverrides() SLIB_REQUIRES(configurationMutex);
    Configuration AsStored() const SLIB_REQUIRES(configurationMutex);

    bool isChoiceOpen SLIB_GUARDED_BY(configurationMutex) = false;
    bool isStorePending SLIB_GUARDED_BY(configurationMutex) = false;    // until the choice is complete
    bool areDefaultsTaken SLIB_GUARDED_BY(configurationMutex) = false;  // for want of a document
    bool mayStore SLIB_GUARDED_BY(configurationMutex) = true;
    std::string lastProblem SLIB_GUARDED_BY(configurationMutex);  // as logged
    std::vector<SettingOverride> overrides SLIB_GUARDED_BY(configurationMutex);
    std::vector<std::string> overridden
        SLIB_GUARDED_BY(configurationMutex);  // the stored values, in that order
    slib::Log* log;
    const Autoselect autoselect;
};

}  // namespace orb3
