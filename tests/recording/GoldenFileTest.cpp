#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "recording/Crc32.h"
#include "recording/FileSource.h"
#include "recording/LinkRecording.h"
#include "tests/recording/MemorySink.h"

namespace {

/// A file of tests/recording/golden, as it is in the tree.
std::string Golden(const std::string& name)
{
    std::ifstream file(KESTROVE_GOLDEN_FILES "/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void AddExample(CMcapWriter& writer)
{
    writer.AddSchema({1, "Example", "c", "\x04\x05\x06"});
    writer.AddChannel({1, 1, "example", "a", {{"foo", "bar"}}});
}

/// The files that the format publishes to hold writers to it.
const std::pair<const char*, void (*)(CMcapWriter&)> kConformance[] = {
    {"no_data.mcap", [](CMcapWriter& writer) { writer.Finish(EMcapSummary::None); }},
    {"one_message.mcap",
     [](CMcapWriter& writer) {
         AddExample(writer);
         writer.AddMessage({1, 10, 2, 1, "\x01\x02\x03"});
         writer.Finish(EMcapSummary::None);
     }},
    {"one_message_all.mcap",
     [](CMcapWriter& writer) {
         writer.UseChunks({});
         AddExample(writer);
         writer.AddMessage({1, 10, 2, 1, "\x01\x02\x03"});
         writer.Finish();
     }},
    {"ten_messages_all.mcap",
     [](CMcapWriter& writer) {
         writer.UseChunks({});
         AddExample(writer);
         std::uint32_t sequence = 0;
         for (const std::uint64_t time : {0, 2, 1, 3, 3, 5, 4, 7, 8, 9}) {
             writer.AddMessage({1, sequence++, time, time, "\x01\x02\x03"});
         }
         writer.Finish();
     }},
    {"one_attachment_all.mcap",
     [](CMcapWriter& writer) {
         writer.AddAttachment({2, 1, "myFile", "application/octet-stream", "\x01\x02\x03"});
         writer.Finish();
     }},
};

/// What the first version of our own recordings is made of.
void WriteRecording(CLinkRecording& recording)
{
    recording.Begin(
        {"kestrove-navigation 1.0.0", "terminal", "4711", "2026-11-22T10:15:30Z", "application"});
    recording.State(1'000, 1, 1, ELinkState::Opened, "127.0.0.1 port 5010");
    recording.Bytes(2'000, 1, ELinkDirection::ToService,
                    std::string_view("\x94\x00\x07\xa1x\x90", 6));
    recording.Bytes(3'000, 1, ELinkDirection::ToApplication,
                    std::string_view("\x94\x01\x07\xc0\x01", 5));
    recording.State(4'000, 1, 1, ELinkState::Closed, "the service closed \"it\"");
    recording.Finish();
}

} // namespace

TEST(Crc32, IsTheUsualOne)
{
    EXPECT_EQ(0xCBF43926U, Crc32Of("123456789"));
    const std::string bytes(100, 'x');
    CCrc32 inParts;
    for (std::size_t at = 0; at < bytes.size(); at += 7) {
        inParts.Add(std::string_view(bytes).substr(at, 7));
    }
    EXPECT_EQ(Crc32Of(bytes), inParts.Value());
}

TEST(McapWriter, WritesThePublishedFilesByteForByte)
{
    for (const auto& [name, write] : kConformance) {
        CMemorySink sink;
        CMcapWriter writer(sink);
        writer.Begin("", "");
        write(writer);
        EXPECT_EQ(Golden(name), sink.bytes) << name;
    }
}

TEST(McapReader, ReadsThePublishedFilesToTheirEnd)
{
    const std::size_t messages[] = {0, 1, 1, 10, 0};
    const std::size_t* expected = messages;
    for (const auto& row : kConformance) {
        CFileSource source(KESTROVE_GOLDEN_FILES "/" + std::string(row.first));
        ASSERT_EQ("", source.Problem());
        CMcapReader reader(source);
        const CReadBack found = ReadBack(reader);
        EXPECT_EQ(EMcapStep::End, found.end) << row.first << ": " << found.problem;
        EXPECT_EQ(*expected++, found.messages.size()) << row.first;
        EXPECT_EQ(0U, found.wrongChecksums) << row.first;
        EXPECT_EQ(source.Size(), reader.Position()) << row.first;
    }
}

TEST(LinkRecording, IsWrittenAsItsFirstVersionWas)
{
    CMemorySink sink;
    CLinkRecording recording(sink);
    WriteRecording(recording);
    EXPECT_EQ(Golden("recording_1.mcap"), sink.bytes);
}

TEST(LinkRecording, OfItsFirstVersionIsStillRead)
{
    const CReadBack found = ReadBack(Golden("recording_1.mcap"));
    ASSERT_EQ(EMcapStep::End, found.end) << found.problem;
    const std::vector<std::string> expected = {
        R"({"link":1,"client":1,"state":"opened","text":"127.0.0.1 port 5010"})",
        std::string("\x94\x00\x07\xa1x\x90", 6), std::string("\x94\x01\x07\xc0\x01", 5),
        R"({"link":1,"client":1,"state":"closed","text":"the service closed \"it\""})"};
    EXPECT_EQ(expected, found.messages);
    EXPECT_EQ((std::vector<std::uint64_t>{1'000, 2'000, 3'000, 4'000}), found.times);
    ASSERT_EQ(3U, found.channels.size());
    EXPECT_EQ("/link", found.channels.at(0).topic);
    EXPECT_EQ("/link/1/to_service", found.channels.at(1).topic);
    EXPECT_EQ("/link/1/to_application", found.channels.at(2).topic);
    CMcapMetadata metadata;
    ASSERT_EQ(1U, found.metadata.size());
    ASSERT_TRUE(ReadContent(found.metadata[0], metadata));
    EXPECT_EQ("kestrove.recording", metadata.name);
    EXPECT_EQ("1", metadata.entries.at("version"));
    EXPECT_EQ("terminal", metadata.entries.at("program"));
}
