#include "recording/decoding/MessageCutter.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "recording/decoding/LinkItems.h"

namespace {

/// An element of each of the forms that MessagePack has: its first byte, its length, its content.
std::vector<std::string> ElementsOfAllForms()
{
    const auto bytes = [](std::initializer_list<int> values) {
        std::string text;
        for (const int value : values) {
            text += static_cast<char>(value);
        }
        return text;
    };
    std::vector<std::string> elements = {
        bytes({0x05}),
        bytes({0xFF}),
        bytes({0x80}),
        bytes({0x81, 0xA1, 'k', 0xCB, 1, 2, 3, 4, 5, 6, 7, 8}),
        bytes({0x90}),
        bytes({0x92, 0x01, 0xA3, 'a', 'b', 'c'}),
        bytes({0xA0}),
        bytes({0xA4, 't', 'e', 'x', 't'}),
        bytes({0xC0}),
        bytes({0xC2}),
        bytes({0xC3}),
        bytes({0xDC, 0, 2, 0xC0, 0xCD, 1, 2}),
        bytes({0xDC, 0, 0}),
        bytes({0xDD, 0, 0, 0, 1, 0xA2, 'x', 'y'}),
        bytes({0xDE, 0, 1, 0xA1, 'k', 0xD1, 1, 2}),
        bytes({0xDF, 0, 0, 0, 1, 0xA1, 'k', 0xC4, 2, 1, 2}),
    };
    // Behind the first byte: the bytes of the length, of which the last is 3, and what is fixed.
    for (const auto [first, lengthBytes, fixed] : std::vector<std::array<int, 3>>{
             {0xC4, 1, 0}, {0xC5, 2, 0}, {0xC6, 4, 0},  {0xC7, 1, 1}, {0xC8, 2, 1}, {0xC9, 4, 1},
             {0xCA, 0, 4}, {0xCB, 0, 8}, {0xCC, 0, 1},  {0xCD, 0, 2}, {0xCE, 0, 4}, {0xCF, 0, 8},
             {0xD0, 0, 1}, {0xD1, 0, 2}, {0xD2, 0, 4},  {0xD3, 0, 8}, {0xD4, 0, 2}, {0xD5, 0, 3},
             {0xD6, 0, 5}, {0xD7, 0, 9}, {0xD8, 0, 17}, {0xD9, 1, 0}, {0xDA, 2, 0}, {0xDB, 4, 0}}) {
        std::string element = bytes({first});
        element +=
            lengthBytes == 0 ? "" : std::string(static_cast<std::size_t>(lengthBytes) - 1, 0);
        element += lengthBytes == 0 ? "" : std::string(1, 3);
        element += std::string(static_cast<std::size_t>(fixed + (lengthBytes == 0 ? 0 : 3)), 'e');
        elements.push_back(element);
    }
    return elements;
}

/// What is cut out of a stream that comes in portions.
std::vector<std::string> CutOut(const std::vector<std::string_view>& portions)
{
    CMessageCutter cutter;
    std::vector<std::string> messages;
    std::string_view message;
    for (const std::string_view portion : portions) {
        cutter.Add(portion);
        while (cutter.Next(message) == CMessageCutter::EResult::Complete) {
            messages.emplace_back(message);
        }
    }
    EXPECT_FALSE(cutter.IsInMessage());
    return messages;
}

/// A stream, cut in two and in three at every place, and into its bytes.
void ExpectTheSameHoweverCut(const std::vector<std::string>& messages)
{
    std::string stream;
    for (const std::string& message : messages) {
        stream += message;
    }
    const std::string_view whole = stream;
    std::vector<std::string_view> single;
    for (std::size_t first = 0; first < whole.size(); ++first) {
        single.push_back(whole.substr(first, 1));
        ASSERT_EQ(messages, CutOut({whole.substr(0, first), whole.substr(first)})) << first;
        for (std::size_t second = first + 1; second < whole.size(); second += 3) {
            ASSERT_EQ(messages, CutOut({whole.substr(0, first), whole.substr(first, second - first),
                                        whole.substr(second)}))
                << first << " " << second;
        }
    }
    ASSERT_EQ(messages, CutOut(single));
}

} // namespace

TEST(MessageCutter, GivesMessagesOfEveryFormInWhateverPortionsTheyCome)
{
    const std::vector<std::string> elements = ElementsOfAllForms();
    ASSERT_EQ(40U, elements.size());
    for (const std::string& last : elements) {
        const std::string event = "\x93\x02\xa1x\x91" + last;
        for (const std::string& behind : elements) {
            ExpectTheSameHoweverCut({event, std::string("\x94\x01\x01\xc0", 4) + behind});
        }
    }
}

TEST(MessageCutter, KeepsNoMemoryOfALongMessageThatHasGone)
{
    CMessageCutter cutter;
    std::string_view message;
    cutter.Add("\xc6" + std::string("\x00\x80\x00\x00", 4) + std::string(0x800000, 'x'));
    EXPECT_GT(cutter.Held(), 0x800000U);
    ASSERT_EQ(CMessageCutter::EResult::Complete, cutter.Next(message));
    EXPECT_EQ(0x800005U, message.size());
    EXPECT_EQ(CMessageCutter::EResult::NeedMore, cutter.Next(message));
    EXPECT_LT(cutter.Held(), 1000U);
}

TEST(LinkItems, HoldABoundedAmountOfWhatIsUnfinishedOnAllLinks)
{
    CLinkItems items;
    CRecordedItem item;
    const std::string unfinished = "\xdb" + std::string("\x01\xff\xff\xf0", 4) +
                                   std::string(std::size_t{31} * 1024 * 1024, 'x');
    int bad = 0;
    for (std::uint16_t link = 1; link <= 12; ++link) {
        items.Open(link, link);
        items.Add(1, link, ELinkDirection::ToService, unfinished);
        while (items.Next(item)) {
            EXPECT_EQ(ERecorded::Bad, item.kind);
            EXPECT_EQ(link, item.client);
            ++bad;
        }
    }
    EXPECT_EQ(8, bad); // four of 31 MiB have room
    // What has been closed makes room again.
    for (std::uint16_t link = 1; link <= 12; ++link) {
        items.Close(link);
    }
    items.Add(1, 20, ELinkDirection::ToService, unfinished);
    EXPECT_FALSE(items.Next(item));
}

TEST(LinkItems, HoldABoundedNumberOfRequestsOnAllLinks)
{
    CLinkItems items;
    CRecordedItem item;
    const std::string large(1'000'000, 'n');
    std::string request = "\x94" + std::string(1, 0) + "\x01\xdb" +
                          std::string("\x00\x0f\x42\x40", 4) + large + "\x90";
    for (std::uint16_t link = 1; link <= 20; ++link) {
        items.Add(1, link, ELinkDirection::ToService, request);
        ASSERT_TRUE(items.Next(item));
        ASSERT_FALSE(items.Next(item));
    }
    int named = 0;
    for (std::uint16_t link = 1; link <= 20; ++link) {
        items.Add(1, link, ELinkDirection::ToApplication, std::string("\x94\x01\x01\xc0\xc0", 5));
        ASSERT_TRUE(items.Next(item));
        named += item.name.empty() ? 0 : 1;
    }
    EXPECT_EQ(16, named);
}
