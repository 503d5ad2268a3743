// The values of the tokens: games were compiled with them, so each is fixed for good. tokens.txt has a name
// and its number in each line.

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
    EXPECT_EQ(known, published);
}

}  // namespace
}  // namespace goal
