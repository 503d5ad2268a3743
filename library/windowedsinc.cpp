#include "library/windowedsinc.h"

#include <cmath>
#include <numbers>

namespace design {

double Sinc(double x) {
    const double angle = std::numbers::pi * x;
    return x == 0 ? 1 : std::sin(angle) / angle;
}

KaiserWindow::KaiserWindow(double beta) : beta(beta), scale(1 / std::cyl_bessel_i(0.0, beta)) {}

double KaiserWindow::operator()(double x) const {
    return std::abs(x) >= 1 ? 0 : scale * std::cyl_bessel_i(0.0, beta * std::sqrt(1 - x * x));
}

}  // namespace design
