#include "numeric/bus.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <new>
#include <utility>

namespace hcml::ac {
namespace {

constexpr std::uint64_t floatsPerUnit = blockAlignment / sizeof(float);

// Floats from the start of one channel to that of the next.
std::uint64_t Stride(std::uint32_t vectors) {
    const std::uint64_t units = (std::uint64_t{vectors} * 4 + floatsPerUnit - 1) / floatsPerUnit;
    return (units | 1) * floatsPerUnit;
}

AlignedFloats AllocateChannels(std::uint32_t vectors, std::uint32_t channelCount) {
    if (vectors == 0 || channelCount == 0) return nullptr;
    const std::uint64_t stride = Stride(vectors);
    if (stride > std::numeric_limits<std::uint64_t>::max() / channelCount) throw slib::OutOfMemoryException();
    return AllocateAlignedFloats(stride * channelCount);
}

std::unique_ptr<float* []> AllocatePointers(std::uint32_t channelCount) {
    if (channelCount == 0) return nullptr;
    std::unique_ptr<float*[]> pointers(new (std::nothrow) float*[channelCount]());
    if (pointers == nullptr) throw slib::OutOfMemoryException();
    return pointers;
}

}  // namespace

Bus::Bus(std::uint32_t frames, std::uint32_t channelCount)
    : frames(frames),
      vectors(static_cast<std::uint32_t>((std::uint64_t{frames} + 3) / 4)),
      channelCount(channelCount),
      samples(AllocateChannels(vectors, channelCount)) {
    pointers = AllocatePointers(channelCount);
    channels = pointers.get();
    if (samples == nullptr) return;
    for (std::uint32_t c = 0; c < channelCount; ++c)
        channels[c] = samples.get() + c * Stride(vectors);
}

Bus::Bus(const Bus& other) : Bus(other.frames, other.channelCount) {
    CopySamples(other);
}

Bus::Bus(Bus&& other) noexcept {
    Swap(other);
}

Bus& Bus::operator=(const Bus& other) {
    if (this == &other) return *this;
    resize(other.frames, other.channelCount);
    CopySamples(other);
    return *this;
}

Bus& Bus::operator=(Bus&& other) noexcept {
    Bus taken(std::move(other));
    Swap(taken);
    return *this;
}

void Bus::resize(std::uint32_t newFrames, std::uint32_t newChannelCount) {
    if (newFrames == frames && newChannelCount == channelCount) return;
    Bus fresh(newFrames, newChannelCount);
    Swap(fresh);
}

void Bus::clear() {
    for (std::uint32_t c = 0; c < channelCount; ++c)
        std::fill_n(channels[c], std::size_t{vectors} * 4, 0.0f);
}

void Bus::add(std::uint32_t channel, const float* source, float gain) {
    assert(channel < channelCount);
    float* target = channels[channel];
    const std::size_t count = std::size_t{vectors} * 4;
    for (std::size_t i = 0; i < count; ++i)
        target[i] = target[i] + source[i] * gain;
}

void Bus::Swap(Bus& other) noexcept {
    std::swap(frames, other.frames);
    std::swap(vectors, other.vectors);
    std::swap(channelCount, other.channelCount);
    std::swap(channels, other.channels);
    std::swap(pointers, other.pointers);
    std::swap(samples, other.samples);
}

void Bus::CopySamples(const Bus& other) {
    for (std::uint32_t c = 0; c < channelCount; ++c) {
        std::copy_n(other.channels[c], std::size_t{vectors} * 4, channels[c]);
    }
}

}  // namespace hcml::ac
