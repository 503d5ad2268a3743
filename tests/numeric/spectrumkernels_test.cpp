// The products of spectra against the formula, on every vector target of this machine. Rows have exactly the
// floats that a kernel may touch, so that the address sanitizer sees any other. The other kernels of the
// convolution are tested with the partitioned transformer, which is nothing but them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "hwy/targets.h"
#include "numeric/kernels/spectrumkernel.h"

namespace hcml {
namespace {

std::minstd_rand generator;

struct Rows {
    explicit Rows(std::size_t count) : real(Noise(count)), imaginary(Noise(count)) {}
    static std::vector<float> Noise(std::size_t count) {
        std::vector<float> row(count);
        std::generate(row.begin(), row.end(),
                      [] { return std::uniform_real_distribution<float>(-1, 1)(generator); });
        return row;
    }
    SplitComplex Get() { return {real.data(), imaginary.data()}; }
    bool operator==(const Rows&) const = default;

    std::vector<float> real, imaginary;
};

class SpectrumKernel : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { Use(GetParam()); }
    void TearDown() override { Use(0); }

    // 0 is what the machine has.
    static void Use(std::int64_t target) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
};

TEST_P(SpectrumKernel, ProductsAddedToOneSumAndToTwo_EqualTheFormulaToTheBit) {
    for (std::uint32_t vectors = 0; vectors < 40; ++vectors) {
        const std::uint32_t floats = vectors * 4;
        const std::vector<Rows> before(2, Rows(floats));
        std::vector<Rows> rows, expected = before;
        std::vector<SpectrumProduct> products;
        for (std::uint32_t r = 0; r < vectors % 6 * 3; ++r)
            rows.emplace_back(floats);
        for (const Rows* s = rows.data(); s != rows.data() + rows.size(); s += 3) {
            products.push_back({s[0].real.data(),
                                s[0].imaginary.data(),
                                {s[1].real.data(), s[2].real.data()},
                                {s[1].imaginary.data(), s[2].imaginary.data()}});
            for (std::uint32_t k = 0; k < 2 * floats; ++k) {
                const std::uint32_t i = k / 2;
                const Rows& r = s[1 + k % 2];
                Rows& sum = expected[k % 2];
                sum.real[i] += r.real[i] * s->real[i] - r.imaginary[i] * s->imaginary[i];
                sum.imaginary[i] += r.real[i] * s->imaginary[i] + r.imaginary[i] * s->real[i];
            }
        }
        std::vector<Rows> two = before;
        Rows one = before[0];
        const auto count = static_cast<std::uint32_t>(products.size());
        AddSpectrumProducts(one.Get(), products.data(), count, vectors);
        AddSpectrumProductsToTwo({two[0].Get(), two[1].Get()}, products.data(), count, vectors);
        EXPECT_EQ(one, expected[0]) << vectors;
        EXPECT_EQ(two, expected) << vectors;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, SpectrumKernel, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

}  // namespace
}  // namespace hcml
