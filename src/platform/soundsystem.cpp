#include "platform/soundsystem.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <string_view>
#include <thread>

#include "platform/cubebconnection.h"
#include "platform/outputdevice.h"
#include "platform/outputnames.h"
#include "platform/privileges.h"
#include "platform/serverdevice.h"
#include "platform/servers.h"
#include "platform/silentdevice.h"
#include "platform/speakersetting.h"
#include "platform/wavefiledevice.h"
#include "slib/mutex.h"

namespace platform {
namespace {

constexpr const char* primaryName = "Primary Sound Driver";
constexpr const char* waveFileIdentifier = "WaveFile";
constexpr std::uint32_t mostUsualChannels = 8;  // that a speaker setting has

using Output = PlatformSettings::Output;

// Numbers where the server has no name, or one twice.
std::vector<std::string> ChannelNames(const ServerOutput& output) {
    std::vector<std::string> names;
    for (std::uint32_t c = 0; c < output.channels; ++c) {
        std::string name = c < output.channelNames.size() ? output.channelNames[c] : "";
        if (name.empty() || std::find(names.begin(), names.end(), name) != names.end())
            name = "Output " + std::to_string(c + 1);
        names.push_back(std::move(name));
    }
    return names;
}

// The sound servers of this machine know nothing of windows, so there is no list of them, and the desktop
// represents all.
class Machine : public SoundSystem {
public:
    Machine(const PlatformSettings& settings, slib::Log* log) : settings(settings), log(log) {}

    Result DirectSoundEnumerateA(const DeviceCallback& callback) override {
        const slib::Lock lock(mutex);
        const std::vector<ServerOutput> outputs = Devices();
        if (!callback(nullptr, primaryName, "")) return DS_OK;
        for (const ServerOutput& output : outputs)
            if (!callback(output.identifier.c_str(), output.description.c_str(),
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

    std::vector<WideOutput> WideOutputs() override {
        const slib::Lock lock(mutex);
        std::vector<WideOutput> wide;
        const auto add = [&](const ServerOutput& output, const std::string& module) {
            if (output.channels > mostUsualChannels && output.channels <= mostOutputChannels)
                wide.push_back({output.identifier, output.description, module, ChannelNames(output)});
        };
        for (const ServerOutput& output : Devices())
            add(output, connection->Module());
        if (settings.output == Output::WaveFile)
            add({.identifier = waveFileIdentifier,
                 .description = "WAV File",
                 .channels = settings.waveFileChannels},
                "");
        return wide;
    }

    bool EnumWindows(const std::function<bool(WindowHandle)>&) override { return false; }
    WindowHandle GetParent(WindowHandle) override { return 0; }
    bool IsOfThisProcess(WindowHandle) override { return false; }
    WindowHandle GetDesktopWindow() override { return 1; }

    void Sleep(std::uint32_t milliseconds) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

private:
    bool IsServed() const { return settings.output != Output::Silent && settings.output != Output::WaveFile; }

    // The real outputs. A connection that was lost since the last call is made again, once.
    std::vector<ServerOutput> Devices() SLIB_REQUIRES(mutex) {
        if (!IsServed()) return {};
        std::vector<ServerOutput> outputs = ListBounded(connection);
        if (outputs.empty()) {
            connection.reset();
            connection = ConnectBounded(settings.output);
            outputs = ListBounded(connection);
        }
        if (outputs.empty())
            connection.reset();
        else
            listed = outputs;
        return outputs;
    }

    SoundDevicePtr Open(const char* identifier) SLIB_REQUIRES(mutex) {
        std::vector<ServerOutput> outputs = Devices();
        // A server that has ended since its outputs were listed is waited for, as one that ends while it
        // plays.
        if (outputs.empty() && identifier != nullptr) outputs = listed;
        OutputWatch watch{
            .identifier = identifier == nullptr ? "" : identifier, .speakers = {}, .news = news};
        if (!outputs.empty()) {
            const ServerOutput* const output = Find(outputs, identifier);
            if (output == nullptr) return nullptr;
            return OpenServed(connection, std::move(watch), output->Speakers(), SettingFor(*output));
        }
        const bool isWaveFile = identifier != nullptr && identifier == std::string_view(waveFileIdentifier) &&
                                settings.output == Output::WaveFile;
        if (identifier != nullptr && !isWaveFile) return nullptr;
        if (IsServed()) {
            if (const std::string problem = CubebProblem(); !problem.empty())
                log->Write("The sound library can't be loaded: " + problem, true);
            log->Write("No sound server and no sound card answers: the sound isn't heard.", true);
            return OpenServed(nullptr, std::move(watch), DSSPEAKER_STEREO, settings.speakerSetting);
        }
        const std::uint32_t speakers =
            SpeakerSettingOf(settings.speakerSetting.value_or(slib::StandardFormat::Stereo));
        // A program with more rights than its caller writes no file that the caller may have named.
        if (settings.output == Output::WaveFile && !HasMoreRightsThanItsCaller())
            return OpenWaveFile(speakers);
        return MakeSilentDevice(speakers);
    }

    SoundDevicePtr OpenWaveFile(std::uint32_t speakers) {
        news->isPatient = settings.waveFilePace != PlatformSettings::Pace::RealTime;
        return MakeWaveFileDevice(speakers, {settings.waveFile, settings.waveFilePace, news}, log);
    }

    // What a setting says of the output's speakers: the output's own, else the one for all.
    std::optional<slib::StandardFormat> SettingFor(const ServerOutput& output) const {
        const auto own = settings.speakerSettings.find(OutputKey(output.description, output.identifier));
        return own != settings.speakerSettings.end() ? own->second : settings.speakerSetting;
    }

    // `speakers` are those of the output, where no setting says what they are.
    SoundDevicePtr OpenServed(ServerConnectionPtr served, OutputWatch watch, std::uint32_t speakers,
                              std::optional<slib::StandardFormat> setting) {
        if (setting)
            speakers = SpeakerSettingOf(*setting);
        else
            watch.speakers = speakers;
        return MakeServerDevice(
            speakers, std::move(served), std::move(watch),
            [kind = settings.output] { return ConnectServer(kind); }, log);
    }

    static const ServerOutput* Find(const std::vector<ServerOutput>& outputs, const char* identifier) {
        for (const ServerOutput& output : outputs)
            if (identifier == nullptr ? output.isDefault : output.identifier == identifier) return &output;
        return identifier == nullptr ? &outputs.front() : nullptr;
    }

    const PlatformSettings settings;
    slib::Log* const log;

    slib::Mutex mutex;
    ServerConnectionPtr connection SLIB_GUARDED_BY(mutex);    // null until needed, and when nothing answers
    std::vector<ServerOutput> listed SLIB_GUARDED_BY(mutex);  // by the last server that answered
};

}  // namespace

std::shared_ptr<SoundSystem> MakeSoundSystem(const PlatformSettings& settings, slib::Log* log) {
    return std::make_shared<Machine>(settings, log);
}

}  // namespace platform
