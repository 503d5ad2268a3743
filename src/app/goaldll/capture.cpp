#include "app/goaldll/capture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <utility>

#include "AL/tessarune.h"
#include "orb3core/settings/platformsettings.h"
#include "platform/clock.h"
#include "platform/input.h"

namespace goal {
namespace {

using platform::InputFormat;
using Sample = InputFormat::Sample;

constexpr std::size_t mostLists = 64;
constexpr std::int64_t listPause = std::int64_t{1000} * 1'000'000;  // ns between two questions to the server

struct FormatRow {
    int format;
    Sample sample;  // in the ring
    std::uint32_t channels;
    bool isDouble = false;  // for the game
};

constexpr std::array<FormatRow, 8> formats{{
    {AL_FORMAT_MONO8, Sample::Unsigned8, 1},
    {AL_FORMAT_MONO16, Sample::Signed16, 1},
    {AL_FORMAT_STEREO8, Sample::Unsigned8, 2},
    {AL_FORMAT_STEREO16, Sample::Signed16, 2},
    {AL_FORMAT_MONO_FLOAT32, Sample::Float32, 1},
    {AL_FORMAT_STEREO_FLOAT32, Sample::Float32, 2},
    {AL_FORMAT_MONO_DOUBLE_EXT, Sample::Float32, 1, true},
    {AL_FORMAT_STEREO_DOUBLE_EXT, Sample::Float32, 2, true},
}};

const FormatRow* FindRow(int format) {
    return std::ranges::find(formats, format, &FormatRow::format);
}

// As many floats as fit into the second half of the memory become that many doubles.
void Widen(void* samples, std::size_t count) {
    auto* const bytes = static_cast<std::byte*>(samples);
    for (std::size_t i = 0; i < count; ++i) {
        float narrow = 0;
        std::memcpy(&narrow, bytes + (count + i) * sizeof narrow, sizeof narrow);
        const double wide = double{narrow};
        std::memcpy(bytes + i * sizeof wide, &wide, sizeof wide);
    }
}

InputFormat FormatOf(std::uint32_t frequency, int format, int size) {
    const auto* const row = FindRow(format);
    if (row == formats.end())
        throw CaptureException("Invalid format in alcCaptureOpenDevice().", ALC_INVALID_ENUM);
    if (frequency == 0)
        throw CaptureException("Invalid frequency in alcCaptureOpenDevice().", ALC_INVALID_VALUE);
    if (size <= 0)
        throw CaptureException("Invalid buffer size in alcCaptureOpenDevice().", ALC_INVALID_VALUE);
    return {row->sample, row->channels, frequency};
}

}  // namespace

struct CaptureDevices::Device {
    std::shared_ptr<platform::InputRing> ring;
    std::unique_ptr<platform::Input> input;
    bool isDouble = false;
};

CaptureDevices::CaptureDevices(slib::Log* log) : log(log) {}
CaptureDevices::~CaptureDevices() = default;

// Notes a call for IsInUse.
class CaptureDevices::Use {
public:
    explicit Use(CaptureDevices& devices) : uses(devices.uses) { ++uses; }
    ~Use() { --uses; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

private:
    std::atomic<int>& uses;
};

CaptureDevices::Device* CaptureDevices::Open(const char* name, std::uint32_t frequency, int format,
                                             int size) {
    const Use use(*this);
    const InputFormat frames = FormatOf(frequency, format, size);
    auto device = std::make_unique<Device>();
    device->isDouble = FindRow(format)->isDouble;
    device->ring = std::make_shared<platform::InputRing>(frames, static_cast<std::uint32_t>(size));
    const slib::Lock serverLock(serverMutex);
    if (isOver)
        throw CaptureException("The library is being unloaded in alcCaptureOpenDevice().", ALC_INVALID_VALUE);
    try {
        device->input = platform::OpenInput(orb3::ReadInputSettings(*log), name == nullptr ? "" : name,
                                            device->ring, log);
    } catch (const platform::NoSuchInputException& exception) {
        throw CaptureException(exception.what(), ALC_INVALID_VALUE);
    } catch (const slib::StringException& exception) {
        throw CaptureException(exception.what(), ALC_INVALID_VALUE, true);
    }
    const slib::Lock lock(mutex);
    devices.push_back(std::move(device));
    ++uses;
    return devices.back().get();
}

void CaptureDevices::Close(const void* device) {
    const Use use(*this);
    const slib::Lock serverLock(serverMutex);
    std::unique_ptr<Device> closed;
    {
        const slib::Lock lock(mutex);
        std::unique_ptr<Device>& place = Find(device, "alcCaptureCloseDevice");
        closed = std::move(place);
        std::erase(devices, nullptr);
        --uses;
    }
}

std::unique_ptr<CaptureDevices::Device>& CaptureDevices::Find(const void* device, const char* call) {
    const auto place = std::ranges::find_if(
        devices, [&](const std::unique_ptr<Device>& each) { return each.get() == device; });
    if (place == devices.end())
        throw CaptureException("Invalid device in " + std::string(call) + "().", ALC_INVALID_DEVICE);
    return *place;
}

void CaptureDevices::SetRunning(const void* device, bool running, const char* call) {
    const Use use(*this);
    const slib::Lock lock(mutex);
    platform::Input& input = *Find(device, call)->input;
    if (running)
        input.Start();
    else
        input.Stop();
}

void CaptureDevices::Read(const void* device, void* samples, int frames) {
    const Use use(*this);
    const slib::Lock lock(mutex);
    const Device& from = *Find(device, "alcCaptureSamples");
    const std::size_t count =
        frames > 0 ? std::size_t{from.ring->format.channels} * static_cast<std::size_t>(frames) : 0;
    if (frames < 0 || (samples == nullptr && frames > 0))
        throw CaptureException("Invalid buffer in alcCaptureSamples().", ALC_INVALID_VALUE);
    void* const place = from.isDouble ? static_cast<std::byte*>(samples) + count * sizeof(float) : samples;
    if (!from.ring->Read(place, static_cast<std::uint32_t>(frames)))
        throw CaptureException("More samples than were captured in alcCaptureSamples().", ALC_INVALID_VALUE);
    if (from.isDouble) Widen(samples, count);
}

int CaptureDevices::Available(const void* device) {
    const Use use(*this);
    const slib::Lock lock(mutex);
    return static_cast<int>(Find(device, "alcGetIntegerv")->ring->Available());
}

const char* CaptureDevices::NameOf(const void* device) {
    const Use use(*this);
    const slib::Lock lock(mutex);
    return Find(device, "alcGetString")->input->name.c_str();
}

// A list that is what an earlier one was is that one. A server that takes long is asked more seldom.
const char* CaptureDevices::Names() {
    const Use use(*this);
    const slib::Lock lock(serverMutex);
    const std::int64_t before = platform::NowNanoseconds();
    if (isOver) return "\0";  // and the one behind it
    if (newest != nullptr && before < nextListing) return newest->c_str();
    std::string list;
    for (const platform::InputName& input : platform::ListInputs(orb3::ReadInputSettings(*log)))
        if (input.isListed) list += input.description + '\0';
    if (list.empty()) list += '\0';
    auto known = std::ranges::find(lists, list);
    if (known == lists.end()) {
        lists.push_back(std::move(list));
        if (lists.size() > mostLists) lists.pop_front();
        known = std::prev(lists.end());
    }
    newest = &*known;
    const std::int64_t now = platform::NowNanoseconds();
    nextListing = now + std::max(listPause, 5 * (now - before));
    return newest->c_str();
}

void CaptureDevices::ShutDown() {
    const slib::Lock serverLock(serverMutex);
    isOver = true;
    std::vector<std::unique_ptr<Device>> closed;
    {
        const slib::Lock lock(mutex);
        closed.swap(devices);
    }
    uses -= static_cast<int>(closed.size());
    newest = nullptr;
    lists.clear();
}

}  // namespace goal
