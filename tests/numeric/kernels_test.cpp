// Each kernel against the loop that says what it computes, bit for bit, on every vector target of this
// machine. Blocks have exactly the floats that a kernel may touch, so that the address sanitizer sees any
// other. The Fourier kernel and the products of spectra are tested with the partitioned transformer, which is
// nothing but kernels, the loops of the reverbs with these, and what takes channels apart with the readers of
// sources.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "numeric/kernels/cascadekernel.h"
#include "numeric/kernels/clipkernel.h"
#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/firkernel.h"
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

void TestMovingMix(std::uint32_t channelCount, std::uint32_t sourceCount, std::uint32_t vectors) {
    constexpr std::uint32_t stride = gainsPerRow + 3;
    const std::vector<Row> channels = Rows(channelCount, vectors * 4, 1);
    const std::vector<Row> sources = Rows(sourceCount, vectors * 4, 2);
    const Row gains(std::size_t{sourceCount} * stride), steps(std::size_t{sourceCount} * stride, 1);
    const std::vector<Row> expected = channels;
    for (std::uint32_t s = 0; s < sourceCount; ++s)
        for (std::uint32_t c = 0; c < channelCount; ++c)
            for (std::uint32_t i = 0; i < vectors * 4; ++i) {
                const std::uint32_t at = s * stride + c, step = i / framesPerStep;
                expected[c].data()[i] +=
                    (gains.data()[at] + static_cast<float>(step) * steps.data()[at]) * sources[s].data()[i];
            }
    const std::vector<float*> from = Pointers(sources), to = Pointers(channels);
    MixMovingSources({to.data(), channelCount, from.data(), sourceCount, gains.data(), stride, vectors},
                     steps.data());
    EXPECT_EQ(channels, expected) << channelCount << " " << sourceCount << " " << vectors;
}

