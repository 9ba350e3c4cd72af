#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::EventRow;

std::string EventTestName(const testing::TestParamInfo<EventRow>& info)
{
    return info.param.event + "_" + std::to_string(info.index);
}

/// A copy of numbers in which the ints are doubles with a fraction.
std::unique_ptr<BListC> WithFractions(const BListC& payload)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int i = 0; i < payload.Size(); ++i) {
        const double number = payload.GetDouble(i);
        const bool isInt = payload.TypeAt(i) == EBElementType::Integer;
        list->AddDouble(!isInt ? number : number < 0.0 ? number - 0.5 : number + 0.5);
    }
    return list;
}

/// A copy of numbers without its last.
std::unique_ptr<BListC> OneShort(const BListC& payload)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int i = 0; i + 1 < payload.Size(); ++i) {
        if (payload.TypeAt(i) == EBElementType::Integer) {
            list->AddInt(payload.GetInt(i));
        } else {
            list->AddDouble(payload.GetDouble(i));
        }
    }
    return list;
}

class EventContract : public CApiTest, public testing::WithParamInterface<EventRow>
{
protected:
    const EventRow& row = GetParam();
    std::string calls;

    EventContract() { row.set(api, &calls); }
    ~EventContract() override { row.set(api, nullptr); }

    /// What is written to standard output while the event is delivered.
    std::string OutputOf(BListC& payload)
    {
        testing::internal::CaptureStdout();
        Deliver(row.event, payload);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_P(EventContract, CallsTheFunctorWithTheElements)
{
    const auto payload = row.makePayload();
    ASSERT_EQ(Doubles::Describe(*payload), row.payload);

    EXPECT_EQ(OutputOf(*payload), row.trace);

    EXPECT_EQ(calls, row.call);
}

TEST_P(EventContract, ReadsADoubleInThePlaceOfAnIntWithoutItsFraction)
{
    const auto payload = WithFractions(*row.makePayload());

    EXPECT_EQ(OutputOf(*payload), row.trace);

    EXPECT_EQ(calls, row.call) << Doubles::Describe(*payload);
}

TEST_P(EventContract, DropsAPayloadThatIsOneShort)
{
    const auto payload = OneShort(*row.makePayload());

    EXPECT_EQ(OutputOf(*payload), "");

    EXPECT_EQ(calls, "");
}

TEST_P(EventContract, TakesALongerPayloadOnlyWhereEventsMayGrow)
{
    const auto payload = row.makePayload();
    payload->AddInt(1);

    EXPECT_EQ(OutputOf(*payload), row.exact ? "" : row.trace);

    EXPECT_EQ(calls, row.exact ? "" : row.call);
}

TEST_P(EventContract, DoesNothingWithoutAFunctor)
{
    row.set(api, nullptr);
    const auto payload = row.makePayload();

    EXPECT_EQ(OutputOf(*payload), "");

    EXPECT_EQ(calls, "");
    row.set(api, &calls);
}

TEST_P(EventContract, LeavesThePayloadToTheConnection)
{
    const auto payload = row.makePayload();

    OutputOf(*payload);

    EXPECT_EQ(Doubles::Describe(*payload), row.payload);
    EXPECT_EQ(recording.LiveLists(), 1);
}

TEST_P(EventContract, SubscribesWheneverTheSlotIsEmptyAndOnlyThen)
{
    const std::string subscription = "RequestCallback " + row.event;
    EXPECT_EQ(recording.Transcript(), Lines{subscription}) << "first functor";

    row.set(api, &calls);
    EXPECT_EQ(recording.Transcript(), Lines{subscription}) << "replaced";
    row.set(api, nullptr);
    EXPECT_EQ(recording.Transcript(), Lines{subscription}) << "emptied";

    row.set(api, nullptr);
    EXPECT_EQ(recording.CountStartingWith(subscription), 2) << "null into an empty slot";
    row.set(api, &calls);
    EXPECT_EQ(recording.CountStartingWith(subscription), 3) << "functor into an empty slot";
}

TEST_P(EventContract, SubscribesWithoutLookingAtTheLink)
{
    TakeServiceDown();
    row.set(api, nullptr);
    recording.ClearTranscript();

    row.set(api, &calls);

    EXPECT_EQ(recording.Transcript(), Lines{"RequestCallback " + row.event});
}

INSTANTIATE_TEST_SUITE_P(Event, EventContract, testing::ValuesIn(Contract::EventTable()),
                         EventTestName);

} // namespace
