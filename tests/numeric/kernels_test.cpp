// Each kernel against the loop that says what it computes, bit for bit, on every vector target of this
// machine. Blocks have exactly the floats that a kernel may touch, so that the address sanitizer sees any
// other. The Fourier kernel and the products of spectra are tested with the partitioned transformer, which is
// nothing but kernels.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "numeric/kernels/cascadekernel.h"
#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/firstorderkernel.h"
#include "numeric/kernels/gainkernel.h"
#include "numeric/kernels/linearkernel.h"
#include "numeric/kernels/mixkernel.h"
#include "numeric/kernels/sinckernel.h"
#include "tests/support/vectortargets.h"

namespace hcml {
namespace {

using testing_support::OnEveryTarget;

std::minstd_rand generator;

// A row that starts 16 bytes times `shift` past a multiple of 64.
class Row {
public:
    explicit Row(std::size_t count, std::size_t shift = 0)
        : count(count), offset(shift % 4 * 4), block(new (std::align_val_t{64}) float[offset + count]) {
        std::uniform_real_distribution<float> noise(-1, 1);
        std::generate_n(data(), count, [&] { return noise(generator); });
    }
    Row(const Row& other) : Row(other.count, other.offset / 4) { std::copy_n(other.data(), count, data()); }
    Row& operator=(const Row&) = delete;
    ~Row() { ::operator delete[](block, std::align_val_t{64}); }

    float* data() const { return block + offset; }
    bool operator==(const Row& other) const {
        return std::memcmp(data(), other.data(), count * sizeof(float)) == 0;
    }

