#include "platform/wavefile.h"

#include <sndfile.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <system_error>
#include <vector>

#include "platform/soundfiletarget.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace platform {
namespace {

constexpr std::uint64_t mostBytes = 0xFFFFFFFFU - 65536;  // of the samples, beside the headers

// A bit of a channel mask, from the lowest on, and its name in the library.
constexpr int channelNames[] = {
    SF_CHANNEL_MAP_FRONT_LEFT,
    SF_CHANNEL_MAP_FRONT_RIGHT,
    SF_CHANNEL_MAP_FRONT_CENTER,
    SF_CHANNEL_MAP_LFE,
    SF_CHANNEL_MAP_REAR_LEFT,
    SF_CHANNEL_MAP_REAR_RIGHT,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
    SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
    SF_CHANNEL_MAP_REAR_CENTER,
    SF_CHANNEL_MAP_SIDE_LEFT,
    SF_CHANNEL_MAP_SIDE_RIGHT,
};

std::vector<int> ChannelMap(const RingShape& shape) {
    std::vector<int> map;
    std::uint32_t bit = 1;
    for (const int name : channelNames) {
        if ((shape.channelMask & bit) != 0) map.push_back(name);
        bit <<= 1U;
    }
    return map;
}

}  // namespace

struct WaveFile::Handle {
    SNDFILE* file;
};

WaveFile::WaveFile(const std::string& path, const RingShape& shape, std::string& error) : shape(shape) {
    SoundFileLibrary& library = Sndfile();
    error = library.library.problem;
    if (!error.empty()) return;
    target = std::make_unique<SoundFileTarget>(path);
    if (!target->IsOurs()) {
        error = std::generic_category().message(errno);
        return;
    }
    // Players know the plain form for two channels, and the one with a channel mask for more.
    SF_INFO info{};
    info.samplerate = static_cast<int>(shape.rate);
    info.channels = static_cast<int>(shape.channels);
    info.format = (shape.channels > 2 ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) | SF_FORMAT_PCM_32;
    SF_VIRTUAL_IO calls = SoundFileTarget::Calls();
    SNDFILE* const file = library.open(&calls, SFM_WRITE, &info, target.get());
    if (file == nullptr) {
        error = library.explain(nullptr);
        return;
    }
    handle = std::make_unique<Handle>(Handle{file});
    std::vector<int> map = ChannelMap(shape);
    if (shape.channels > 2 && map.size() == shape.channels)
        library.command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                        static_cast<int>(map.size() * sizeof(int)));
    library.command(file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

WaveFile::~WaveFile() {
    if (handle) Sndfile().close(handle->file);
}

bool WaveFile::Write(const std::int32_t* samples, std::uint32_t frames) {
    if (!handle) return false;
    if (Sndfile().writeIntegers(handle->file, samples, frames) != frames) return false;
    written += frames;
    sinceHeader += frames;
    if (sinceHeader >= shape.rate / 2) {
        Sndfile().command(handle->file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
        sinceHeader = 0;
    }
    return true;
}

bool WaveFile::IsLost() const {
    return !target || !target->IsOurs();
}

bool WaveFile::IsFull(std::uint32_t frames) const {
    return (written + frames) * shape.channels * 4 > mostBytes;
}

std::string NextFilePath(const std::string& path) {
    static slib::NoDestroy<slib::Mutex> mutex;
    static slib::NoDestroy<std::map<std::string, unsigned>> counts;
    const slib::Lock lock(*mutex);
    const unsigned number = ++(*counts)[path];
    if (number == 1) return path;
    const std::filesystem::path whole(path);
    const std::string leaf =
        whole.stem().string() + "-" + std::to_string(number) + whole.extension().string();
    return (whole.parent_path() / leaf).string();
}

}  // namespace platform
