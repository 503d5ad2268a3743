#include "goal/render/arraybuses.h"

#include <algorithm>
#include <numbers>
#include <utility>

#include "goal/dsp/antidenormal.h"
#include "numeric/kernels/mixkernel.h"

namespace goal {

ArrayBuses::ArrayBuses(orb3::array::ArraySet arrays, std::uint32_t frames, std::uint32_t spatialChannels)
    : frames(frames), spatialChannels(spatialChannels) {
    AddArrays(arrays);
    AddBFormats();
}

void ArrayBuses::Add(Arrangement key, std::uint32_t inputs, hcml::GenericMatrix<float, 1> encode) {
    ArrayBus& bus = buses[key];
    bus.input.resize(frames, inputs);
    bus.filtered.resize(frames, encode.rows);
    bus.mix.resize(frames, encode.rows);
    ApplyAntiDenormalPattern(bus.mix);
    bus.encode = std::move(encode);
}

void ArrayBuses::AddArrays(orb3::array::ArraySet& arrays) {
    arrays.Prepare();
    for (const Arrangement key : arrayArrangements) {
        const orb3::array::Array& array = arrays.GetArray(static_cast<int>(key));
        const auto channels = static_cast<std::uint32_t>(array.channels.size());
        hcml::GenericMatrix<float, 1> encode(channels, spatialChannels);
        for (std::uint32_t c = 0; c < channels; ++c)
            std::copy_n(array.channels[c].harmonics.begin(), spatialChannels, &encode(c, 0));
        Add(key, channels, std::move(encode));
    }
}

// The first channel of B-format is 3 dB below that of the bus.
void ArrayBuses::AddBFormats() {
    hcml::GenericMatrix<float, 1> encode(4, spatialChannels);
    encode.fill(0);
    encode(0, 0) = std::numbers::sqrt2_v<float>;
    for (std::uint32_t c = 1; c < 4; ++c)
        encode(c, c) = 1;
    Add(Arrangement::BFormat2D, 3, encode);
    Add(Arrangement::BFormat3D, 4, encode);
}

void ArrayBuses::MixInto(hcml::ac::Bus& spatial) {
    for (auto& [key, bus] : buses) {
        if (!std::exchange(bus.hasContent, false)) continue;
        hcml::MixSources({.channels = spatial.channels,
                          .channelCount = spatial.channelCount,
                          .sources = bus.mix.channels,
                          .sourceCount = bus.mix.channelCount,
                          .coefficients = bus.encode.data,
                          .coefficientStride = bus.encode.columns,
                          .vectors = spatial.vectors});
        bus.mix.clear();
        ApplyAntiDenormalPattern(bus.mix);
    }
}

}  // namespace goal
