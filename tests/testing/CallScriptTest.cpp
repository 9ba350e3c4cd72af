#include "testing/CallScript.h"

#include <gtest/gtest.h>

#include "testing/Value.h"

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CCallScript;
using Kestrove::Testing::Describe;

namespace {

std::string TextOf(const CAnswer& answer)
{
    return answer.Kind() == CAnswer::EKind::Error ? "error " + answer.ErrorText()
                                                  : Describe(*answer.Value().ToElement());
}

} // namespace

TEST(CallScript, PrefersAnExpectationToAStandingAnswer)
{
    CCallScript script;
    script.Answer("a", 1);
    script.Expect("a", "[int 5]", 2);
    EXPECT_EQ("int 1", TextOf(script.Take("a", "[int 6]")));
    EXPECT_EQ("int 2", TextOf(script.Take("a", "[int 5]")));
    EXPECT_EQ("int 1", TextOf(script.Take("a", "[int 5]")));
    EXPECT_EQ("", script.Problems());
}

TEST(CallScript, UsesExpectationsOfTheSameCallInTheOrderWritten)
{
    CCallScript script;
    script.Expect("a", "[]", 1);
    script.Expect("b", "[]", 3);
    script.Expect("a", "[]", 2);
    EXPECT_EQ("int 1", TextOf(script.Take("a", "[]")));
    EXPECT_EQ("int 2", TextOf(script.Take("a", "[]")));
    EXPECT_EQ("did not come: b []\n", script.Problems());
}

TEST(CallScript, AnswersTheUnexpectedWithAnErrorAndNotesIt)
{
    CCallScript script;
    script.Expect("a", "[int 5]", 1);
    EXPECT_EQ("error unexpected: a [int 6]", TextOf(script.Take("a", "[int 6]")));
    EXPECT_EQ("unexpected: a [int 6]\ndid not come: a [int 5]\n", script.Problems());
}

TEST(CallScript, ReplacesAStandingAnswer)
{
    CCallScript script;
    script.Answer("a", 1);
    script.Answer("a", 2.5);
    EXPECT_EQ("double 2.5", TextOf(script.Take("a", "[]")));
}

TEST(CallScript, ForgetsAll)
{
    CCallScript script;
    script.Answer("a", 1);
    script.Expect("b", "[]", 1);
    script.Take("c", "[]");
    script.Forget();
    EXPECT_EQ("", script.Problems());
    EXPECT_EQ("error unexpected: a []", TextOf(script.Take("a", "[]")));
}
