#include "goal/dsp/sectionbatch.h"

#include <algorithm>

#include "goal/dsp/antidenormal.h"

namespace goal {

SectionBatch::SectionBatch(std::uint32_t blockFrames)
    : head(std::min<std::uint32_t>(32, blockFrames)), frames(blockFrames - head) {}

void SectionBatch::Add(const hcml::FirstOrderSection& section, SourceFilterState& state) {
    sections[count] = section;
    states[count] = &state;
    if (++count == capacity) Run();
}

void SectionBatch::Run() {
    hcml::RunFirstOrderSections(sections.data(), count, frames);
    for (std::uint32_t s = 0; s < count; ++s)
        states[s]->memory[0][0] = KeptInMemory(sections[s].y1);
    count = 0;
}

}  // namespace goal
