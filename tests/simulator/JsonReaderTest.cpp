#include "simulator/settings/JsonReader.h"

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "simulator/aside/LongWork.h"
#include "simulator/settings/KeptValues.h"

namespace {

using EExcess = JsonDocument::EExcess;

/// A list of as many empty objects as fit.
std::string ListOfObjects(std::size_t bytes)
{
    std::string text = "[{}";
    while (text.size() + 4 <= bytes) {
        text += ",{}";
    }
    return text + "]";
}

TEST(JsonReader, ReadsAsTheLibraryDoes)
{
    for (const std::string text :
         {R"({"a":[1,-2,2.5,true,false,null,"\u00e4\n"],"b":{"c":{},"d":[[],[{}]]},"":[]})", "[]",
          "{}", "7", "-1e-3", "\"x\"", "null", " [ 18446744073709551615, {\"a\": [1]} ] ",
          "\xEF\xBB\xBF[1]"}) {
        const JsonDocument read = ReadJson(text);

        EXPECT_EQ(nlohmann::json::parse(text), read.value) << text;
        EXPECT_EQ(EExcess::None, read.excess) << text;
        EXPECT_FALSE(read.twice) << text;
    }
}

TEST(JsonReader, KeepsNothingOfATextThatIsNoJson)
{
    for (const std::string& text :
         {std::string(), std::string("[1,"), std::string("[1]]"), std::string("{\"a\"}"),
          std::string("[1]\0", 4), std::string("[\"\xFF\"]"), std::string("[1e999]")}) {
        EXPECT_TRUE(ReadJson(text).value.is_discarded()) << text;
    }
}

TEST(JsonReader, FindsTheFirstNameThatAnObjectHasTwice)
{
    EXPECT_EQ("b", ReadJson(R"([{"a":1},{"a":{"b":1,"c":{},"\u0062":2},"a":3}])").twice);
    EXPECT_EQ(std::nullopt, ReadJson(R"({"a":{"a":{"a":1}},"b":[{"a":1},{"a":1}]})").twice);
}

TEST(JsonReader, StopsAtItsLimits)
{
    const JsonLimits limits{5, 2};
    EXPECT_EQ(EExcess::None, ReadJson(R"({"a":[1,2]})", limits).excess) << "with the name";
    EXPECT_EQ(EExcess::None, ReadJson("[[[]]]", limits).excess);
    for (const std::string text : {"[1,2,3,4,5]", "[1,2,3,4,5,no JSON"}) {
        const JsonDocument read = ReadJson(text, limits);
        EXPECT_EQ(EExcess::Values, read.excess) << text;
        EXPECT_TRUE(read.value.is_discarded()) << text;
    }
    EXPECT_EQ(EExcess::Nesting, ReadJson("[[[1", limits).excess);
    EXPECT_EQ(EExcess::Nesting, ReadJson("[[[[", limits).excess);
}

TEST(JsonReader, StopsWithTheWorkThatItBelongsTo)
{
    const std::atomic<bool> stop{true};
    g_workStop = &stop;
    EXPECT_THROW(ReadJson("[1]"), CWorkEnded);
    g_workStop = nullptr;
}

// It would take minutes if each object were looked at again for each that follows.
TEST(JsonReader, TakesNoLongerForAnObjectBehindManyOthers)
{
    constexpr std::size_t kFourMebibytes = std::size_t{4} << 20U;
    EXPECT_EQ((kFourMebibytes - 1) / 3, ReadJson(ListOfObjects(kFourMebibytes)).value.size());
}

TEST(KeptValues, AreRefusedAtOnceWhereAListOfAsManyObjectsAsFitIsInTheirPlace)
{
    KeptValues values;
    const std::string text = R"({"settings":)" + ListOfObjects((std::size_t{1} << 20U) - 20) + "}";

    EXPECT_EQ("it is no JSON object with an object \"settings\"", ParseKeptValues(text, values));
}

TEST(KeptValues, MayBeNestedWithoutEndAndAreRefused)
{
    KeptValues values;
    const std::string text =
        R"({"settings":{"a":)" + std::string(500000, '[') + std::string(500000, ']') + "}}";

    EXPECT_EQ("\"a\" is a list, allowed is a number, true or false", ParseKeptValues(text, values));
}

} // namespace
