#include "simulator/output/ProgramOutput.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(ProgramOutput, ShowsControlCharactersAsText)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"plain ~ text", "plain ~ text"},
        {"\x1b[31m\x07\x7f\r\n\t", "\\x1b[31m\\x07\\x7f\\x0d\\x0a\\x09"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"pr\xc3\xbc"
         "fung \xe2\x82\xac \xf0\x9f\x9a\x9c",
         "pr\xc3\xbc"
         "fung \xe2\x82\xac \xf0\x9f\x9a\x9c"},
        {"\xc2\x9b"
         "31m \xc2\xa0",
         "\\xc2\\x9b31m \xc2\xa0"},
        {"\x9b"
         "31m",
         "\\x9b31m"},
        {"\xc3", "\\xc3"},
        {"\xe2\x82", "\\xe2\\x82"},
        {"\xf0\x9f\x9a", "\\xf0\\x9f\\x9a"},
        {"\xc0\x9b\xe0\x82\x9b\xf0\x80\x82\x9b", "\\xc0\\x9b\\xe0\\x82\\x9b\\xf0\\x80\\x82\\x9b"},
        {"\xed\xa0\x80\xf4\x90\x80\x80\xff", "\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xff"},
    };
    for (const auto& [text, shown] : rows) {
        EXPECT_EQ(shown, WithoutControls(text));
    }
}

} // namespace
