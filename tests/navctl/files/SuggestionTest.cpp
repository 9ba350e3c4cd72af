#include "tools/navctl/Suggestion.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> kCommands{
    "watch",          "doctor",      "nudge",       "get-nudge-scalar",   "get-nudge-vector",
    "set-nudge",      "get-wayline", "set-wayline", "set-wayline-origin", "clear-wayline",
    "is-waypoint-set"};

} // namespace

TEST(Suggestion, NamesTheNearestWords)
{
    EXPECT_EQ("; did you mean \"watch\"?", Suggestion("wacth", kCommands));
    EXPECT_EQ("; did you mean \"watch\"?", Suggestion("watc", kCommands));
    EXPECT_EQ("; did you mean \"get-wayline\" or \"set-wayline\"?",
              Suggestion("xet-wayline", kCommands));
}

TEST(Suggestion, TakesCapitalLettersForSmallOnes)
{
    const std::vector<std::string> types{"GGA", "HDT", "HDG", "PASHR"};
    EXPECT_EQ("; did you mean \"HDT\"?", Suggestion("hdt", types));
    EXPECT_EQ("; did you mean \"HDT\"?", Suggestion("HTD", types));
    EXPECT_EQ("; did you mean \"PASHR\"?", Suggestion("pashrr", types));
}

TEST(Suggestion, IsNoneForWordsThatAreFarAway)
{
    EXPECT_EQ("", Suggestion("fly", kCommands));
    EXPECT_EQ("", Suggestion("", kCommands));
    EXPECT_EQ("", Suggestion("wa", kCommands));
    EXPECT_EQ("", Suggestion("watch", {}));
}

TEST(Suggestion, FindsWordsThatHaveAllParts)
{
    EXPECT_EQ("; did you mean \"set-wayline-origin\"?", Suggestion("set-origin", kCommands));
}

TEST(Suggestion, FindsWordsWhosePartsAreOnlyBegun)
{
    const std::vector<std::string> commands{"is-navigation-activated", "start-navigation",
                                            "get-tuning-limits", "set-tuning-limits"};
    EXPECT_EQ("; did you mean \"is-navigation-activated\"?",
              CommandSuggestion("is-navigation-active", commands));
    EXPECT_EQ("; did you mean \"start-navigation\"?", CommandSuggestion("start-nav", commands));
    EXPECT_EQ("; did you mean \"get-tuning-limits\" or \"set-tuning-limits\"?",
              CommandSuggestion("tunning", commands));
    EXPECT_EQ("; did you mean \"get-tuning-limits\"?", CommandSuggestion("get-tun", commands));
    EXPECT_EQ("", CommandSuggestion("get-t", commands)) << "one letter says nothing";
}

TEST(Suggestion, OfACommandKeepsItsVerb)
{
    EXPECT_EQ("; did you mean \"get-nudge-scalar\" or \"get-nudge-vector\"?",
              CommandSuggestion("get-nudge", kCommands));
    EXPECT_EQ("; did you mean \"set-nudge\"?", CommandSuggestion("set-nugde", kCommands));
    EXPECT_EQ("", CommandSuggestion("get-wayline-origin", kCommands));
    EXPECT_EQ("; did you mean \"get-wayline\"?", CommandSuggestion("gte-wayline", kCommands));
    for (const char* const getterOrSetter : {"et-nudge", "gset-nudge", "sget-nudge"}) {
        EXPECT_EQ("; did you mean \"get-nudge-scalar\" or \"get-nudge-vector\"?",
                  CommandSuggestion(getterOrSetter, kCommands));
    }
    EXPECT_EQ("; did you mean \"get-wayline\"?", CommandSuggestion("getwayline", kCommands));
    EXPECT_EQ("; did you mean \"watch\"?", CommandSuggestion("wacth", kCommands));
}
