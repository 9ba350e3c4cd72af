#include "tools/navctl/feed/NmeaSentence.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/navctl/files/Pipe.h"

namespace {

const std::string kGga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47";

std::vector<std::string_view> SentencesIn(std::string_view line)
{
    std::vector<std::string_view> pieces;
    ForEachSentence(line, [&pieces](std::string_view piece) { pieces.push_back(piece); });
    return pieces;
}

} // namespace

TEST(NmeaSentence, ReadsTalkerTypeAndFields)
{
    NmeaSentence sentence;
    ASSERT_EQ(nullptr, ReadSentence(kGga, sentence));
    EXPECT_EQ("GP", sentence.talker);
    EXPECT_EQ("GGA", sentence.type);
    EXPECT_EQ(14U, sentence.fieldCount);
    EXPECT_EQ("4807.038", sentence.Field(1));
    EXPECT_EQ("", sentence.Field(13));
    EXPECT_EQ("", sentence.Field(99));
}

TEST(NmeaSentence, TellsWhatIsBroken)
{
    const struct
    {
        std::string text;
        const char* problem;
    } rows[] = {
        {"$GPGGA,1*00", "wrong checksum"},
        {kGga.substr(0, kGga.size() - 2) + "48", "wrong checksum"},
        {"$GPGGA,123519,4807.038,N", "no checksum"},
        {kGga.substr(0, kGga.size() - 1), "cut checksum"},
        {kGga.substr(0, kGga.size() - 2) + "4G", "cut checksum"},
        {kGga + "x", "something behind the checksum"},
        {"GPGGA,1", "not a sentence"},
        {"", "not a sentence"},
        {Sentence(",1,2"), "no address"},
        {Sentence("G P,1"), "no address"},
        {Sentence(std::string(17, 'A')), "no address"},
    };
    for (const auto& row : rows) {
        NmeaSentence sentence;
        EXPECT_STREQ(row.problem, ReadSentence(row.text, sentence)) << row.text;
    }
}

TEST(NmeaSentence, TakesALowerCaseChecksumAndBlanksBehindIt)
{
    NmeaSentence sentence;
    EXPECT_EQ(nullptr, ReadSentence("$GPHDT,28.5,T*0a  ", sentence));
}

TEST(NmeaSentence, KnowsMakersOwnSentences)
{
    const std::string text = Sentence("PMAKER,1,2");
    NmeaSentence sentence;
    ASSERT_EQ(nullptr, ReadSentence(text, sentence));
    EXPECT_EQ("P", sentence.talker);
    EXPECT_EQ("MAKER", sentence.type);
}

TEST(NmeaSentence, CutsLinesWhereSentencesHaveRunTogether)
{
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(Pieces(), SentencesIn("  "));
    EXPECT_EQ(Pieces({"$A*00"}), SentencesIn(" $A*00"));
    EXPECT_EQ(Pieces({"$A*00", "$B*00"}), SentencesIn("$A*00$B*00"));
    EXPECT_EQ(Pieces({"$A,12", "!B*00"}), SentencesIn("$A,12!B*00"));
    EXPECT_EQ(Pieces({"noise", "$A*00"}), SentencesIn("noise$A*00"));
}
