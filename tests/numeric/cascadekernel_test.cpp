#include "numeric/kernels/cascadekernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "hwy/targets.h"
#include "numeric/fixedcascadeprocessor.h"

namespace hcml {
namespace {

// What is added to two blocks of 47 and 8 frames, of `count` rows in batches of `batch`, on one target; 0 is
// what the machine has.
std::vector<std::vector<float>> Add(std::int64_t target, std::uint32_t count, std::uint32_t batch) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    std::minstd_rand generator;
    std::uniform_real_distribution<float> noise(-0.5, 0.5);
    const std::vector<float> input(55, 1);
    std::vector<std::vector<float>> outputs(count, input);
    for (std::uint32_t first = 0; first < count; first += batch) {
        std::vector<dsp::FixedCascadeProcessor<3>> cascades(std::min(batch, count - first));
        std::vector<CascadeRow> rows, later;
        for (auto& cascade : cascades) {
            for (SecondOrderSection& s : cascade.sections)
                for (double* value : {&s.a1, &s.a2, &s.b1, &s.b2, &s.b0, &s.s0, &s.s1})
                    *value = noise(generator);
            float* output = outputs[first + rows.size()].data();
            rows.push_back({input.data(), output, cascade.sections.data()});
            later.push_back({input.data(), output + 47, cascade.sections.data()});
        }
        AddCascades(rows.data(), static_cast<std::uint32_t>(rows.size()), 47, 0.7f);
        AddCascades(later.data(), static_cast<std::uint32_t>(rows.size()), 8, 0.7f);
    }
    return outputs;
}

TEST(CascadeKernel, AddCascades_OnEachTarget_EqualsOneRowAfterTheOtherBitForBit) {
    const std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
    for (std::uint32_t count = 1; count <= 26; ++count)
        for (const std::int64_t target : targets)
            EXPECT_EQ(Add(target, count, count), Add(0, count, 1)) << target << " " << count;
    Add(0, 1, 1);  // leaves what the machine has
}

}  // namespace
}  // namespace hcml