    const std::size_t count;

private:
    const std::size_t offset;
    float* const block;
};

std::vector<Row> Rows(std::size_t rowCount, std::size_t count, std::size_t rowsAShift) {
    std::vector<Row> rows;
    rows.reserve(rowCount);
    for (std::size_t r = 0; r < rowCount; ++r)
        rows.emplace_back(count, r / rowsAShift);
    return rows;
}

std::vector<float*> Pointers(const std::vector<Row>& rows) {
    std::vector<float*> pointers;
    for (const Row& row : rows)
        pointers.push_back(row.data());
    return pointers;
}

void TestMix(std::uint32_t channelCount, std::uint32_t sourceCount, std::uint32_t vectors) {
    const std::vector<Row> channels = Rows(channelCount, vectors * 4, 1);
    const std::vector<Row> sources = Rows(sourceCount, vectors * 4, 2);
    const std::uint32_t stride = channelCount + sourceCount % 3;
    const Row gains(std::size_t{sourceCount} * stride);
    const std::vector<Row> expected = channels;
    for (std::uint32_t s = 0; s < sourceCount; ++s)
        for (std::uint32_t c = 0; c < channelCount; ++c)
            for (std::uint32_t i = 0; i < vectors * 4; ++i)
                expected[c].data()[i] += gains.data()[s * stride + c] * sources[s].data()[i];
    const std::vector<float*> from = Pointers(sources), to = Pointers(channels);
    MixSources({to.data(), channelCount, from.data(), sourceCount, gains.data(), stride, vectors});
    EXPECT_EQ(channels, expected) << channelCount << " " << sourceCount << " " << vectors;
}

TEST(Kernels, MixSources_EqualsOnePassASource) {
    OnEveryTarget([] {
        for (std::uint32_t channels = 1; channels <= 27; ++channels)
            for (const std::uint32_t sources : {0u, 1u, 7u, 127u, 129u, 300u})
                TestMix(channels, sources, 23 + channels % 5);
        for (std::uint32_t vectors = 0; vectors < 70; ++vectors)
            TestMix(4 + vectors % 2, 3, vectors);
    });
}

TEST(Kernels, Gains_EqualTheLoopsInPlaceAndNot) {
    OnEveryTarget([] {
        for (std::uint32_t vectors = 0; vectors < 70; ++vectors) {
            const Row source(vectors * 4, vectors), sum(vectors * 4, vectors / 3), expected(sum);
            const Row product(vectors * 4, vectors / 2), inPlace(source);
            for (std::uint32_t i = 0; i < vectors * 4; ++i)
                expected.data()[i] += source.data()[i] * 0.7f;
            MultiplyAddRow(sum.data(), source.data(), 0.7f, vectors);
            EXPECT_EQ(sum, expected) << vectors;
            MultiplyAddRow(inPlace.data(), inPlace.data(), 1.0f, vectors);
            MultiplyRow(product.data(), inPlace.data(), 0.5f, vectors);
            MultiplyRow(inPlace.data(), inPlace.data(), 0.5f, vectors);
            EXPECT_TRUE(product == source && inPlace == source) << vectors;
        }
    });
}

void TestLinear(std::uint32_t count, LinearWalk walk) {
    const std::uint64_t first = walk.position >> 16, last = (walk.position + (count - 1) * walk.step) >> 16;
    const Row input(static_cast<std::size_t>(last - first + 2));
    const float* zero = input.data() + 1 - first;
    const Row output(count, count), expected(output);
    for (std::uint32_t k = 0; k < count; ++k) {
        const std::uint64_t p = walk.position + k * walk.step, f = p & 0xFFFF;
        const float* at = zero + (p >> 16);
        expected.data()[k] = static_cast<float>(65536 - f) * at[-1] + static_cast<float>(f) * at[0];
    }
    InterpolateLinear(output.data(), count, zero, walk);
    EXPECT_EQ(output, expected) << count << " at " << walk.position << " by " << walk.step;
}

TEST(Kernels, InterpolateLinear_EqualsTheFormulaAtAnyStepAndPosition) {
    OnEveryTarget([] {
        const std::uint64_t steps[] = {1,     2000,  32768,  60211,  65535,  65536,   65537,
                                       71332, 98304, 131071, 131072, 131073, 1000000, 1 << 22};
        for (const std::uint64_t step : steps)
            for (const std::uint64_t position : {0u, 1u, 65535u, 65536u, 5000000u})
                for (std::uint32_t count = 1; count < 260; count += count < 70 ? 1 : 37)
                    TestLinear(count, {position, step});
        InterpolateLinear(nullptr, 0, nullptr, {0, 65536});
    });
}

// The sum by the rule: upper half onto lower half.
float Folded(std::vector<float> products) {
    while (products.size() > 1) {
        const std::size_t half = products.size() / 2;
        for (std::size_t t = 0; t < half; ++t)
            products[t] += products[t + half];
        products.resize(half);
    }
    return products[0];
}

void TestSinc(std::uint32_t count, std::uint32_t taps, SincWalk walk) {
    const Row rows(64 * taps), input(((walk.position + (count - 1) * walk.step) >> 19) + taps);
    const Row output(count, count), expected(output);
    for (std::uint32_t k = 0; k < count; ++k) {
        const std::uint32_t r = walk.position + k * walk.step;
        std::vector<float> products;
        for (std::uint32_t t = 0; t < taps; ++t)
            products.push_back(rows.data()[(r >> 13 & 63) * taps + t] * input.data()[(r >> 19) + t]);
        expected.data()[k] = Folded(products);
    }
    ProduceSinc(output.data(), count, input.data(), {rows.data(), taps}, walk);
    EXPECT_EQ(output, expected) << count << " of " << taps << " at " << walk.position << " by " << walk.step;
}

TEST(Kernels, ProduceSinc_EqualsTheFoldedSum) {
    OnEveryTarget([] {
        for (const std::uint32_t taps : {4u, 8u, 16u})
            for (const std::uint32_t step : {1u, 481689u, 1u << 19, 1100000u, 1u << 25})
                for (const std::uint32_t position : {0u, (1u << 19) - 1, 600u << 19 | 77777u})
                    for (std::uint32_t count = 1; count < 50; ++count)
                        TestSinc(count, taps, {position, step});
        ProduceSinc(nullptr, 0, nullptr, {nullptr, 4}, {0, 1});
    });
}

void TestFirstOrder(std::uint32_t count, std::uint32_t frames, bool inPlace) {
    const std::vector<Row> inputs = Rows(count, frames, 1), outputs = Rows(count, frames, 2);
    std::vector<FirstOrderSection> sections;
    for (std::uint32_t r = 0; r < count; ++r) {
        const float f = static_cast<float>(r + 1) / 40;
        sections.push_back({inputs[r].data(), (inPlace ? inputs : outputs)[r].data(), f, 1 - f, 2 * f});
    }
    const std::vector<Row> expected = inputs;
    std::vector<float> memories;
    for (std::uint32_t r = 0; r < count; ++r) {
        float y1 = sections[r].y1;
        for (std::uint32_t i = 0; i < frames; ++i) {
            float& y = expected[r].data()[i];
            y = y1 = sections[r].b0 * y + sections[r].a * y1;
        }
        memories.push_back(y1);
    }
    RunFirstOrderSections(sections.data(), count, frames);
    EXPECT_EQ(inPlace ? inputs : outputs, expected) << count << " " << frames << " " << inPlace;
    for (std::uint32_t r = 0; r < count; ++r)
        EXPECT_EQ(sections[r].y1, memories[r]) << r << " of " << count << " " << frames;
}

TEST(Kernels, FirstOrderSections_EqualOneAloneInPlaceAndNot) {
    OnEveryTarget([] {
        for (std::uint32_t count = 0; count <= 37; ++count)
            for (const std::uint32_t frames : {0u, 1u, 3u, 4u, 5u, 46u})
                for (const bool inPlace : {false, true})
                    TestFirstOrder(count, frames, inPlace);
    });
}

// Two blocks, of 47 and 8 frames.
void TestCascades(std::uint32_t count) {
    const std::vector<Row> inputs = Rows(count, 55, 1), outputs = Rows(count, 55, 2), expected = outputs;
    std::uniform_real_distribution<float> noise(-0.5, 0.5);
    std::vector<SecondOrderSection> sections(std::size_t{count} * 3);
    for (SecondOrderSection& s : sections)
        for (double* value : {&s.a1, &s.a2, &s.b1, &s.b2, &s.b0, &s.s0, &s.s1})
            *value = noise(generator);
    std::vector<SecondOrderSection> own = sections;
    std::vector<CascadeRow> rows, later;
    for (std::uint32_t r = 0; r < count; ++r) {
        rows.push_back({inputs[r].data(), outputs[r].data(), &sections[3 * r]});
        later.push_back({inputs[r].data() + 47, outputs[r].data() + 47, &sections[3 * r]});
        for (std::uint32_t i = 0; i < 55; ++i) {
            double x = inputs[r].data()[i];
            for (SecondOrderSection* s = &own[3 * r]; s < &own[3 * r] + 3; ++s) {
                const double w = (x - s->a2 * s->s1) - s->a1 * s->s0;
                x = (s->b1 * s->s0 + s->b2 * s->s1) + s->b0 * w;
                s->s1 = s->s0;
                s->s0 = w;
            }
            expected[r].data()[i] += static_cast<float>(x) * 0.7f;
        }
    }
    AddCascades(rows.data(), count, 47, 0.7f);
    AddCascades(later.data(), count, 8, 0.7f);
    EXPECT_EQ(outputs, expected) << count;
}

TEST(Kernels, AddCascades_EqualsTheSectionsOneAfterTheOther) {
    OnEveryTarget([] {
        for (std::uint32_t count = 1; count <= 26; ++count)
            TestCascades(count);
    });
}

// Samples at the ends of what is finite, wherever one that isn't may stand, and behind the row.
TEST(Kernels, IsFiniteRow_FindsWhatIsNotWhereverItStands) {
    using Limits = std::numeric_limits<float>;
    const float fit[] = {Limits::max(), Limits::lowest(), Limits::denorm_min(), -0.0F};
    const float unfit[] = {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
                           -Limits::signaling_NaN()};
    OnEveryTarget([&] {
        for (std::uint32_t frames = 0; frames < 300; ++frames) {
            const Row row(frames + 1, frames);
            for (std::uint32_t i = 0; i < frames; ++i)
                row.data()[i] = fit[(i + frames) % std::size(fit)];
            row.data()[frames] = Limits::quiet_NaN();
            EXPECT_TRUE(IsFiniteRow(row.data(), frames)) << frames;
            for (std::uint32_t i = 0; i < frames; ++i) {
                const float kept = std::exchange(row.data()[i], unfit[(i + frames) % std::size(unfit)]);
                ASSERT_FALSE(IsFiniteRow(row.data(), frames)) << i << " of " << frames;
                row.data()[i] = kept;
            }
        }
    });
}

}  // namespace
}  // namespace hcml
