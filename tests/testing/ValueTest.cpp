#include "testing/Value.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using Kestrove::Testing::Copy;
using Kestrove::Testing::CValue;
using Kestrove::Testing::Describe;
using Kestrove::Testing::ToList;

namespace {

struct ValueRow
{
    std::vector<CValue> values;
    const char* text;
};

const ValueRow kRows[] = {
    {{}, "[]"},
    {{1, -7, 0}, "[int 1, int -7, int 0]"},
    {{true, false}, "[int 1, int 0]"},
    {{2.5, 2.0, -0.0, 0.1}, "[double 2.5, double 2, double -0, double 0.1]"},
    {{1e300, std::numeric_limits<double>::infinity()}, "[double 1e+300, double inf]"},
    {{"", "a b", "q\"\\"}, R"(["", "a b", "q\"\\"])"},
    {{std::string("\0\x1f\x7f", 3)}, R"(["\x00\x1f\x7f"])"},
    {{CValue::Nothing()}, "[nothing]"},
    {{1, {2.5, {"x"}, {}}}, R"([int 1, [double 2.5, ["x"], []]])"},
    {{CValue::List({1, 2})}, "[[int 1, int 2]]"},
};

} // namespace

TEST(Value, IsWrittenDownInBracesAndDescribedAsText)
{
    for (const ValueRow& row : kRows) {
        EXPECT_EQ(row.text, Describe(*ToList(row.values)));
    }
}

TEST(Value, CopiesToTheSameValue)
{
    for (const ValueRow& row : kRows) {
        EXPECT_EQ(row.text, Describe(*Copy(*ToList(row.values))));
    }
}

TEST(Value, DescribesAndCopiesDictionariesAndNumbersInPlace)
{
    BListC list(nullptr);
    list.AddInt64(4294967296);
    list.AddDouble(0.5);
    list.AddNothing();
    auto* const dictionary = new BDictionaryC(nullptr);
    dictionary->Add("a", new BAtomC(1));
    dictionary->Add("b", new BListC(nullptr));
    list.Add(dictionary);
    const char* const text = R"([int 4294967296, double 0.5, nothing, {"a": int 1, "b": []}])";
    EXPECT_EQ(text, Describe(list));
    EXPECT_EQ(text, Describe(*Copy(list)));
}
