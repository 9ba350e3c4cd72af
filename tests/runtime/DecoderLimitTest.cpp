#include <string>

#include <gtest/gtest.h>

#include "runtime/MessageDecoder.h"
#include "tests/runtime/DecoderFeed.h"
#include "tests/runtime/MessageLimits.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"

using Bytes::BigEndian;
using Bytes::FromHex;
using EResult = MessageDecoderC::EResult;

namespace {

EResult Decode(const std::string& bytes)
{
    MessageDecoderC decoder;
    MessageC message;
    Feed(decoder, bytes);
    return decoder.Next(message);
}

/// An event of `size` bytes in all, whose payload is one long text.
std::string EventOfSize(std::size_t size)
{
    const std::string head = FromHex("93 02 a1 65 91 db");
    const std::size_t length = size - head.size() - 4;
    return head + BigEndian(length, 4) + std::string(length, 'x');
}

/// An event whose payload holds `count` values, at the bottom of `levels` lists.
std::string EventNested(int levels, std::size_t count)
{
    std::string bytes = FromHex("93 02 a1 65");
    bytes += std::string(static_cast<std::size_t>(levels) - 1, '\x91');
    return bytes + '\xdd' + BigEndian(count, 4) + std::string(count, '\x07');
}

/// The begins of messages that end with a text, behind `fill` bytes of another.
struct TextAtTheLimit
{
    std::size_t fill;
    const char* front;
    const char* head; // of the text, before its length of four bytes
};

} // namespace

TEST(DecoderLimit, Takes32MebibytesAndRefusesOneByteMore)
{
    EXPECT_EQ(EResult::Complete, Decode(EventOfSize(kLargestMessage)));
    EXPECT_EQ(EResult::Bad, Decode(EventOfSize(kLargestMessage + 1)));
}

TEST(DecoderLimit, CountsTheBytesOfEachMessageAlone)
{
    MessageDecoderC decoder;
    MessageC message;
    const std::string bytes = EventOfSize(kLargestMessage / 2 + 1000);
    for (int round = 0; round < 3; ++round) {
        Feed(decoder, bytes);
        ASSERT_EQ(EResult::Complete, decoder.Next(message)) << round;
    }
}

TEST(DecoderLimit, RefusesAMessageThatGrowsPastTheLimitWithoutAnEnd)
{
    MessageDecoderC decoder;
    MessageC message;
    Feed(decoder, FromHex("93 02 a1 65 dd 00 40 00 00"));
    const std::string portion =
        '\xdb' + BigEndian(kMebibyte - 5, 4) + std::string(kMebibyte - 5, 'x');
    EResult result = decoder.Next(message);
    int portions = 0;
    while (result == EResult::NeedMore && portions < 40) {
        Feed(decoder, portion);
        result = decoder.Next(message);
        ++portions;
    }
    EXPECT_EQ(EResult::Bad, result);
    EXPECT_EQ(32, portions);
}

TEST(DecoderLimit, RefusesATextThatDoesNotFitWhereItIsAnnouncedAndMovesNothingForIt)
{
    const TextAtTheLimit texts[] = {
        {0, "93 02 a1 65 91", "db"},                // a text
        {0, "93 02 a1 65 91", "c6"},                // bytes
        {0, "93 02", "db"},                         // a name
        {0, "93 02 a1 65 91 81", "db"},             // a key
        {0, "93 02 a1 65 dd 00 40 00 00 07", "db"}, // behind a number
        {20 * kMebibyte, "93 02 a1 65 92", "db"},   // behind another text
    };
    for (const TextAtTheLimit& text : texts) {
        std::string front = FromHex(text.front);
        if (text.fill > 0) {
            front += '\xdb' + BigEndian(text.fill, 4) + std::string(text.fill, 'f');
        }
        front += FromHex(text.head);
        const std::size_t most = kLargestMessage - front.size() - 4;
        for (const std::size_t excess : {std::size_t{0}, std::size_t{1}, 0xffffffff - most}) {
            MessageDecoderC decoder;
            MessageC message;
            Feed(decoder, front);
            ASSERT_EQ(EResult::NeedMore, decoder.Next(message)) << text.front;
            const CAllocationMeter meter;
            Feed(decoder, BigEndian(most + excess, 4) + std::string(4000, 'x'));
            const bool fits = excess == 0;
            EXPECT_EQ(fits ? EResult::NeedMore : EResult::Bad, decoder.Next(message)) << text.front;
            EXPECT_EQ(fits ? "" : "a message of more than 32 MiB", decoder.Problem());
            if (!fits) {
                EXPECT_LE(meter.LargestBlock(), MessageDecoderC::kUsualPortion) << text.front;
            }
        }
    }
}

