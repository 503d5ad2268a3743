#include "platform/wavefile.h"

#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>
#include <vector>

#include "platform/dynamiclibrary.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace platform {
namespace {

constexpr std::uint64_t mostBytes = 0xFFFFFFFFU - 65536;  // of the samples, beside the headers

struct SoundFileLibrary {
    SoundFileLibrary() : library("libsndfile.so.1") {
        library.Find("sf_open_fd", open);
        library.Find("sf_close", close);
        library.Find("sf_command", command);
        library.Find("sf_writef_int", write);
        library.Find("sf_strerror", explain);
    }

    DynamicLibrary library;
    decltype(sf_open_fd)* open = nullptr;
    decltype(sf_close)* close = nullptr;
    decltype(sf_command)* command = nullptr;
    decltype(sf_writef_int)* write = nullptr;
    decltype(sf_strerror)* explain = nullptr;
};

SoundFileLibrary& Library() {
    static slib::NoDestroy<SoundFileLibrary> library;
    return *library;
}

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

WaveFile::WaveFile(const std::string& path, const RingShape& shape, std::string& error)
    : shape(shape), owner(getpid()) {
    SoundFileLibrary& library = Library();
    error = library.library.problem;
    if (!error.empty()) return;
    descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        error = std::generic_category().message(errno);
        return;
    }
    // Players know the plain form for two channels, and the one with a channel mask for more.
    SF_INFO info{};
    info.samplerate = static_cast<int>(shape.rate);
    info.channels = static_cast<int>(shape.channels);
    info.format = (shape.channels > 2 ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) | SF_FORMAT_PCM_32;
    SNDFILE* const file = library.open(descriptor, SFM_WRITE, &info, SF_FALSE);
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
    if (owner != getpid()) return;
    if (handle) Library().close(handle->file);
    if (descriptor >= 0) close(descriptor);
}

bool WaveFile::Write(const std::int32_t* samples, std::uint32_t frames) {
    if (!handle || owner != getpid()) return false;
    if (Library().write(handle->file, samples, frames) != frames) return false;
    written += frames;
    sinceHeader += frames;
    if (sinceHeader >= shape.rate / 2) {
        Library().command(handle->file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
        sinceHeader = 0;
    }
    return true;
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
