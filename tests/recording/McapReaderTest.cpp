#include "recording/McapReader.h"

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "recording/ByteForm.h"
#include "tests/recording/MemorySink.h"
#include "tests/support/AllocationMeter.h"

namespace {

struct Written
{
    std::string file;
    std::vector<std::string> messages;
    std::vector<std::size_t> ends; ///< of the messages, where they are not in chunks
};

/// A file of messages of generated sizes, with metadata and an attachment among them.
Written Generate(unsigned seed, bool inChunks, std::size_t largest = 60)
{
    std::mt19937 random(seed);
    const auto below = [&](std::size_t bound) { return random() % bound; };
    CMemorySink sink;
    CMcapWriter writer(sink);
    Written written;
    writer.Begin("", "test");
    writer.AddMetadata({"what", {{"a", "b"}}});
    if (inChunks) {
        writer.UseChunks({below(2000) + 1, "", {}});
    }
    writer.AddSchema({1, "Some", "jsonschema", "{}"});
    const auto channels = static_cast<std::uint16_t>(1 + below(5));
    for (std::uint16_t id = 0; id < channels; ++id) {
        writer.AddChannel({id, 1, "/" + std::to_string(id), "json", {}});
    }
    const std::size_t count = below(12);
    for (std::size_t index = 0; index < count; ++index) {
        std::string data(below(largest), '\0');
        std::generate(data.begin(), data.end(), [&] { return static_cast<char>(random()); });
        writer.AddMessage({static_cast<std::uint16_t>(below(channels)),
                           static_cast<std::uint32_t>(index), random(), 0, data});
        written.messages.push_back(std::move(data));
        written.ends.push_back(sink.bytes.size());
    }
    writer.EndChunk();
    writer.AddAttachment({1, 2, "line.csv", "text/csv", "x,y"});
    writer.Finish();
    written.file = sink.bytes;
    return written;
}

/// Puts a number in place of another in a file.
std::string WithNumber(std::string file, std::size_t at, std::uint64_t number, int byteCount)
{
    std::string bytes;
    CByteWriter(bytes).Number(number, byteCount);
    return file.replace(at, bytes.size(), bytes);
}

std::string Record(std::uint8_t kind, const std::string& content)
{
    std::string record;
    CByteWriter(record).U8(kind).U64(content.size()).Bytes(content);
    return record;
}

} // namespace

