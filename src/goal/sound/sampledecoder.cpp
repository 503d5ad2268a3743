#include "goal/sound/sampledecoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "goal/sound/bufferformats.h"

namespace goal {
namespace {

static_assert(std::endian::native == std::endian::little, "Buffers are read as little-endian.");

template <typename T>
T Load(const std::uint8_t* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// ITU-T G.711, section 3: the byte is inverted, and holds a sign, three bits of segment and four of
// interval; 33 is the bias of the first segment, in units of 14 bits.
constexpr std::int16_t MuLawValue(unsigned byte) {
    const unsigned code = ~byte & 0xFFu;
    const int magnitude = ((static_cast<int>(2 * (code & 15u)) + 33) << (code >> 4 & 7u)) - 33;
    return static_cast<std::int16_t>(4 * ((code & 0x80u) != 0 ? -magnitude : magnitude));
}

constexpr std::array<float, 256> muLawValues = [] {
    std::array<float, 256> values{};
    for (unsigned byte = 0; byte < values.size(); ++byte)
        values[byte] = MuLawValue(byte);
    return values;
}();

// How one stored sample becomes a raw value, for each kind but IMA ADPCM.

struct Unsigned8Sample {
    static constexpr std::size_t bytes = 1;
    static float Raw(const std::uint8_t* sample) { return static_cast<float>(*sample) - 128.0F; }
};

struct MuLawSample {
    static constexpr std::size_t bytes = 1;
    static float Raw(const std::uint8_t* sample) { return muLawValues[*sample]; }
};

template <typename T>
struct PlainSample {
    static constexpr std::size_t bytes = sizeof(T);
    static float Raw(const std::uint8_t* sample) { return static_cast<float>(Load<T>(sample)); }
};

template <typename Sample>
void Decode(const std::uint8_t* samples, std::size_t count, float* target) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = Sample::Raw(samples + i * Sample::bytes);
}

template <typename Sample>
void Pick(const Buffer& buffer, const FramePicks& picks, float* target) {
    const std::size_t frameBytes = buffer.channels * Sample::bytes;
    const std::size_t values = std::size_t{picks.width} * buffer.channels;
    std::uint64_t position = picks.position;
    if (values == 1) {
        for (std::uint32_t pick = 0; pick < picks.count; ++pick, position += picks.step)
            target[pick] = Sample::Raw(buffer.data + (position >> 16) * Sample::bytes);
        return;
    }
    for (std::uint32_t pick = 0; pick < picks.count; ++pick, position += picks.step, target += values)
        Decode<Sample>(buffer.data + ((position >> 16) + 1 - picks.width) * frameBytes, values, target);
}

// IMA ADPCM (Interactive Multimedia Association, 1992), in blocks of a header and 64 codes per channel.

constexpr std::uint32_t ima4BlockFrames = 65;
constexpr std::size_t ima4HeaderBytes = 4;
constexpr std::size_t ima4WordBytes = 4;
constexpr std::uint32_t ima4Words = 8;  // per channel and block, eight codes each

constexpr std::array stepTable = std::to_array<int>({
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,    28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,   118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,   494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767,
});
constexpr int lastStep = static_cast<int>(stepTable.size()) - 1;
constexpr std::array<int, 16> deltaTable{1, 3, 5, 7, 9, 11, 13, 15, -1, -3, -5, -7, -9, -11, -13, -15};
constexpr std::array<int, 16> indexTable{-1, -1, -1, -1, 2, 4, 6, 8, -1, -1, -1, -1, 2, 4, 6, 8};

// The state of one channel on its way through a block.
struct Ima4Predictor {
    int value;
    int index;

    float Next(std::uint32_t code) {
        const int step = stepTable[static_cast<std::size_t>(std::clamp(index, 0, lastStep))];
        value = std::clamp(value + step * deltaTable[code] / 8, -32768, 32767);
        index = std::clamp(index, 0, lastStep) + indexTable[code];
        return static_cast<float>(value);
    }
};

// Decodes one channel of a block into every `channels`-th float of `target`.
void DecodeIma4Channel(const std::uint8_t* block, std::uint32_t channel, std::uint32_t channels,
                       float* target) {
    const std::uint8_t* header = block + channel * ima4HeaderBytes;
    const std::uint8_t* words = block + channels * ima4HeaderBytes + channel * ima4WordBytes;
    Ima4Predictor predictor{Load<std::int16_t>(header), Load<std::int16_t>(header + 2)};
    *target = static_cast<float>(predictor.value);
    for (std::uint32_t word = 0; word < ima4Words; ++word, words += channels * ima4WordBytes) {
        auto codes = Load<std::uint32_t>(words);
        for (int n = 0; n < 8; ++n, codes >>= 4)
            *(target += channels) = predictor.Next(codes & 15u);
    }
}

// The frames of an IMA ADPCM buffer, with the block last looked at kept in decoded form.
class Ima4Frames {
public:
    explicit Ima4Frames(const Buffer& buffer) : buffer(buffer) {}

