// The values of the tokens: games were compiled with them, so each is fixed for good. tokens.txt has a name
// and its number in each line.

#include "AL/tessarune.h"
#include "app/goaldll/alcenums.h"
#include "app/goaldll/alenums.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iomanip>
#include <map>
#include <string>

namespace goal {
namespace {

using Values = std::map<std::string, int>;

TEST(TokenTables, HaveEveryPublishedTokenOnceWithItsValue) {
    Values published, known;
    std::ifstream file(TOKENS);
    file >> std::setbase(0);
    std::string name;
    for (int value = 0; file >> name >> value;)
        EXPECT_TRUE(published.emplace(name, value).second) << name;
    for (const auto& table : {AlEnums(), AlcEnums()})
        for (const EnumRow& row : table)
            EXPECT_TRUE(known.emplace(row.name, row.value).second) << row.name;
    EXPECT_EQ(AlEnums().size(), 281U);
    EXPECT_EQ(AlcEnums().size(), 30U);
    EXPECT_EQ(known, published);
}

static_assert(AL_EFFECT_FREQUENCY_SHIFTER == 6 && AL_EFFECT_VOCAL_MORPHER == 7 &&
              AL_EFFECT_PITCH_SHIFTER == 8);
static_assert(AL_EFFECT_AUTOWAH == 10 && AL_DEDICATED_GAIN == 1 && AL_ILLEGAL_ENUM == 0xA002 &&
              AL_ILLEGAL_COMMAND == 0xA004);
static_assert(AL_EAXREVERB_DEFAULT_REFLECTIONS_PAN_XYZ == 0.0f &&
              AL_EAXREVERB_DEFAULT_LATE_REVERB_PAN_XYZ == 0.0f);

}  // namespace
}  // namespace goal