TEST(Kernels, MixMovingSources_EqualsGainsThatMoveWithEachStep) {
    OnEveryTarget([] {
        for (const std::uint32_t channels : {1u, 4u, 9u, 16u, 25u, 32u})
            for (const std::uint32_t sources : {0u, 1u, 65u})
                TestMovingMix(channels, sources, 21 + channels % 5);
        for (std::uint32_t vectors = 0; vectors < 12; ++vectors)
            TestMovingMix(25, 3, vectors);
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

TEST(Kernels, FilterRows_SumsTheTapsInOrder) {
    OnEveryTarget([] {
        for (const std::uint32_t count : {0u, 1u, 31u, 64u, 100u, 133u}) {
            const std::vector<Row> inputs = Rows(3, count + 14, 1), taps = Rows(3, 15, 1);
            const Row output(count, 1), expected(count, 1);
            std::vector<FilteredRow> rows;
            for (std::uint32_t r = 0; r < 3; ++r)
                rows.push_back({inputs[r].data(), taps[r].data()});
            for (std::uint32_t i = 0; i < count; ++i) {
                float sum = 0;
                for (const FilteredRow& row : rows)
                    for (std::uint32_t t = 0; t < 15; ++t)
                        sum += row.taps[t] * row.input[i + t];
                expected.data()[i] = sum;
            }
            FilterRows(output.data(), count, rows.data(), 3, 15);
            EXPECT_EQ(output, expected) << count;
        }
    });
}

// By a sum over the way itself.
TEST(Kernels, MeanOfClipRow_IsTheMeanOfTheClip) {
    testing_support::ExpectSameOnEveryTarget([] {
        std::vector<float> from, to, made(144);
        for (const float a :
             {-40.0f, -1.0f, -0.3f, 0.0f, 0.7f, 1.0f, 1.001f, 1e9f, 0.7000001f, 3.0f, 0.5f, -2.0f})
            for (const float b :
                 {-40.0f, -1.0f, -0.3f, 0.0f, 0.7f, 1.0f, 1.001f, 1e9f, 0.7000001f, 3.0f, 0.5f, -2.0f})
                from.push_back(a), to.push_back(b);
        MeanOfClipRow(made.data(), from.data(), to.data(), 36);
        for (std::size_t i = 0; i < made.size(); ++i) {
            double mean = 0;
            for (int k = 0; k < 4000; ++k)
                mean += std::clamp(from[i] + (double{to[i]} - from[i]) * (k + 0.5) / 4000, -1.0, 1.0) / 4000;
            EXPECT_NEAR(made[i], mean, 3e-4) << from[i] << " " << to[i];
        }
        return made;
    });
}

// Samples at the ends of what is finite, wherever one that isn't may stand, and behind the row.
// Two dot products in sixteen lanes, a line between them, and the lanes folded.
float BlendedByTheLoop(const float* input, BlendedSincFilter filter, std::uint32_t position) {
    const std::uint32_t rowBits = 19 - filter.phasesLog2;
    const float* row = filter.rows + std::size_t{filter.taps} * (position % (1 << 19) >> rowBits);
    const float* window = input + (position >> 19);
    float part = static_cast<float>(position % (1U << rowBits)) / static_cast<float>(1U << rowBits);
    float sums[2][16]{};
    for (std::uint32_t t = 0; t < filter.taps; ++t)
        for (std::uint32_t r = 0; r < 2; ++r)
            sums[r][t % 16] += row[r * filter.taps + t] * window[t];
    for (std::uint32_t i = 0; i < 16; ++i)
        sums[0][i] += part * (sums[1][i] - sums[0][i]);
    for (std::uint32_t half = 8; half > 0; half /= 2)
        for (std::uint32_t i = 0; i < half; ++i)
            sums[0][i] += sums[0][i + half];
    return sums[0][0];
}

TEST(Kernels, ProduceBlendedSinc_EqualsTheLoop) {
    OnEveryTarget([] {
        for (const auto& [taps, phasesLog2] : {std::pair{16U, 0U}, {64U, 8U}, {96U, 7U}, {256U, 6U}}) {
            const Row rows(((std::size_t{1} << phasesLog2) + 1) * taps);
            const BlendedSincFilter filter{rows.data(), taps, phasesLog2};
            for (const std::uint32_t step : {1U, 481690U, 524288U, 1234567U}) {
                for (const std::uint32_t count : {1U, 3U, 4U, 37U}) {
                    const std::uint32_t last = 524287 + (count - 1) * step;
                    const Row input((last >> 19) + taps);
                    Row output(count);
                    ProduceBlendedSinc(output.data(), count, input.data(), filter, {524287, step});
                    for (std::uint32_t k = 0; k < count; ++k)
                        ASSERT_EQ(output.data()[k], BlendedByTheLoop(input.data(), filter, 524287 + k * step))
                            << taps << " taps, step " << step << ", output " << k << " of " << count;
                }
            }
        }
    });
}

// Counts around every vector's length; a step of one frame, and others.
TEST(Kernels, ProduceSinc_EqualsTheLoop) {
    OnEveryTarget([] {
        for (const std::uint32_t taps : {4U, 8U, 16U}) {
            for (std::uint32_t count = 1; count < 40; ++count) {
                for (const std::uint32_t step : {481690U, 524288U, 1234567U}) {
                    const Row rows(std::size_t{64} * taps), output(count);
                    const Row input(((400000 + (count - 1) * step) >> 19) + taps);
                    ProduceSinc(output.data(), count, input.data(), {rows.data(), taps}, {400000, step});
                    for (std::uint32_t k = 0, at = 400000; k < count; ++k, at += step) {
                        float sums[16];
                        for (std::uint32_t t = 0; t < taps; ++t)
                            sums[t] = rows.data()[(at >> 13) % 64 * taps + t] * input.data()[(at >> 19) + t];
                        for (std::uint32_t half = taps / 2; half > 0; half /= 2)
                            for (std::uint32_t t = 0; t < half; ++t)
                                sums[t] += sums[t + half];
                        ASSERT_EQ(output.data()[k], sums[0]) << taps << " " << step << " " << k;
                    }
                }
            }
        }
    });
}

TEST(Kernels, InterpolateLinear_EqualsTheLoop) {
    OnEveryTarget([] {
        for (std::uint32_t count = 1; count < 70; ++count) {
            for (const std::uint32_t step : {60211U, 65536U, 65537U, 200000U}) {
                const Row input(((40000 + (count - 1) * step) >> 16) + 2), output(count);
                InterpolateLinear(output.data(), count, input.data() + 1, {40000, step});
                for (std::uint32_t k = 0, at = 40000; k < count; ++k, at += step) {
                    const float* pair = input.data() + (at >> 16);
                    const auto part = static_cast<float>(at % 65536);
                    ASSERT_EQ(output.data()[k], (65536 - part) * pair[0] + part * pair[1])
                        << step << " " << k;
                }
            }
        }
    });
}

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
