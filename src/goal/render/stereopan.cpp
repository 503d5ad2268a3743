#include "goal/render/stereopan.h"

#include <cmath>
#include <cstddef>

#include "numeric/ambisonicorder.h"
#include "numeric/directionpolynomials.h"
#include "slib/exception.h"

namespace goal {
namespace {

// Those whose polynomial doesn't vanish on the horizon; each order adds two.
constexpr std::array<unsigned, 9> horizontalChannels{0, 1, 2, 4, 5, 9, 10, 16, 17};

}  // namespace

StereoPan PanStereoSide(float angle, unsigned order) {
    if (order < 1 || order > hcml::highestOrder) slib::ThrowUnreachable();
    std::array<float, hcml::mostBusChannels> e;
    hcml::directionPolynomials(std::cos(angle), std::sin(angle), 0.0F, order, e.data());
    StereoPan pan;
    pan.channels = {horizontalChannels.data(), 2 * std::size_t{order} + 1};
    for (std::size_t i = 0; i < pan.channels.size(); ++i)
        pan.weights[i] = e[pan.channels[i]];
    return pan;
}

}  // namespace goal
