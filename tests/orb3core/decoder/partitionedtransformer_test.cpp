// The transformer against direct convolution in double precision, and against itself on every vector target
// of this machine.

#include "orb3core/decoder/partitionedtransformer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "slib/exception.h"
#include "tests/support/allocationcounter.h"
#include "tests/support/noise.h"
#include "tests/support/vectortargets.h"

namespace orb3 {
namespace {

using Transform = strans::TimeDomainTransform<float, 1>;
using Matrix = hcml::GenericMatrix<float, 1>;

constexpr float threshold = 1e-8f;

std::minstd_rand generator;

struct Case {
    std::uint32_t inputs, outputs, width, start, length, block;
};

// Every third pair has no response.
Transform RandomTransform(const Case& c) {
    Transform transform{48000, c.start, c.width, {c.inputs, c.outputs}};
    std::uniform_real_distribution<float> noise(-1, 1);
    for (std::uint32_t pair = 0; pair < transform.impulses.size; ++pair) {
        hcml::GenericVector<float, 1>& ring = transform.impulses[pair];
        ring.resize(c.length);
        ring.fill(0);
        for (std::uint32_t k = 0; k < c.width && pair % 3 != 2; ++k)
            ring[(c.start + k) % c.length] = noise(generator);
    }
    return transform;
}

Matrix RandomSignal(std::uint32_t frames, std::uint32_t channels) {
    Matrix signal(frames, channels);
    testing_support::FillWithNoise(signal, generator);
    return signal;
}

double Direct(const Transform& transform, const Matrix& input, std::uint32_t frame, std::uint32_t output) {
    double sum = 0;
    for (std::uint32_t i = 0; i < input.columns; ++i)
        for (std::uint32_t k = 0; k < transform.width && k <= frame; ++k)
            sum += double(transform.impulses(i, output)[(transform.start + k) % transform.Length()]) *
                   double(input(frame - k, i));
    return sum;
}

// All of the signal, by turns interleaved and planar, in calls of one, two and three blocks.
Matrix Process(UnbufferedPartitionedTransformer_v4& transformer, const Matrix& input) {
    const std::uint32_t block = transformer.blockLength;
    Matrix output(input.rows, transformer.outputCount), part;
    for (std::uint32_t done = 0, call = 0; done < input.rows; done += part.rows, ++call) {
        const std::uint32_t frames = std::min((call % 3 + 1) * block, input.rows - done);
        Matrix interleaved(frames, input.columns);
        std::copy_n(&input(done, 0), interleaved.size, interleaved.data);
        hcml::ac::Bus bus(frames, input.columns);
        for (std::uint32_t e = 0; e < interleaved.size; ++e)
            bus.channels[e % input.columns][e / input.columns] = interleaved[e];
        if (call % 2 == 0)
            transformer.process(bus, part);
        else
            transformer.process(interleaved, part);
        std::copy_n(part.data, part.size, &output(done, 0));
    }
    return output;
}

class Transformer : public testing::TestWithParam<Case> {};

TEST_P(Transformer, EqualsDirectConvolution_InTwoConfigurationsOfOneObject) {
    const Case& c = GetParam();
    UnbufferedPartitionedTransformer_v4 transformer;
    for (const std::uint32_t again : {0u, 1u}) {
        const Transform transform = RandomTransform(c);
        transformer.configure(transform, threshold, c.block);
        EXPECT_EQ(transformer.startLatency, c.start == 0 || c.width == 1 ? 0 : c.length - c.start) << again;
        const Matrix input = RandomSignal((c.width / c.block + 5) * c.block, c.inputs);
        const Matrix output = Process(transformer, input);
        ASSERT_EQ(output.columns, c.outputs);
        const std::uint32_t step = c.width > 200 ? 61 : 1;
        double peak = 0, error = 0;
        for (std::uint32_t frame = 0; frame < output.rows; frame += step) {
            for (std::uint32_t o = 0; o < c.outputs; ++o) {
                const double expected = Direct(transform, input, frame, o);
                peak = std::max(peak, std::abs(expected));
                error = std::max(error, std::abs(expected - double(output(frame, o))));
            }
        }
        EXPECT_LT(error, 1e-6 * peak) << again;
    }
}

constexpr Case cases[] = {
    {.inputs = 25, .outputs = 2, .width = 1, .start = 7, .length = 8, .block = 300},  // gains
    {.inputs = 1, .outputs = 1, .width = 2, .start = 0, .length = 2, .block = 64},
    {.inputs = 5, .outputs = 2, .width = 65, .start = 1000, .length = 1024, .block = 64},
    {.inputs = 25, .outputs = 2, .width = 512, .start = 0, .length = 512, .block = 256},
    {.inputs = 16, .outputs = 8, .width = 1026, .start = 1, .length = 2048, .block = 513},
    {.inputs = 7, .outputs = 1, .width = 5000, .start = 3, .length = 8192, .block = 128},
    {.inputs = 2, .outputs = 2, .width = 33, .start = 0, .length = 64, .block = 11},
    {.inputs = 2, .outputs = 3, .width = 2048, .start = 2047, .length = 2048, .block = 480},
};
INSTANTIATE_TEST_SUITE_P(Shapes, Transformer, testing::ValuesIn(cases));

TEST(PartitionedTransformer, PartitionsUpToTheThreshold_AreDropped) {
    Transform transform = RandomTransform({2, 2, 128, 0, 128, 64});
    for (auto& ring : transform.impulses)
        ring.fill(threshold);
    transform.impulses(0, 1)[64] = std::nextafter(threshold, 1.0f);
    UnbufferedPartitionedTransformer_v4 transformer;
    transformer.configure(transform, threshold, 64);
    for (std::uint32_t pair = 0; pair < 4; ++pair) {
        EXPECT_EQ(transformer.partitions[0].real[pair].size, 0u) << pair;
        EXPECT_EQ(transformer.partitions[1].real[pair].size, pair == 1 ? 65u : 0u) << pair;
    }
}

TEST(PartitionedTransformer, EveryVectorTarget_GivesTheSameBits) {
    for (const std::uint32_t block : {8u, 16u, 32u, 250u}) {
        const Transform transform = RandomTransform({5, 5, 300, 0, 512, block});
        const Matrix input = RandomSignal(8 * block, 5);
        testing_support::ExpectSameOnEveryTarget([&] {
            UnbufferedPartitionedTransformer_v4 transformer;
            transformer.configure(transform, threshold, block);
            return Process(transformer, input);
        });
    }
}

TEST(PartitionedTransformer, BlocksThatDoNotFitAreRefused_AndTheOthersAllocateNothing) {
    UnbufferedPartitionedTransformer_v4 transformer;
    Matrix output;
    EXPECT_THROW(transformer.process(Matrix(64, 2), output), slib::BadParameterException);
    const Transform transform = RandomTransform({2, 2, 100, 0, 128, 64});
    EXPECT_THROW(transformer.configure(transform, threshold, 0), slib::BadParameterException);
    transformer.configure(transform, threshold, 64);
    EXPECT_THROW(transformer.process(Matrix(65, 2), output), slib::BadParameterException);
    EXPECT_THROW(transformer.process(hcml::ac::Bus(64, 3), output), slib::BadParameterException);
    const hcml::ac::Bus bus(128, 2);
    transformer.process(bus, output);
    const std::size_t before = testing_support::AllocationsOfThisThread();
    transformer.process(bus, output);
    EXPECT_EQ(testing_support::AllocationsOfThisThread(), before);
}

}  // namespace
}  // namespace orb3