    // The frame, followed by the rest of its block.
    const float* From(std::uint32_t frame) {
        if (const std::uint32_t wanted = frame / ima4BlockFrames; wanted != block) DecodeBlock(wanted);
        return values.data() + std::size_t{frame % ima4BlockFrames} * buffer.channels;
    }

private:
    static constexpr std::uint32_t noBlock = 0xFFFFFFFF;

    void DecodeBlock(std::uint32_t wanted) {
        block = wanted;
        const std::size_t bytes =
            std::size_t{buffer.channels} * (ima4HeaderBytes + ima4Words * ima4WordBytes);
        for (std::uint32_t c = 0; c < buffer.channels; ++c)
            DecodeIma4Channel(buffer.data + wanted * bytes, c, buffer.channels, values.data() + c);
    }

    const Buffer& buffer;
    std::uint32_t block = noBlock;
    std::array<float, std::size_t{2} * ima4BlockFrames> values{};
};

void DecodeIma4(const Buffer& buffer, std::uint32_t first, std::uint32_t count, float* target) {
    Ima4Frames frames(buffer);
    while (count > 0) {
        const std::uint32_t run = std::min(count, ima4BlockFrames - first % ima4BlockFrames);
        target = std::copy_n(frames.From(first), std::size_t{run} * buffer.channels, target);
        first += run;
        count -= run;
    }
}

void PickIma4(const Buffer& buffer, const FramePicks& picks, float* target) {
    Ima4Frames frames(buffer);
    std::uint64_t position = picks.position;
    for (std::uint32_t pick = 0; pick < picks.count; ++pick, position += picks.step) {
        const auto last = static_cast<std::uint32_t>(position >> 16);
        for (std::uint32_t back = picks.width; back-- > 0;)
            target = std::copy_n(frames.From(last - back), buffer.channels, target);
    }
}

SampleEncoding EncodingOf(const Buffer& buffer) {
    return FindBufferFormat(buffer.formatId)->encoding;
}

// The samples as floats in place, or null when they aren't aligned floats.
const float* FloatsInPlace(const Buffer& buffer, SampleEncoding encoding) {
    if (encoding != SampleEncoding::Float32) return nullptr;
    if (reinterpret_cast<std::uintptr_t>(buffer.data) % alignof(float) != 0) return nullptr;
    return reinterpret_cast<const float*>(buffer.data);
}

}  // namespace

const float* RawFrames(const Buffer& buffer, std::uint32_t first, std::uint32_t count, float* scratch) {
    const SampleEncoding encoding = EncodingOf(buffer);
    const std::size_t start = std::size_t{first} * buffer.channels;
    if (const float* floats = FloatsInPlace(buffer, encoding)) return floats + start;
    const auto decode = [&]<typename Sample>(Sample) {
        Decode<Sample>(buffer.data + start * Sample::bytes, std::size_t{count} * buffer.channels, scratch);
    };
    switch (encoding) {
        case SampleEncoding::Unsigned8:
            decode(Unsigned8Sample{});
            break;
        case SampleEncoding::Signed16:
            decode(PlainSample<std::int16_t>{});
            break;
        case SampleEncoding::Float32:
            decode(PlainSample<float>{});
            break;
        case SampleEncoding::Float64:
            decode(PlainSample<double>{});
            break;
        case SampleEncoding::MuLaw:
            decode(MuLawSample{});
            break;
        case SampleEncoding::Ima4:
            DecodeIma4(buffer, first, count, scratch);
            break;
    }
    return scratch;
}

void PickRawFrames(const Buffer& buffer, const FramePicks& picks, float* target) {
    switch (EncodingOf(buffer)) {
        case SampleEncoding::Unsigned8:
            return Pick<Unsigned8Sample>(buffer, picks, target);
        case SampleEncoding::Signed16:
            return Pick<PlainSample<std::int16_t>>(buffer, picks, target);
        case SampleEncoding::Float32:
            return Pick<PlainSample<float>>(buffer, picks, target);
        case SampleEncoding::Float64:
            return Pick<PlainSample<double>>(buffer, picks, target);
        case SampleEncoding::MuLaw:
            return Pick<MuLawSample>(buffer, picks, target);
        case SampleEncoding::Ima4:
            return PickIma4(buffer, picks, target);
    }
}

void CopyLastRawFrame(const Buffer& buffer, bool isPlain, float* frame) {
    if (buffer.frames == 0) return;
    if (isPlain && EncodingOf(buffer) == SampleEncoding::Ima4) {
        std::fill_n(frame, buffer.channels, 0.0F);
        return;
    }
    PickRawFrames(buffer, {std::uint64_t{buffer.frames - 1} << 16, 0, 1, 1}, frame);
}

}  // namespace goal
