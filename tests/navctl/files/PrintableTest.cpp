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
}

TEST(Printable, WritesEachByteThatIsNotUtf8AsItsCode)
{
    EXPECT_EQ("\\xff \\xc2", Printable("\xff \xc2"));
    EXPECT_EQ("fran\\xe7"
              "ais",
              Printable("fran\xe7"
                        "ais"))
        << "of another character set";
    EXPECT_EQ("\\xe2\\x82", Printable("\xe2\x82")) << "a letter cut off";
    EXPECT_EQ("\\xe2\\x82!", Printable("\xe2\x82!")) << "a letter cut short";
    EXPECT_EQ("\\x80\\xbf", Printable("\x80\xbf")) << "the end of a letter alone";
    EXPECT_EQ("\\xc0\\x9b\\xe0\\x80\\x9b\\xf0\\x80\\x80\\x9b",
              Printable("\xc0\x9b\xe0\x80\x9b\xf0\x80\x80\x9b"))
        << "longer forms of a control character";
    EXPECT_EQ("\\xed\\xa0\\x80", Printable("\xed\xa0\x80")) << "half a pair of UTF-16";
    EXPECT_EQ("\\xf4\\x90\\x80\\x80", Printable("\xf4\x90\x80\x80")) << "beyond U+10FFFF";
}

TEST(Printable, LeavesLettersOfEveryLengthAsTheyAre)
{
    const std::string letters = "a\u00a0\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff";
    EXPECT_EQ(letters, Printable(letters));
}

TEST(NumberText, HasAsManyDecimalsAsAskedFor)
{
    EXPECT_EQ("1.50", Fixed(1.5, 2));
    EXPECT_EQ("-2", Fixed(-2.0, 0));
    EXPECT_EQ("+0.125", Signed(0.125, 3));
    EXPECT_EQ(309U + 4U, Fixed(1e308, 3).size());
    EXPECT_EQ("nan", Fixed(std::nan(""), 3));
}
