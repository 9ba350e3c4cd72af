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

TEST(Suggestion, OfAVerbThatIsTakenBackIsItsOpposite)
{
    const std::vector<std::string> commands{
        "engage-steering", "disengage-steering", "start-navigation",   "stop-navigation",
        "set-wayline",     "clear-wayline",      "is-steering-engaged"};
    for (const char* const word : {"unengage-steering", "unegage-steering", "un_engage-steering"}) {
        const std::string suggestion = CommandSuggestion(word, commands);
        EXPECT_EQ(std::string::npos, suggestion.find("\"engage-steering")) << word << suggestion;
    }
    EXPECT_EQ("; did you mean \"disengage-steering\"?",
              CommandSuggestion("unengage-steering", commands));
    EXPECT_EQ("; did you mean \"disengage-steering\"?",
              CommandSuggestion("unegage-steering", commands));
    EXPECT_EQ("; did you mean \"stop-navigation\"?",
              CommandSuggestion("unstart-navigation", commands));
    EXPECT_EQ("; did you mean \"clear-wayline\"?", CommandSuggestion("unset-wayline", commands));
}

TEST(Suggestion, OfAQuestionIsTheOneThatAsksForIt)
{
    const std::vector<std::string> commands{"is-steering-engaged", "is-waypoint-set",
                                            "get-reverse-engage-enabled",
                                            "set-reverse-engage-enabled"};
    for (const char* const word : {"is-reverse-engage-enabled", "is-reverse-enabled"}) {
        EXPECT_EQ("; did you mean \"get-reverse-engage-enabled\"?",
                  CommandSuggestion(word, commands));
    }
    EXPECT_EQ("; did you mean \"is-steering-engaged\"?",
              CommandSuggestion("get-steering-engaged", commands));
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
