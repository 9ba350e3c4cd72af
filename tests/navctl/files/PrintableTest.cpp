#include <cmath>

#include <gtest/gtest.h>

#include "tools/navctl/NumberText.h"
#include "tools/navctl/Output.h"

TEST(Printable, WritesControlCharactersAsTheirCodes)
{
    EXPECT_EQ("plain words\nover lines, \u00e9\u00e4",
              Printable("plain words\nover lines, \u00e9\u00e4"));
    EXPECT_EQ("\\x1b[31mred\\x07\\x00", Printable(std::string("\x1b[31mred\x07\0", 10)));
    EXPECT_EQ("\\u009b31m \\x7f \\x0d", Printable("\u009b31m \x7f \r"));
    EXPECT_EQ("\xff\xc2", Printable("\xff\xc2")) << "what is no UTF-8 stays";
}

TEST(NumberText, HasAsManyDecimalsAsAskedFor)
{
    EXPECT_EQ("1.50", Fixed(1.5, 2));
    EXPECT_EQ("-2", Fixed(-2.0, 0));
    EXPECT_EQ("+0.125", Signed(0.125, 3));
    EXPECT_EQ(309U + 4U, Fixed(1e308, 3).size());
    EXPECT_EQ("nan", Fixed(std::nan(""), 3));
}
