#include "orb3core/transform/transformreader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "orb3core/transform/bitstream.h"
#include "orb3core/transform/littleendian.h"
#include "orb3core/transform/streamwindow.h"
#include "orb3core/transform/transformcompression.h"
#include "orb3core/transform/transformtext.h"
#include "slib/exception.h"
#include "slib/filestream.h"

namespace orb3::strans {
namespace {

// Ring samples that may be made before any data arrived, and for each byte of data that did.
constexpr std::uint64_t freeSamples = std::uint64_t{1} << 22;
constexpr std::uint64_t samplesPerByte = 4096;

constexpr std::size_t headerSize = 28;

template <typename T>
using Impulse = hcml::GenericVector<T, 1>;

// In the order of reading; they become a matrix when all are there.
template <typename T>
using Impulses = std::vector<Impulse<T>>;

[[noreturn]] void FailToRead(const char* code) {
    throw slib::OperatingSystemErrnoException(std::string("Failed to read a transform from a file. ") + code);
}

[[noreturn]] void RefuseToLoad() {
    throw slib::BadDataException("A transform to be loaded is not valid.");
}

struct Header {
    double sampleRate;
    std::uint32_t rows, columns, length, start, width;

    std::uint64_t Count() const { return std::uint64_t{rows} * columns; }
};

Header TakeHeader(StreamWindow& window) {
    if (!window.Fetch(headerSize)) FailToRead("[5]");
    const auto field = [&](std::size_t at) { return LoadLittleEndian<std::uint32_t>(window.next + at); };
    const Header header{
        LoadLittleEndian<float>(window.next + 4), field(8), field(12), field(16), field(20), field(24)};
    window.next += headerSize;
    return header;
}

float TakeStep(StreamWindow& window) {
    if (!window.Fetch(sizeof(float))) FailToRead("[5]");
    const auto step = LoadLittleEndian<float>(window.next);
    window.next += sizeof(float);
    if (!std::isfinite(step)) RefuseToLoad();
    return step;
}

void CheckHeader(const Header& header) {
    if (header.width > header.length || header.start >= header.length) RefuseToLoad();
    if (header.Count() == 0)
        throw slib::BadDataException("Unable to load a transform as the transform file seems to be empty.");
    TimeDomainTransform<float, 1> smallest;  // carries what is left to validate
    smallest.sampleRate = header.sampleRate;
    smallest.width = std::min(header.width, 1U);
    smallest.impulses.resize(1, 1);
    smallest.impulses[0].resize(1);
    smallest.validate();
}

// True when the stream holds the fewest bits that the header's impulses may take.
bool HoldsImpulses(const StreamWindow& window, const Header& header, std::uint64_t bitsPerImpulse) {
    constexpr std::uint64_t mostBytes = std::uint64_t{1} << 60;
    return header.Count() <= std::min(window.Remaining(), mostBytes) * 8 / bitsPerImpulse;
}

// A new ring of silence after the others, after `usedBytes` of the stream.
template <typename T>
Impulse<T>& AddImpulse(Impulses<T>& impulses, const Header& header, std::uint64_t usedBytes) {
    const std::uint64_t allowed = freeSamples + samplesPerByte * usedBytes;
    if (impulses.size() + 1 > allowed / header.length)
        throw slib::BadDataException("A transform to be loaded is too large for what its file holds.");
    Impulse<T>& impulse = impulses.emplace_back(header.length);
    impulse.fill(0);
    return impulse;
}

// Samples that are stored in the stream as they are, of type Stored.
template <typename Stored, typename T>
void TakeSamples(StreamWindow& window, std::span<T> samples) {
    while (!samples.empty()) {
        if (!window.Fetch(sizeof(Stored))) FailToRead("[6]");
        const std::size_t count = std::min(samples.size(), window.AtHand() / sizeof(Stored));
        for (std::size_t i = 0; i < count; ++i)
            samples[i] = static_cast<T>(LoadLittleEndian<Stored>(window.next + i * sizeof(Stored)));
        window.next += count * sizeof(Stored);
        samples = samples.subspan(count);
    }
}

template <typename Stored, typename T>
void ReadPlain(StreamWindow& window, const Header& header, Impulses<T>& impulses) {
    if (!HoldsImpulses(window, header, std::uint64_t{header.width} * sizeof(Stored) * 8)) FailToRead("[6]");
    while (impulses.size() < header.Count()) {
        Impulse<T>& impulse = AddImpulse(impulses, header, window.Used());
        for (const auto [begin, end] : WindowParts(header.length, header.start, header.width))
            TakeSamples<Stored>(window, std::span(impulse.data + begin, impulse.data + end));
    }
}

template <typename T>
void ReadCompressed(StreamWindow& window, const Header& header, Impulses<T>& impulses) {
    const auto step = static_cast<T>(TakeStep(window));
    const std::uint64_t fewestBits = header.width < 16 ? 1 : 2;
    if (!HoldsImpulses(window, header, fewestBits))
        throw slib::OperatingSystemErrnoException("Failed to read a transform from a stream.");
    BitReader bits(window);
    std::vector<std::int32_t> values;
    while (impulses.size() < header.Count()) {
        Impulse<T>& impulse = AddImpulse(impulses, header, bits.UsedBytes());
        values.resize(header.width);
        DecodeImpulse(bits, values);
        auto value = values.begin();
        for (const auto [begin, end] : WindowParts(header.length, header.start, header.width))
            for (std::uint32_t i = begin; i < end; ++i)
                impulse[i] = static_cast<T>(*value++) * step;
    }
}

template <typename T>
using BodyReader = void (*)(StreamWindow&, const Header&, Impulses<T>&);

template <typename T>
void ReadBinary(StreamWindow& window, TimeDomainTransform<T, 1>& transform, BodyReader<T> readBody) {
    const Header header = TakeHeader(window);
    CheckHeader(header);
    Impulses<T> impulses;
    readBody(window, header, impulses);
    transform.sampleRate = header.sampleRate;
    transform.start = header.start;
    transform.width = header.width;
    transform.impulses.resize(header.rows, header.columns);
    std::move(impulses.begin(), impulses.end(), transform.impulses.begin());
}

// Reads the form that the first bytes name.
template <typename T>
void ReadAnyForm(StreamWindow& window, TimeDomainTransform<T, 1>& transform) {
    if (!window.Fetch(4)) FailToRead("[15]");
    const std::string_view magic(reinterpret_cast<const char*>(window.next), 4);
    if (magic == doubleMagic) return ReadBinary<T>(window, transform, ReadPlain<double, T>);
    if (magic == singleMagic) return ReadBinary<T>(window, transform, ReadPlain<float, T>);
    if (magic == compressedMagic) return ReadBinary<T>(window, transform, ReadCompressed<T>);
    if (magic.starts_with(textMagic)) return ReadTransformText(window, transform);
    if (magic == "bin\b") throw slib::BadDataException("Transform is in an unsupported legacy format.");
    FailToRead("[16] Are you sure this is a transform file?");
}

// A sample that is infinite or not a number would never leave the decoder again.
template <typename T>
void CheckSamples(const TimeDomainTransform<T, 1>& transform) {
    for (const Impulse<T>& impulse : transform.impulses)
        if (!std::all_of(impulse.begin(), impulse.end(), [](T sample) { return std::isfinite(sample); }))
            throw slib::BadDataException("A transform holds a sample that is not a finite number.");
}

template <typename T>
void ReadFromStream(std::istream& stream, TimeDomainTransform<T, 1>& transform) {
    StreamWindow window(stream);
    TimeDomainTransform<T, 1> fresh;
    ReadAnyForm(window, fresh);
    if (fresh.impulses.size == 0)
        throw slib::BadDataException("Unable to load a transform as the transform file seems to be empty.");
    fresh.validate();
    CheckSamples(fresh);
    transform = std::move(fresh);
}

template <typename T>
void ReadFromPath(const std::string& path, TimeDomainTransform<T, 1>& transform) {
    slib::InputFile stream(path);
    if (!stream) throw slib::OperatingSystemErrnoException("Failed to open file '" + path + "'.");
    ReadFromStream(stream, transform);
}

}  // namespace

void readTransform(std::istream& stream, TimeDomainTransform<float, 1>& transform) {
    ReadFromStream(stream, transform);
}

void readTransform(std::istream& stream, TimeDomainTransform<double, 1>& transform) {
    ReadFromStream(stream, transform);
}

void readTransform(const std::string& path, TimeDomainTransform<float, 1>& transform) {
    ReadFromPath(path, transform);
}

void readTransform(const std::string& path, TimeDomainTransform<double, 1>& transform) {
    ReadFromPath(path, transform);
}

}  // namespace orb3::strans
