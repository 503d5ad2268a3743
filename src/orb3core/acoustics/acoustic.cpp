#include "orb3core/acoustics/acoustic.h"

#include "numeric/matrixoperations.h"

namespace orb3::aspace {

void Acoustic::getChannelPoints(std::uint32_t, Points& out) const {
    out.clear();
}

void Acoustic::getResponseGradient(double x, double y, double z, double omega, ResponseGradient& out) const {
    constexpr double step = 0.0001, stepsPerMetre = 10000;
    getResponse(x, y, z, omega, out.value);
    getResponse(x + step, y, z, omega, out.dx);
    getResponse(x, y + step, z, omega, out.dy);
    getResponse(x, y, z + step, omega, out.dz);
    for (Response* moved : {&out.dx, &out.dy, &out.dz}) {
        hcml::subtract(*moved, out.value);
        hcml::scale(*moved, stepsPerMetre);
    }
}

void Acoustic::getPoints(Points& out) const {
    out.clear();
}

}  // namespace orb3::aspace
