#include "tools/navctl/files/CsvRow.h"

#include <gtest/gtest.h>

using Values = std::vector<std::string>;

TEST(CsvRow, SplitsAtCommasOutsideDoubleQuotes)
{
    const struct
    {
        const char* line;
        Values values;
    } rows[] = {
        {"", {""}},
        {"a,b", {"a", "b"}},
        {" a , b\t", {"a", "b"}},
        {"a,,", {"a", "", ""}},
        {"\"a,b\",c", {"a,b", "c"}},
        {"\"say \"\"hi\"\"\"", {"say \"hi\""}},
        {"\"\",x", {"", "x"}},
    };
    for (const auto& row : rows) {
        Values values;
        EXPECT_TRUE(SplitCsvLine(row.line, values)) << row.line;
        EXPECT_EQ(row.values, values) << row.line;
    }
}

TEST(CsvRow, RefusesDoubleQuotesThatAreNotClosedOrFollowed)
{
    Values values;
    for (const char* line : {"\"a", "\"a\"b", "x,\"a\"\"", "\"a\" b,c"}) {
        EXPECT_FALSE(SplitCsvLine(line, values)) << line;
    }
}

TEST(CsvRow, WritesValuesThatItReadsBack)
{
    Values values;
    for (const std::string value : {"plain", "a,b", "say \"hi\"", ""}) {
        ASSERT_TRUE(SplitCsvLine(CsvValue(value), values)) << value;
        EXPECT_EQ(Values{value}, values);
    }
}

TEST(CsvRow, TakesFiniteNumbersAlone)
{
    EXPECT_EQ(-1.5, FiniteNumber("-1.5"));
    EXPECT_EQ(2000.0, FiniteNumber("2e3"));
    for (const char* text : {"", "nan", "inf", "-inf", "1,5", "1.5x", "0x10", "1e999"}) {
        EXPECT_EQ(std::nullopt, FiniteNumber(text)) << text;
    }
}

TEST(CsvHeader, FindsColumnsWithoutRegardToCaseAndUnit)
{
    CCsvHeader header({"Time_s", "x_m", "Heading_deg", "note"});
    EXPECT_EQ(0U, header.Find({"time"})->index);
    EXPECT_EQ(1U, header.Find({"east", "x"})->index);
    EXPECT_FALSE(header.Find({"x"})->degrees);
    EXPECT_TRUE(header.Find({"heading"})->degrees);
    EXPECT_FALSE(header.Find({"y"}).has_value());
    EXPECT_EQ(Values{"note"}, header.Unused());
}
