#include "runtime/OutgoingBytes.h"

#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kKept = 8192;

std::shared_ptr<const std::string> Text(std::size_t size)
{
    return std::make_shared<const std::string>(size, 'x');
}

} // namespace

TEST(OutgoingBytes, LeaveInTheirOrderHoweverTheyComeAndGo)
{
    std::mt19937 random(1);
    for (int run = 0; run < 50; ++run) {
        OutgoingBytesC outgoing;
        std::string added;
        std::string sent;
        for (int step = 0; step < 40; ++step) {
            // Each of one letter, and of a length of its own.
            const std::string bytes(random() % (step % 5 == 0 ? 700000 : 3000),
                                    static_cast<char>(random()));
            const std::string_view lent = outgoing.Next();
            const std::string copy(lent);
            added += bytes;
            if (random() % 2 == 0) {
                outgoing.Add(bytes.data(), bytes.size());
            } else {
                outgoing.Add(std::make_shared<const std::string>(bytes));
            }
            ASSERT_EQ(copy, lent); // it is being written meanwhile
            ASSERT_LE(lent.size(), OutgoingBytesC::kPortion);
            const std::size_t count = lent.empty() ? 0 : random() % (lent.size() + 1);
            sent += copy.substr(0, count);
            if (!lent.empty()) {
                outgoing.Sent(count, kKept);
            }
            ASSERT_EQ(added.size() - sent.size(), outgoing.Size());
        }
        while (outgoing.Size() > 0) {
            const std::string_view next = outgoing.Next();
            sent += next;
            outgoing.Sent(next.size(), kKept);
        }
        ASSERT_EQ(added, sent);
        EXPECT_LE(outgoing.Memory(), kKept);
        EXPECT_EQ("", outgoing.Next());
    }
}

TEST(OutgoingBytes, ShareALargeTextInsteadOfCopyingIt)
{
    const auto text = Text(5 * OutgoingBytesC::kPortion);
    OutgoingBytesC outgoing;
    outgoing.Add("head", 4);
    outgoing.Add(text);
    outgoing.Add(text);
    EXPECT_EQ(3, text.use_count());
    EXPECT_EQ("head", outgoing.Next());
    outgoing.Sent(4, kKept);
    EXPECT_EQ(text->data(), outgoing.Next().data());
    EXPECT_LE(2 * text->size(), outgoing.Memory());
    while (outgoing.Size() > text->size()) {
        outgoing.Sent(outgoing.Next().size(), kKept);
    }
    EXPECT_EQ(2, text.use_count()); // let go as soon as it is sent
    EXPECT_LE(text->size(), outgoing.Memory());
    EXPECT_GE(text->size() + kKept, outgoing.Memory());
}

TEST(OutgoingBytes, MoveNoMoreThanAPortionWhenTheyGrow)
{
    OutgoingBytesC outgoing;
    outgoing.Add("head", 4);
    const char* const first = outgoing.Next().data();
    const std::string part(1000, 'x');
    for (int count = 0; count < 8000; ++count) {
        outgoing.Add(part.data(), part.size());
    }
    EXPECT_EQ(first, outgoing.Next().data());
    // Portions are filled: what comes in small parts does not leave in as many.
    EXPECT_GE(outgoing.Size() + 4 * OutgoingBytesC::kPortion, outgoing.Memory());
}

TEST(OutgoingBytes, KeepRoomForTheNextUnlessItIsLarge)
{
    OutgoingBytesC outgoing;
    outgoing.Add(std::string(1000, 'x').data(), 1000);
    const char* const place = outgoing.Next().data();
    outgoing.Sent(1000, kKept);
    outgoing.Add("next", 4);
    EXPECT_EQ(place, outgoing.Next().data());
    outgoing.Sent(4, 500);
    EXPECT_EQ(0U, outgoing.Memory());
}
