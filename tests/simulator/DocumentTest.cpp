// The documents of the service and of the protocol, against the code. The tests run in the
// project's directory.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/BEncoder.h"
#include "runtime/MessageDecoder.h"
#include "simulator/program/CommandLine.h"
#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

std::string ReadDocument(const std::string& name)
{
    std::ifstream file("docs/" + name);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// All matches of a pattern, each as its groups.
std::vector<std::smatch> MatchesOf(const std::string& text, const char* pattern)
{
    const std::regex expression(pattern);
    return {std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator()};
}

std::string HexOf(const BEncoderC& encoder)
{
    std::string hex;
    for (std::size_t index = 0; index < encoder.Size(); ++index) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ",
                      static_cast<unsigned>(static_cast<unsigned char>(encoder.Data()[index])));
        hex += digits;
    }
    return hex.substr(0, hex.empty() ? 0 : hex.size() - 1);
}

TEST(ServiceDocument, NamesEveryOperation)
{
    const std::string document = ReadDocument("service.md");

    for (const std::string& name : Service().Core().OperationNames()) {
        EXPECT_NE(std::string::npos, document.find("`" + name + "`")) << name;
    }
}

TEST(ServiceDocument, NamesEveryEvent)
{
    const std::string document = ReadDocument("service.md");

    const auto named = MatchesOf(document, R"(\n\| `(cb_[a-z_]+)` \|)");
    EXPECT_EQ(8u, named.size());
    for (const std::smatch& match : named) {
        EXPECT_FALSE(Service().Subscribe(match[1]).empty()) << match[1];
    }
}

TEST(ServiceDocument, TellsTheStartValues)
{
    const std::string document = ReadDocument("service.md");

    const auto rows = MatchesOf(document, R"(\n\| `(\w+)` \| `(\[.*\])` \| `(.*)` \|)");
    EXPECT_EQ(15u, rows.size());
    for (const std::smatch& row : rows) {
        EXPECT_EQ(row[3], Service(0.0).Request(row[1], row[2])) << row[1] << row[2];
    }
}

TEST(ServiceDocument, NamesEveryOptionWithItsDefault)
{
    const std::string document = ReadDocument("service.md");
    const char* const arguments[] = {"navigation-simulator", "--help"};
    ProgramOptions options;
    std::ostringstream output;
    ReadCommandLine(2, arguments, options, output, output);
    const std::string help = output.str();

    const auto rows = MatchesOf(help, R"((--[a-z-]+) [A-Z,]+(=([0-9a-z.,:-]+))?)");
    EXPECT_EQ(33U, rows.size());
    for (const std::smatch& row : rows) {
        const std::regex documented("\\| `" + row[1].str() + " [A-Z,]+` \\| " +
                                    (row[3].matched ? row[3].str() : "none") + " \\|");
        EXPECT_TRUE(std::regex_search(document, documented)) << row[0];
    }
}

TEST(ProtocolDocument, ShowsTheBytesThatAreWritten)
{
    const std::string document = ReadDocument("protocol.md");

    const auto rows = MatchesOf(document, R"(`(\[.*\])` \| `([0-9a-f]{2}( [0-9a-f]{2})*)` \|)");
    EXPECT_EQ(24u, rows.size());
    for (const std::smatch& row : rows) {
        BEncoderC encoder;
        ASSERT_TRUE(encoder.Write(*ListFrom(row[1])));
        EXPECT_EQ(row[2], HexOf(encoder)) << row[1];
    }
}

TEST(ProtocolDocument, ShowsMessagesThatCanBeRead)
{
    const std::string document = ReadDocument("protocol.md");

    const auto rows =
        MatchesOf(document, R"(\| (an?|its) [a-z ]+ \| `(\[.*\])` \| `([0-9a-f ]+)`)");
    EXPECT_EQ(7u, rows.size());
    for (const std::smatch& row : rows) {
        BEncoderC encoder;
        ASSERT_TRUE(encoder.Write(*ListFrom(row[2])));
        MessageDecoderC decoder;
        std::size_t room = 0;
        char* space = decoder.Space(room);
        ASSERT_GE(room, encoder.Size());
        std::copy_n(encoder.Data(), encoder.Size(), space);
        decoder.Arrived(encoder.Size());
        MessageC message;
        EXPECT_EQ(MessageDecoderC::EResult::Complete, decoder.Next(message)) << row[2];
    }
}

} // namespace
