#include "AL/tessarune.h"
#include "app/goaldll/alcprocs.h"
#include "app/goaldll/alprocs.h"
#include "app/goaldll/extensions.h"
#include "app/goaldll/nametable.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <span>
#include <string>

namespace goal {
namespace {

struct ProcTable {
    std::span<const ProcRow> rows;
    std::size_t size;
};

class ProcTables : public testing::TestWithParam<ProcTable> {};

TEST_P(ProcTables, HaveOneRowAndOneEntryPointForEachName) {
    std::set<std::string> names;
    std::set<void*> entries;
    for (const ProcRow& row : GetParam().rows) {
        names.insert(row.name);
        entries.insert(row.entry);
    }
    EXPECT_EQ(GetParam().rows.size(), GetParam().size);
    EXPECT_EQ(names.size(), GetParam().size);
    EXPECT_EQ(entries.size(), GetParam().size);
    EXPECT_FALSE(entries.contains(nullptr));
}

INSTANTIATE_TEST_SUITE_P(Both, ProcTables,
                         testing::Values(ProcTable{AlProcs(), 109}, ProcTable{AlcProcs(), 21}));

TEST(ProcTables, CallThroughTheEntryPoint_ReachesTheCall) {
    const ProcRow* row = Find(AlcProcs(), "tsrGetVersion");
    ASSERT_NE(row, nullptr);
    ALCint version[3] = {-1, -1, -1};
    reinterpret_cast<LPTSRGETVERSION>(row->entry)(&version[0], &version[1], &version[2]);
    EXPECT_EQ(version[0], 2);
    EXPECT_EQ(version[1], 5);
    EXPECT_EQ(version[2], 1);
}

TEST(Find, TakesExactNamesOnly) {
    EXPECT_STREQ(Find(AlProcs(), "alSourcePlay")->name, "alSourcePlay");
    EXPECT_STREQ(Find(AlProcs(), "alSourcePlayv")->name, "alSourcePlayv");
    EXPECT_STREQ(Find(AlProcs(), "alRequestFoldbackStop")->name, "alRequestFoldbackStop");
    for (const char* name : {"", "al", "alsourceplay", "alSourcePlay ", "alcOpenDevice", "tsrGetVersion"}) {
        EXPECT_EQ(Find(AlProcs(), name), nullptr) << name;
    }
    EXPECT_EQ(Find(AlcProcs(), "alGetError"), nullptr);
}

TEST(Extensions, TextsAreTheNamesWithOneBlankBetweenThem) {
    EXPECT_STREQ(
        AlExtensions().text,
        "AL_EXT_BFORMAT AL_EXT_DOUBLE AL_EXT_EXPONENT_DISTANCE AL_EXT_FLOAT32 AL_EXT_FOLDBACK AL_EXT_IMA4 "
        "AL_EXT_LINEAR_DISTANCE AL_EXT_MCFORMATS AL_EXT_MULAW AL_EXT_MULAW_BFORMAT AL_EXT_MULAW_MCFORMATS "
        "AL_EXT_OFFSET AL_EXT_SOURCE_RADIUS AL_EXT_STEREO_ANGLES");
    EXPECT_STREQ(AlcExtensions().text,
                 "ALC_ENUMERATE_ALL_EXT ALC_ENUMERATION_EXT ALC_EXT_CAPTURE ALC_EXT_DEDICATED "
                 "ALC_EXT_DEFAULT_FILTER_ORDER ALC_EXT_EFX ALC_EXT_STATIC_BUFFER");
}

struct Asked {
    const char* name;
    bool inAl, inAlc;
};

class Contains : public testing::TestWithParam<Asked> {};

TEST_P(Contains, IgnoresCaseAndWantsTheWholeName) {
    EXPECT_EQ(AlExtensions().contains(GetParam().name), GetParam().inAl);
    EXPECT_EQ(AlcExtensions().contains(GetParam().name), GetParam().inAlc);
}

INSTANTIATE_TEST_SUITE_P(
    Names, Contains,
    testing::Values(Asked{"AL_EXT_FLOAT32", true, false}, Asked{"al_ext_float32", true, false},
                    Asked{"Al_Ext_Mulaw", true, false}, Asked{"AL_EXT_MULA", false, false},
                    Asked{"AL_EXT_MULAW_", false, false}, Asked{"", false, false},
                    Asked{"AL_EXT_BFORMAT AL_EXT_DOUBLE", false, false}, Asked{"alc_ext_efx", false, true},
                    Asked{"ALC_EXT_EFX\x7f", false, false},
                    Asked{"AL\x7f"
                          "EXT_IMA4",
                          false, false}));

}  // namespace
}  // namespace goal
