// The bounds of what is read of JSON that others wrote.

#include "tools/support/jsonobject.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/support/wronguse.h"

namespace {

std::string Nested(int levels) {
    std::string text(static_cast<std::size_t>(levels - 1), '[');
    return R"({"a":)" + text + std::string(text.size(), ']') + "}";
}

std::string Members(int count) {
    std::string text = "{\"a\":0";
    for (int i = 1; i < count; ++i)
        text += ",\"b" + std::to_string(i) + "\":0";
    return text + "}";
}

TEST(JsonObject, IsReadWithinItsBounds_AndRefusedBeyondThem) {
    EXPECT_EQ(tool::ParseJsonObject(R"({"a":[1,{"b":"\u00e4"}]})")["a"][1]["b"], "ä");
    EXPECT_NO_THROW(tool::ParseJsonObject(Nested(tool::deepestJson)));
    EXPECT_NO_THROW(tool::ParseJsonObject(Members(4000)));
    for (const std::string& text :
         {Nested(tool::deepestJson + 1), Nested(100000), Members(5000), std::string("[]"), std::string(""),
          std::string("{} {}"), std::string("{\"a\":1e999}"), std::string("{\"a\":\"\xff\"}")})
        EXPECT_THROW(tool::ParseJsonObject(text), tool::WrongUse) << text.substr(0, 40);
}

}  // namespace
