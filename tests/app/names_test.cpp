// The names of all kinds of objects, which follow the same rules.

#include <array>
#include <limits>

#include "tests/support/contextfixture.h"

namespace {

using Names = std::array<ALuint, 3>;

struct Kind {
    ALenum ofBadName, ofNegative, ofHuge;  // the codes of such names and counts
    void (*gen)(ALsizei, ALuint*);
    void (*remove)(ALsizei, const ALuint*);
    ALboolean (*is)(ALuint);
};

constexpr ALenum value = AL_INVALID_VALUE, operation = AL_INVALID_OPERATION;
constexpr auto genSlots = alGenAuxiliaryEffectSlots;
constexpr auto deleteSlots = alDeleteAuxiliaryEffectSlots;
constexpr Kind buffers{AL_INVALID_NAME, value, operation, alGenBuffers, alDeleteBuffers, alIsBuffer};
constexpr Kind sources{value, value, value, alGenSources, alDeleteSources, alIsSource};
constexpr Kind effects{value, value, value, alGenEffects, alDeleteEffects, alIsEffect};
constexpr Kind filters{value, value, value, alGenFilters, alDeleteFilters, alIsFilter};
constexpr Kind slots{value, AL_NO_ERROR, value, genSlots, deleteSlots, alIsAuxiliaryEffectSlot};

class NameCalls : public testing_support::ContextFixture, public testing::WithParamInterface<Kind> {
protected:
    const Kind& kind = GetParam();
};

class NamesOfAContext : public NameCalls {};

TEST_P(NameCalls, DeletedNames_ComeBackLowestFirstThenNewOnesFollow) {
    Names names{}, gone{3, 1, 3};
    kind.gen(3, names.data());
    EXPECT_EQ(names, (Names{1, 2, 3}));
    kind.remove(3, gone.data());
    EXPECT_TRUE(kind.is(2));
    for (const ALuint name : {0u, 1u, 3u, 4u, 0xFFFFFFFFu})
        EXPECT_FALSE(kind.is(name)) << name;
    kind.gen(3, names.data());
    EXPECT_EQ(names, (Names{1, 3, 4}));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_P(NameCalls, Delete_WithOneBadName_DeletesNone) {
    const Names names{New(kind.gen), 4711, 1};
    ExpectCodes({{kind.ofBadName, [&] { kind.remove(3, names.data()); }}});
    EXPECT_TRUE(kind.is(1));
}

TEST_P(NameCalls, ListsWithoutSense_AreRefused) {
    constexpr ALsizei huge = std::numeric_limits<ALsizei>::max();
    Names names{99};
    ExpectCodes({{kind.ofNegative, [&] { kind.gen(-1, names.data()); }},
                 {kind.ofNegative, [&] { kind.remove(-1, names.data()); }},
                 {kind.ofHuge, [&] { kind.gen(huge, names.data()); }},
                 {kind.ofHuge, [&] { kind.remove(huge, names.data()); }},
                 {AL_INVALID_VALUE, [&] { kind.gen(1, nullptr); }},
                 {AL_INVALID_VALUE, [&] { kind.remove(1, nullptr); }}});
    EXPECT_EQ(names[0], 99u);
}

TEST_P(NamesOfAContext, WithoutOne_AreInvalidOperations) {
    process.currentContext = nullptr;
    ExpectCodes({{AL_INVALID_OPERATION, [&] { New(kind.gen); }},
                 {AL_INVALID_OPERATION, [&] { kind.remove(1, nullptr); }},
                 {AL_INVALID_OPERATION, [&] { kind.is(1); }}});
}

INSTANTIATE_TEST_SUITE_P(All, NameCalls, testing::Values(buffers, sources, effects, filters, slots));
INSTANTIATE_TEST_SUITE_P(All, NamesOfAContext, testing::Values(sources, effects, filters, slots));

}  // namespace
