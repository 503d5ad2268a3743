#include "numeric/directionpolynomials.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "numeric/ambisonicorder.h"

namespace hcml {
namespace {

template <typename T, typename Out>
void Evaluate(T X, T Y, T Z, unsigned order, Out* e) {
    assert(order <= highestOrder);
    std::array<T, mostBusChannels> p;
    p[0] = 1;
    p[1] = X;
    p[2] = Y;
    p[3] = Z;
    p[4] = X * Y;
    p[5] = X * X - Y * Y;
    p[6] = X * Z;
    p[7] = Y * Z;
    p[8] = Z * Z;
    p[9] = p[5] * X - 2 * p[4] * Y;
    p[10] = p[5] * Y + 2 * p[4] * X;
    for (unsigned i = 11; i < 16; ++i)
        p[i] = p[i - 7] * Z;
    p[16] = p[5] * p[4];
    p[17] = p[5] * p[5] - (2 * p[4]) * (2 * p[4]);
    p[18] = p[9] * Z;
    p[19] = p[10] * Z;
    for (unsigned i = 20; i < mostBusChannels; ++i)
        p[i] = p[i - 16] * p[8];
    std::transform(p.begin(), p.begin() + ChannelsOfOrder(order), e,
                   [](T value) { return static_cast<Out>(value); });
}

}  // namespace

void directionPolynomials(float X, float Y, float Z, unsigned order, float* e) {
    Evaluate(X, Y, Z, order, e);
}

void directionPolynomials(double X, double Y, double Z, unsigned order, float* e) {
    Evaluate(X, Y, Z, order, e);
}

void directionPolynomials(double X, double Y, double Z, unsigned order, double* e) {
    Evaluate(X, Y, Z, order, e);
}

}  // namespace hcml
