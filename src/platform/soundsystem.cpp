#include "platform/soundsystem.h"

#include <chrono>
#include <exception>
#include <new>
#include <thread>

#include "platform/cubebdevice.h"
#include "platform/privileges.h"
#include "platform/silentdevice.h"
#include "platform/speakersetting.h"
#include "platform/wavefiledevice.h"
#include "slib/mutex.h"

namespace platform {
namespace {

constexpr const char* primaryName = "Primary Sound Driver";

// The sound servers of this machine know nothing of windows, so there is no list of them, and the desktop
// represents all.
class Machine : public SoundSystem {
public:
    Machine(const PlatformSettings& settings, slib::Log* log) : settings(settings), log(log) {}

    Result DirectSoundEnumerateA(const DeviceCallback& callback) override {
        const slib::Lock lock(mutex);
        const std::vector<CubebConnection::Device> devices = Devices();
        if (!callback(nullptr, primaryName, "")) return DS_OK;
        for (const CubebConnection::Device& device : devices)
            if (!callback(device.identifier.c_str(), device.description.c_str(),
                          connection->Module().c_str()))
                break;
        return DS_OK;
    }

    Result DirectSoundCreate8(const char* identifier, IDirectSound8** device) override {
        if (device == nullptr) return DSERR_INVALIDPARAM;
        *device = nullptr;
        const slib::Lock lock(mutex);
        try {
            *device = Open(identifier).release();
        } catch (const std::bad_alloc&) {
            return DSERR_OUTOFMEMORY;
        } catch (const std::exception&) {
            return DSERR_GENERIC;
        }
        return *device == nullptr ? DSERR_NODRIVER : DS_OK;
    }

    bool EnumWindows(const std::function<bool(WindowHandle)>&) override { return false; }
    WindowHandle GetParent(WindowHandle) override { return 0; }
    bool IsOfThisProcess(WindowHandle) override { return false; }
    WindowHandle GetDesktopWindow() override { return 1; }

    void Sleep(std::uint32_t milliseconds) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

private:
    // The real outputs. A connection that was lost since the last call is made again, once.
    std::vector<CubebConnection::Device> Devices() SLIB_REQUIRES(mutex) {
        if (settings.output != PlatformSettings::Output::Auto) return {};
        std::vector<CubebConnection::Device> devices;
        if (connection) devices = connection->Devices();
        if (!devices.empty()) return devices;
        connection.reset();
        connection = ConnectCubeb(log);
        if (connection) devices = connection->Devices();
        if (devices.empty()) connection.reset();
        return devices;
    }

    SoundDevicePtr Open(const char* identifier) SLIB_REQUIRES(mutex) {
        const std::vector<CubebConnection::Device> devices = Devices();
        if (!devices.empty()) {
            const CubebConnection::Device* const device = Find(devices, identifier);
            if (device == nullptr) return nullptr;
            return connection->Open(identifier == nullptr ? nullptr : device, Speakers(*device), log);
        }
        if (identifier != nullptr) return nullptr;
        const std::uint32_t speakers =
            SpeakerSettingOf(settings.speakerSetting.value_or(slib::StandardFormat::Stereo));
        // A program with more rights than its caller writes no file that the caller may have named.
        if (settings.output == PlatformSettings::Output::WaveFile && !HasMoreRightsThanItsCaller())
            return MakeWaveFileDevice(speakers, settings.waveFile, log);
        if (settings.output == PlatformSettings::Output::Auto) {
            log->Write("No sound server and no sound card answers: the sound isn't heard.", true);
            if (SoundDevicePtr awaited = AwaitCubebDevice(speakers, log)) return awaited;
        }
        return MakeSilentDevice(speakers);
    }

    static const CubebConnection::Device* Find(const std::vector<CubebConnection::Device>& devices,
                                               const char* identifier) {
        for (const CubebConnection::Device& device : devices)
            if (identifier == nullptr ? device.isDefault : device.identifier == identifier) return &device;
        return identifier == nullptr ? &devices.front() : nullptr;
    }

    std::uint32_t Speakers(const CubebConnection::Device& device) const {
        return settings.speakerSetting ? SpeakerSettingOf(*settings.speakerSetting)
                                       : GuessSpeakerSetting(device.channels, device.description);
    }

    const PlatformSettings settings;
    slib::Log* const log;

    slib::Mutex mutex;
    std::shared_ptr<CubebConnection> connection
        SLIB_GUARDED_BY(mutex);  // null until needed, and when nothing answers
};

}  // namespace

std::shared_ptr<SoundSystem> MakeSoundSystem(const PlatformSettings& settings, slib::Log* log) {
    return std::make_shared<Machine>(settings, log);
}

}  // namespace platform
