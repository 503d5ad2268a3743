#include "numeric/bessel.h"

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "slib/text.h"

namespace nrc {
namespace {

// The Chebyshev coefficients of gam1 and gam2 as functions of 8x² - 1; the next ones are below 1e-16.
constexpr std::array<double, 7> gam1Coefficients{
    -1.14202268037116784,  6.51651126707368806e-3,  3.08709017308536824e-4,  -3.47062696490431784e-6,
    6.9437664486674496e-9, 3.67795398857441017e-11, -1.35639510236642487e-13};
constexpr std::array<double, 8> gam2Coefficients{
    1.84374058730090531,     -7.68528408447866737e-2, 1.27192713665456229e-3,   -4.97173670419573986e-6,
    -3.31261197681808527e-8, 2.42309579004827041e-10, -1.70237766425127292e-13, -1.49436670651690018e-15};

constexpr double orderLimit = 10000;  // the work grows with the order

[[noreturn]] void ThrowFailedToConverge() {
    throw hcml::BesselJYFailedToConverge("The nrc::bessjy() series failed to converge.");
}

void CheckArguments(double x, double xnu) {
    if (!(x > 0))
        throw slib::BadParameterException("Bad value argument (" + slib::FormatNumber(x) +
                                          ") in nrc::bessjy().");
    if (!(xnu >= 0))
        throw slib::BadParameterException("Bad order argument (" + slib::FormatNumber(xnu) +
                                          ") to nrc::bessjy().");
    // Above an x of 1000 the standard library sums Hankel's expansion, whose terms first grow to
    // exp(xnu² / 2x) and then cancel.
    const bool cancels = x > 1000 && xnu * xnu > 20 * x;
    if (xnu >= orderLimit || cancels) ThrowFailedToConverge();
}

// J and Y in extended precision where the platform has it: its range keeps the intermediate values of a tiny
// x from overflowing, and its digits make up for those that cancel at a great one.
struct Pair {
    long double j, y;
};

Pair Evaluate(long double order, long double x) try {
    const Pair pair{std::cyl_bessel_j(order, x), std::cyl_neumann(order, x)};
    if (!std::isfinite(pair.j)) ThrowFailedToConverge();
    // An overflow of Y, which only happens far below its first zero, may show as no number at all.
    return {pair.j, std::isfinite(pair.y) ? pair.y : -std::numeric_limits<long double>::infinity()};
} catch (const std::runtime_error&) {
    ThrowFailedToConverge();
}

}  // namespace

double chebev(double a, double b, const double* coefficients, std::uint32_t m, double x) {
    if (!(x >= a && x <= b))
        throw slib::BadParameterException("The value of x (" + slib::FormatNumber(x) +
                                          ") is not in range for nrc::chebev().");
    const double u = (2 * x - a - b) / (b - a);
    double sum = 0, before = 0;
    for (std::uint32_t k = m; k-- > 1;) {
        const double next = 2 * u * sum - before + coefficients[k];
        before = sum;
        sum = next;
    }
    return u * sum - before + coefficients[0] / 2;
}

void beschb(double x, double& gam1, double& gam2, double& gampl, double& gammi) {
    const double place = 8 * x * x - 1;
    gam1 = chebev(-1, 1, gam1Coefficients.data(), gam1Coefficients.size(), place);
    gam2 = chebev(-1, 1, gam2Coefficients.data(), gam2Coefficients.size(), place);
    gampl = gam2 - x * gam1;
    gammi = gam2 + x * gam1;
}

void bessjy(double x, double xnu, double& rj, double& ry, double& rjp, double& ryp) {
    CheckArguments(x, xnu);
    const auto [j, y] = Evaluate(xnu, x);
    const auto [nextJ, nextY] = Evaluate(static_cast<long double>(xnu) + 1, x);
    rj = static_cast<double>(j);
    ry = static_cast<double>(y);
    rjp = static_cast<double>(xnu * j / x - nextJ);
    ryp = static_cast<double>(std::isinf(nextY) ? -nextY : xnu * y / x - nextY);
}

void sphericalBessel(std::uint32_t n, double x, double& sj, double& sy, double& sjp, double& syp) {
    double j, y, derivativeOfJ, derivativeOfY;
    bessjy(x, n + 0.5, j, y, derivativeOfJ, derivativeOfY);
    const double factor = 1.2533141 / std::sqrt(x);
    sj = factor * j;
    sy = factor * y;
    sjp = factor * derivativeOfJ - sj / (2 * x);
    syp = factor * derivativeOfY - sy / (2 * x);
}

}  // namespace nrc