TEST(DecoderLimit, Takes4194304ElementsAndRefusesOneMore)
{
    EXPECT_EQ(EResult::Complete, Decode(EventNested(1, kMostElements)));
    EXPECT_EQ(EResult::Bad, Decode(EventNested(1, kMostElements + 1)));
}

TEST(DecoderLimit, CountsTheElementsOfAllListsOfAMessageTogether)
{
    const std::string half =
        '\xdd' + BigEndian(kMostElements / 2, 4) + std::string(kMostElements / 2, '\x07');
    EXPECT_EQ(EResult::Bad, Decode(FromHex("93 02 a1 65 92") + half + half));
}

TEST(DecoderLimit, RefusesTooManyElementsAtTheirAnnouncement)
{
    EXPECT_EQ(EResult::Bad, Decode(FromHex("93 02 a1 65 dd 00 40 00 01")));
    EXPECT_EQ(EResult::Bad, Decode(FromHex("93 02 a1 65 91 df ff ff ff ff")));
}

TEST(DecoderLimit, Takes64LevelsAndRefuses65)
{
    EXPECT_EQ(EResult::Complete, Decode(EventNested(64, 1)));
    EXPECT_EQ(EResult::Bad, Decode(EventNested(65, 1)));
}

TEST(DecoderLimit, CountsTheLevelsOfDictionariesToo)
{
    std::string bytes = FromHex("93 02 a1 65 91");
    for (int level = 1; level < 65; ++level) {
        bytes += FromHex("81 a1 6b");
    }
    EXPECT_EQ(EResult::Bad, Decode(bytes + '\x07'));
}

TEST(DecoderLimit, RefusesAMillionLevelsWithoutOverflowingTheStack)
{
    EXPECT_EQ(EResult::Bad, Decode(FromHex("93 02 a1 65") + std::string(1'000'000, '\x91')));
}

TEST(DecoderLimit, AllocatesNothingForALengthThatIsOnlyAnnounced)
{
    const char* const announcements[] = {
        "93 02 a1 65 91 db 01 ff ff 00",       // a text of almost 32 MiB
        "93 02 a1 65 91 c6 01 ff ff 00",       // as many bytes
        "93 02 db 01 ff ff 00",                // a name of that length
        "93 02 a1 65 91 db ff ff ff ff",       // a text of 4 GiB
        "93 02 a1 65 91 c6 ff ff ff ff",       // as many bytes
        "93 02 db ff ff ff ff",                // a name of that length
        "93 02 a1 65 dd ff ff ff ff",          // a list of 2^32 elements
        "93 02 a1 65 dd 00 40 00 00",          // a list of as many as are allowed
        "93 02 a1 65 91 df ff ff ff ff",       // a dictionary of 2^32 entries
        "93 02 a1 65 91 df 00 3f ff ff",       // of as many as are allowed
        "93 02 a1 65 91 81 db ff ff ff ff 61", // a key of 4 GiB
    };
    for (const char* const announcement : announcements) {
        const std::string bytes = FromHex(announcement);
        const CAllocationMeter meter;
        Decode(bytes);
        EXPECT_LE(meter.LargestBlock(), std::size_t{64} * 1024) << announcement;
    }
}

TEST(DecoderLimit, AllocatesNoMoreForNestedAnnouncementsThanHasArrived)
{
    // 63 lists, each of which announces as many elements as bytes could justify.
    std::string bytes = FromHex("93 02 a1 65");
    for (int level = 0; level < 63; ++level) {
        bytes += FromHex("dd 00 01 00 00");
    }
    const CAllocationMeter meter;
    Decode(bytes);
    EXPECT_LE(meter.LargestBlock(), std::size_t{64} * 1024);
    EXPECT_LE(meter.BlockCount(), 400U);
}

TEST(DecoderLimit, GivesALargeBufferBackOnceItIsEmpty)
{
    MessageDecoderC decoder;
    MessageC message;
    Feed(decoder, EventOfSize(std::size_t{8} * 1024 * 1024));
    ASSERT_EQ(EResult::Complete, decoder.Next(message));
    std::size_t room = 0;
    decoder.Space(room);
    EXPECT_LE(room, std::size_t{1024} * 1024);
}
