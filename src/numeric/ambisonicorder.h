#pragma once

// The order of a sound field (Ambisonics) and the channels that it has. Constants; usable from any thread.

#include <cstdint>

namespace hcml {

/// Of the spatial bus. A format library may hold fields of a higher order, and the decoder takes their head.
inline constexpr unsigned highestOrder = 4;

/// The channels of a full field of an order: (order + 1)².
constexpr std::uint32_t ChannelsOfOrder(unsigned order) {
    return (order + 1) * (order + 1);
}

/// Of the spatial bus at its highest order: 25.
inline constexpr std::uint32_t mostBusChannels = ChannelsOfOrder(highestOrder);

}  // namespace hcml
