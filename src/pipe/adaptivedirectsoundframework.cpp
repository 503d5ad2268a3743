#include "pipe/adaptivedirectsoundframework.h"

#include <atomic>
#include <optional>
#include <utility>

#include "pipe/adaptivedirectsounddevice.h"
#include "pipe/directsoundexception.h"
#include "platform/outputnames.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace audiopipe::directsound {
namespace {

std::atomic<bool> doesExist{false};

}  // namespace

AdaptiveDirectSoundFramework::AdaptiveDirectSoundFramework(slib::Log* log,
                                                           std::shared_ptr<platform::SoundSystem> system,
                                                           Instances instances)
    : log(log), system(std::move(system)), instances(instances) {
    if (instances == Instances::One && doesExist.exchange(true))
        throw DirectSoundException("The AdaptiveDirectSound framework may only be instantiated once.");
}

AdaptiveDirectSoundFramework::~AdaptiveDirectSoundFramework() {
    if (instances == Instances::One) doesExist = false;
}

bool AdaptiveDirectSoundFramework::IsAvailable() {
    return true;
}

std::string AdaptiveDirectSoundFramework::GetId() {
    return "DirectSound";
}

std::string AdaptiveDirectSoundFramework::GetName() {
    return "Microsoft DirectSound";
}

std::uint32_t AdaptiveDirectSoundFramework::GetDeviceCount() {
    const slib::Lock lock(listMutex);
    EnsureEnumerated();
    return static_cast<std::uint32_t>(devices.size());
}

DevicePtr AdaptiveDirectSoundFramework::GetDevice(std::uint32_t index) {
    const slib::Lock lock(listMutex);
    EnsureEnumerated();
    if (index >= devices.size())
        throw slib::BadParameterException("There is no output device " + std::to_string(index) + ".");
    return devices[index];
}

void AdaptiveDirectSoundFramework::EnsureEnumerated() {
    if (isEnumerated) return;
    devices.clear();  // of a listing that failed half-way
    {
        const slib::Lock lock(addMutex);
        nextIndex = 0;
    }
    const platform::Result result = system->DirectSoundEnumerateA(
        [this](const char* identifier, const char* description, const char* module) {
            Add(identifier, description, module);
            return true;
        });
    if (result != platform::DS_OK) throw DirectSoundException("Failed to enumerate DirectSound devices.");
    isEnumerated = true;
}

void AdaptiveDirectSoundFramework::Add(const char* identifier, const char* description, const char* module) {
    const slib::Lock lock(addMutex);
    std::optional<std::string> guid;
    if (identifier != nullptr) guid = identifier;
    devices.emplace_back(new AdaptiveDirectSoundDevice(system, guid, description, module, nextIndex++));
    if (!guid) return;
    devices.back()->fullId = platform::OutputKey(description, *guid);
    devices.back()->plainId = slib::KeepAlphanumeric(platform::PlainName(description, *guid));
}

}  // namespace audiopipe::directsound