TEST(McapReader, GivesEveryMessageOfAnySize)
{
    for (unsigned seed = 0; seed < 100; ++seed) {
        const Written written = Generate(seed, seed % 2 == 1, seed % 10 == 0 ? 100'000 : 300);
        const CReadBack found = ReadBack(written.file);
        ASSERT_EQ(EMcapStep::End, found.end) << seed << ": " << found.problem;
        ASSERT_EQ(written.messages, found.messages) << seed;
        ASSERT_EQ(0U, found.wrongChecksums) << seed;
        ASSERT_EQ(1U, found.metadata.size()) << seed;
        ASSERT_EQ(1U, found.attachments.size()) << seed;
        ASSERT_EQ(seed % 2 == 1, found.chunks > 0) << seed;
    }
}

TEST(McapReader, GivesOfACutFileEveryCompleteMessageAndSaysSo)
{
    for (const unsigned seed : {0U, 1U, 2U}) {
        const Written written = Generate(seed, false);
        for (std::size_t cut = 0; cut < written.file.size(); ++cut) {
            const CReadBack found = ReadBack(written.file.substr(0, cut));
            const auto complete = static_cast<std::size_t>(
                std::upper_bound(written.ends.begin(), written.ends.end(), cut) -
                written.ends.begin());
            ASSERT_EQ(EMcapStep::Cut, found.end) << cut << ": " << found.problem;
            ASSERT_NE("", found.problem) << cut;
            ASSERT_EQ(complete, found.messages.size()) << cut;
            ASSERT_TRUE(
                std::equal(found.messages.begin(), found.messages.end(), written.messages.begin()))
                << cut;
        }
    }
}

TEST(McapReader, GivesOfACutFileInChunksEveryCompleteChunk)
{
    const Written written = Generate(3, true);
    std::size_t last = 0;
    for (std::size_t cut = 0; cut < written.file.size(); ++cut) {
        const CReadBack found = ReadBack(written.file.substr(0, cut));
        ASSERT_EQ(EMcapStep::Cut, found.end) << cut << ": " << found.problem;
        ASSERT_LE(last, found.messages.size()) << cut;
        last = found.messages.size();
    }
    EXPECT_EQ(written.messages.size(), last);
}

TEST(McapReader, TakesAnyByteInPlaceOfAnother)
{
    for (const bool inChunks : {false, true}) {
        const Written written = Generate(5, inChunks);
        for (std::size_t at = 0; at < written.file.size(); ++at) {
            for (const int byte : {0x00, 0x03, 0xFF}) {
                const CReadBack found =
                    ReadBack(WithNumber(written.file, at, static_cast<std::uint64_t>(byte), 1));
                ASSERT_NE(EMcapStep::Record, found.end);
                ASSERT_LE(found.messages.size(), written.messages.size() + 1) << at;
            }
        }
    }
}

TEST(McapReader, AllocatesNothingForALengthThatIsNotThere)
{
    const Written written = Generate(7, true);
    const std::uint64_t lengths[] = {~std::uint64_t{0},           ~std::uint64_t{0} - 8,
                                     std::uint64_t{1} << 63U,     std::uint64_t{1} << 40U,
                                     CMcapReader::kLargestRecord, CMcapReader::kLargestRecord + 1};
    // Once before, so that what is allocated once counts for nothing.
    ReadBack(written.file);
    for (std::size_t at = 0; at < written.file.size(); ++at) {
        for (const std::uint64_t length : lengths) {
            const std::string file = WithNumber(written.file, at, length, 8);
            const CAllocationMeter meter;
            ReadBack(file);
            ASSERT_LE(meter.LargestBlock(), std::size_t{4} * 1024 * 1024) << at << ' ' << length;
        }
    }
}

TEST(McapReader, NoticesAnyByteThatHasChanged)
{
    for (const bool inChunks : {false, true}) {
        const Written written = Generate(5, inChunks);
        ASSERT_EQ(0U, ReadBack(written.file).wrongChecksums);
        for (std::size_t at = 0; at < written.file.size(); ++at) {
            std::string file = written.file;
            file[at] = static_cast<char>(file[at] ^ 1);
            const CReadBack found = ReadBack(file);
            ASSERT_TRUE(found.end != EMcapStep::End || found.wrongChecksums > 0) << at;
        }
    }
}

TEST(McapReader, ChecksAttachmentsBesideTheFile)
{
    const Written written = Generate(5, false);
    const std::size_t at = written.file.find("x,y");
    ASSERT_NE(std::string::npos, at);
    // Of the attachment and of the file.
    EXPECT_EQ(2U, ReadBack(WithNumber(written.file, at, 'z', 1)).wrongChecksums);
}

TEST(McapReader, PassesOverWhatItDoesNotKnow)
{
    const Written written = Generate(2, false);
    std::string file = written.file;
    const std::size_t at = written.ends.at(0);
    file.insert(at, Record(0x80, std::string(100, 'x')) + Record(0x42, "") +
                        Record(0x07, std::string(3'000'000, 'y')));
    const CReadBack found = ReadBack(file);
    EXPECT_EQ(EMcapStep::End, found.end) << found.problem;
    EXPECT_EQ(written.messages, found.messages);
    EXPECT_EQ(1U, found.wrongChecksums); // the file has been changed
}

TEST(McapReader, RefusesWhatIsNone)
{
    const std::string head = std::string(kMcapMagic) + Record(1, std::string(8, '\0'));
    const std::string message(22, '\0');
    std::string hugeChunk;
    CByteWriter(hugeChunk).U64(0).U64(0).U64(CMcapReader::kLargestRecord + 1).U32(0).Text("zstd");
    CByteWriter(hugeChunk).U64(0);
    std::string otherChunk;
    CByteWriter(otherChunk).U64(0).U64(0).U64(10).U32(0).Text("other").U64(1).Bytes("x");
    const std::array<std::pair<std::string, std::string>, 8> rows = {{
        {"%PDF-1.4", "no MCAP file"},
        {head + Record(0, ""), "kind 0"},
        {head + Record(2, std::string(20, '\0')), "kind 2"},
        {head + Record(5, message), "of no channel"},
        {head + Record(3, std::string(14, '\0')), "a schema that is none"},
        {head + Record(4, "x"), "a channel that is none"},
        {head + Record(6, hugeChunk), "of too much"},
        {head + Record(6, otherChunk), "compressed as \"other\""},
    }};
    for (const auto& [file, problem] : rows) {
        const CReadBack found = ReadBack(file);
        EXPECT_EQ(EMcapStep::Bad, found.end) << problem;
        EXPECT_NE(std::string::npos, found.problem.find(problem)) << found.problem;
        EXPECT_TRUE(found.messages.empty());
    }
}

TEST(McapReader, RefusesADifferentChannelOfTheSameNumberAndTooManyDeclarations)
{
    const auto channel = [](std::uint16_t id, const std::string& topic) {
        return Record(4, ContentOf(CMcapChannel{id, 0, topic, "json", {}}));
    };
    const std::string head = std::string(kMcapMagic) + Record(1, std::string(8, '\0'));
    EXPECT_EQ(EMcapStep::Cut, ReadBack(head + channel(1, "/a") + channel(1, "/a")).end);
    EXPECT_EQ(EMcapStep::Bad, ReadBack(head + channel(1, "/a") + channel(1, "/b")).end);
    std::string many = head;
    for (std::uint16_t id = 0; id < 20; ++id) {
        many += channel(id, std::string(1'000'000, 'x'));
    }
    EXPECT_EQ(EMcapStep::Bad, ReadBack(many).end);
}

TEST(McapReader, DecompressesChunksAndCountsWrongChecksums)
{
    CMemorySink sink;
    CMcapWriter writer(sink);
    const auto turned = [](std::string_view bytes) {
        return std::string(bytes.rbegin(), bytes.rend());
    };
    writer.Begin("", "");
    writer.UseChunks({100, "turned", turned});
    writer.AddChannel({1, 0, "/a", "json", {}});
    writer.AddMessage({1, 0, 1, 1, "{\"x\":1}"});
    writer.Finish();
    const CMcapReader::Decompression back = [&](std::string_view packed, std::string& records) {
        const bool fits = packed.size() == records.size();
        records = turned(packed);
        return fits;
    };
    CReadBack found = ReadBack(sink.bytes, {{"turned", back}});
    EXPECT_EQ(EMcapStep::End, found.end) << found.problem;
    EXPECT_EQ(std::vector<std::string>{"{\"x\":1}"}, found.messages);
    const std::size_t data = sink.bytes.find("}1:\"x\"{");
    ASSERT_NE(std::string::npos, data);
    found = ReadBack(WithNumber(sink.bytes, data, '!', 1), {{"turned", back}});
    EXPECT_EQ(std::vector<std::string>{"{\"x\":1!"}, found.messages);
    EXPECT_EQ(2U, found.wrongChecksums); // of the chunk and of the file
}
