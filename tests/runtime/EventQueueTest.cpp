#include "runtime/EventQueue.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

const std::string kName = "event";
constexpr std::size_t kMemory = 100;

std::unique_ptr<BListC> NumberList(int count, int first)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int i = 0; i < count; ++i) {
        list->AddInt(first + i);
    }
    return list;
}

void Push(EventQueueC& queue, std::unique_ptr<BListC> payload)
{
    queue.Push(kName, payload, kMemory);
}

/// The elements of the oldest event, or "nothing" for one without a payload.
std::string Popped(EventQueueC& queue)
{
    EventC event = queue.Pop();
    std::string text = event.payload == nullptr ? "nothing" : "";
    for (int i = 0; event.payload != nullptr && i < event.payload->Size(); ++i) {
        text += event.payload->TypeAt(i) == EBElementType::String
                    ? event.payload->GetString(i)
                    : std::to_string(event.payload->GetInt(i));
        text += ' ';
    }
    queue.Recycle(std::move(event));
    return text;
}

} // namespace

TEST(EventQueue, GivesEventsOfEveryKindInTheirOrder)
{
    EventQueueC queue;
    auto text = std::make_unique<BListC>(nullptr);
    text->AddString("text");
    Push(queue, NumberList(2, 1));
    Push(queue, nullptr);
    Push(queue, std::move(text));
    Push(queue, NumberList(0, 0));
    Push(queue, NumberList(1, 7));
    EXPECT_EQ("1 2 ", Popped(queue));
    EXPECT_EQ("nothing", Popped(queue));
    EXPECT_EQ("text ", Popped(queue));
    EXPECT_EQ("", Popped(queue));
    EXPECT_EQ("7 ", Popped(queue));
}

TEST(EventQueue, KeepsAListOfAnyLengthWhole)
{
    for (const int length : {EventQueueC::kMostNumbersInPlace - 1, EventQueueC::kMostNumbersInPlace,
                             EventQueueC::kMostNumbersInPlace + 1, 1000}) {
        EventQueueC queue;
        Push(queue, NumberList(length, 5));
        const EventC event = queue.Pop();
        ASSERT_EQ(length, event.payload->Size());
        EXPECT_EQ(5 + length - 1, event.payload->GetInt(length - 1));
    }
}

TEST(EventQueue, LeavesTheListOfAFewNumbersToTheCaller)
{
    EventQueueC queue;
    std::unique_ptr<BListC> few = NumberList(3, 0);
    std::unique_ptr<BListC> many = NumberList(EventQueueC::kMostNumbersInPlace + 1, 0);
    queue.Push(kName, few, kMemory);
    queue.Push(kName, many, kMemory);
    EXPECT_NE(nullptr, few);
    EXPECT_EQ(nullptr, many);
}

TEST(EventQueue, GivesNoEventWhatACallbackAddedToTheOneBefore)
{
    EventQueueC queue;
    Push(queue, NumberList(1, 1));
    Push(queue, NumberList(1, 2));
    Push(queue, NumberList(1, 3));
    EventC first = queue.Pop();
    first.payload->AddString("more");
    queue.Recycle(std::move(first));
    EventC second = queue.Pop();
    second.payload->AddInt(9);
    queue.Recycle(std::move(second));
    EXPECT_EQ("3 ", Popped(queue));
}

TEST(EventQueue, HoldsItsOrderWhileItNeverEmpties)
{
    EventQueueC queue;
    Push(queue, NumberList(3, 0));
    for (int number = 1; number < 20000; ++number) {
        Push(queue, NumberList(3, number));
        ASSERT_EQ(number - 1, queue.Pop().payload->GetInt(0));
    }
    EXPECT_EQ(1U, queue.Size());
}

TEST(EventQueue, DropsTheOldestWithItsNumbers)
{
    EventQueueC queue;
    const int count = static_cast<int>(EventQueueC::kMostEvents) + 10;
    for (int number = 0; number < count; ++number) {
        Push(queue, NumberList(1 + number % 2, number));
    }
    EXPECT_EQ(EventQueueC::kMostEvents, queue.Size());
    EXPECT_EQ(10U, queue.Dropped());
    EXPECT_EQ("10 ", Popped(queue));
    EXPECT_EQ("11 12 ", Popped(queue));
}

TEST(EventQueue, DropsAnEventThatExceedsTheLimitAlone)
{
    const std::string small = "small";
    EventQueueC queue;
    std::unique_ptr<BListC> nothing;
    queue.Push(kName, nothing, EventQueueC::kMostMemory + 1);
    EXPECT_EQ(0U, queue.Size());
    EXPECT_EQ(1U, queue.Dropped());
    queue.Push(small, nothing, EventQueueC::kMostMemory);
    EXPECT_EQ("small", *queue.Pop().name);
}

TEST(EventQueue, IsEmptyAfterItWasCleared)
{
    EventQueueC queue;
    Push(queue, NumberList(2, 1));
    queue.Clear();
    EXPECT_EQ(0U, queue.Size());
    Push(queue, NumberList(1, 5));
    EXPECT_EQ("5 ", Popped(queue));
}
