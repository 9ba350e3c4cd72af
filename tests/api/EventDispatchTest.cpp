#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::ListOf;
using Core::Functors::MakeFunctor;
using Core::Maths::Vector2;
using Points = std::vector<Vector2<double>>;

/// Records a deletion, and what it was called with.
class CWatchedFunctor : public Core::Functors::Functor1<void, double>
{
public:
    CWatchedFunctor(std::string name, std::string& events)
        : m_name(std::move(name)), m_events(events)
    {
    }
    ~CWatchedFunctor() override { m_events += m_name + " deleted;"; }
    void operator()(double /*offset*/) override { m_events += m_name + " called;"; }

private:
    std::string m_name;
    std::string& m_events;
};

class EventDispatch : public CApiTest
{
protected:
    template <typename... Values>
    void DeliverList(const std::string& event, Values... values)
    {
        const auto payload = ListOf(values...);
        Deliver(event, *payload);
    }
    std::string events;
};

TEST_F(EventDispatch, DeletesTheOldFunctorAndSubscribesOnceMoreAfterNull)
{
    api.SetOffsetCallback(new CWatchedFunctor("A", events));
    api.SetOffsetCallback(new CWatchedFunctor("B", events));
    EXPECT_EQ(events, "A deleted;");
    EXPECT_EQ(recording.Transcript(), Lines{"RequestCallback cb_offsets"});

    api.SetOffsetCallback(nullptr);
    EXPECT_EQ(events, "A deleted;B deleted;");
    EXPECT_EQ(recording.CountStartingWith("RequestCallback cb_offsets"), 1);

    api.SetOffsetCallback(new CWatchedFunctor("C", events));
    EXPECT_EQ(recording.CountStartingWith("RequestCallback cb_offsets"), 2);
    api.SetOffsetCallback(nullptr);
}

TEST_F(EventDispatch, DeletesAFunctorThatIsSetTwice)
{
    auto* const functor = new CWatchedFunctor("A", events);
    api.SetOffsetCallback(functor);

    api.SetOffsetCallback(functor);

    EXPECT_EQ(events, "A deleted;");
    EXPECT_EQ(recording.CountStartingWith("RequestCallback"), 1);
    // The slot now holds a functor that is gone, so the client is left without an event or setter.
}

TEST_F(EventDispatch, LetsAFunctorReplaceItselfWhileItRuns)
{
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> first = token;
    api.SetOffsetCallback(MakeFunctor([this, token = std::move(token)](double) {
        CNavigationAPI& client = api;
        std::string& text = events;
        client.SetOffsetCallback(MakeFunctor([&text](double) { text += "second called;"; }));
        // From here on this functor is gone, and its captures with it.
        text += "replaced;";
    }));

    DeliverList("cb_offsets", 0.1);
    EXPECT_TRUE(first.expired());
    DeliverList("cb_offsets", 0.1);

    EXPECT_EQ(events, "replaced;second called;");
    api.SetOffsetCallback(nullptr);
}

TEST_F(EventDispatch, LetsAFunctorEmptyItsSlotWhileItRuns)
{
    api.SetOffsetCallback(MakeFunctor([this](double) { api.SetOffsetCallback(nullptr); }));

    DeliverList("cb_offsets", 0.1);
    DeliverList("cb_offsets", 0.1);

    EXPECT_EQ(recording.CountStartingWith("RequestCallback"), 1);
}

TEST_F(EventDispatch, OffersAWaylineStatusToBothFunctorsInOrder)
{
    Contract::EventTable()[4].set(api, &events);
    Contract::EventTable()[3].set(api, &events);
    EXPECT_EQ(recording.CountStartingWith("RequestCallback cb_wayline_status"), 2);
    const auto payload = ListOf(1, 1, 0, 4, 12.1);

    recording.Callbacks("cb_wayline_status").back()->Callback(payload.get());

    EXPECT_EQ(events, "(true, true, false, 4)(true, true, false, 4, 12.1)");
    Contract::EventTable()[3].set(api, nullptr);
    Contract::EventTable()[4].set(api, nullptr);
}

TEST_F(EventDispatch, DropsAWaylineStatusOfFourElementsForBothFunctors)
{
    Contract::EventTable()[3].set(api, &events);
    Contract::EventTable()[4].set(api, &events);

    DeliverList("cb_wayline_status", 1, 1, 0, 4);

    EXPECT_EQ(events, "");
    Contract::EventTable()[3].set(api, nullptr);
    Contract::EventTable()[4].set(api, nullptr);
}

TEST_F(EventDispatch, PassesKindsAndParametersWithoutANameOn)
{
    Contract::EventTable()[3].set(api, &events);
    Contract::EventTable()[6].set(api, &events);

    DeliverList("cb_wayline_status", 0, 0, 0, 1000, 0.0);
    DeliverList("cb_tuning_parameter_changed", -7, 0.1);

    EXPECT_EQ(events, "(false, false, false, 1000)(-7, 0.1)");
    Contract::EventTable()[3].set(api, nullptr);
    Contract::EventTable()[6].set(api, nullptr);
}

/// The events that begin with truth values.
struct TruthEvent
{
    const char* name;
    std::size_t row;
    int truths;
    int further; ///< elements behind them
    const char* furtherText;
};

const TruthEvent kTruthEvents[] = {{"cb_engage_status", 0, 5, 0, ""},
                                   {"cb_wayline_status", 3, 3, 2, ", 0"}};

class EventTruths : public EventDispatch
{
protected:
    EventTruths()
    {
        for (const TruthEvent& event : kTruthEvents) {
            Contract::EventTable()[event.row].set(api, &events);
        }
    }
    ~EventTruths() override
    {
        for (const TruthEvent& event : kTruthEvents) {
            Contract::EventTable()[event.row].set(api, nullptr);
        }
    }
    /// Delivers each event with the value in each place of a truth value, and 0 in all others.
    template <typename Value>
    void ExpectToBe(bool truth, Value value)
    {
        for (const TruthEvent& event : kTruthEvents) {
            for (int place = 0; place < event.truths; ++place) {
                const auto payload = ListOf();
                std::string told;
                for (int i = 0; i < event.truths + event.further; ++i) {
                    Contract::AppendTo(*payload, i == place ? value : Value());
                    if (i < event.truths) {
                        told += i == place && truth ? ", true" : ", false";
                    }
                }
                events.clear();
                Deliver(event.name, *payload);
                EXPECT_EQ(events, "(" + told.substr(2) + event.furtherText + ")") << value;
            }
        }
    }
};

TEST_F(EventTruths, AreEveryNumberButZero)
{
    for (const int number : {-1, 1, 2, 256}) {
        ExpectToBe(true, number);
    }
    ExpectToBe(false, 0);
}

TEST_F(EventTruths, AreReadFromADoubleWithoutItsFraction)
{
    for (const double number : {0.5, -0.9, 0.0}) {
        ExpectToBe(false, number);
    }
    for (const double number : {1.9, -1.1}) {
        ExpectToBe(true, number);
    }
}

TEST_F(EventDispatch, ReadsADoubleInThePlaceOfAnIntegerWithoutItsFraction)
{
    Contract::EventTable()[1].set(api, &events);
    Contract::EventTable()[3].set(api, &events);

    DeliverList("cb_guidance_status", -2.9, 0.1, 1.1, 2.1);
    DeliverList("cb_wayline_status", 0.5, 1.9, -0.9, 3.9, 0.1);

    EXPECT_EQ(events, "(-2, 0.1, 1.1, 2.1)(false, true, false, 3)");
    Contract::EventTable()[1].set(api, nullptr);
    Contract::EventTable()[3].set(api, nullptr);
}

/// Does something when it is deleted.
class CParting : public Core::Functors::Functor1<void, double>
{
public:
    CParting(std::string& events, std::function<void()> farewell)
        : m_events(events), m_farewell(std::move(farewell))
    {
    }
    ~CParting() override { m_farewell(); }
    void operator()(double /*offset*/) override { m_events += "old called;"; }

private:
    std::string& m_events;
    std::function<void()> m_farewell;
};

TEST_F(EventDispatch, DeletesTheOldFunctorBeforeItHoldsTheNewOne)
{
    api.SetOffsetCallback(new CParting(events, [this] { DeliverList("cb_offsets", 0.1); }));

    api.SetOffsetCallback(MakeFunctor([this](double) { events += "new called;"; }));
    EXPECT_EQ(events, "old called;");

    DeliverList("cb_offsets", 0.1);
    EXPECT_EQ(events, "old called;new called;");
    api.SetOffsetCallback(nullptr);
}

TEST_F(EventDispatch, CallsWhatTheSecondWaylineStatusSlotHoldsOnceTheFirstFunctorHasRun)
{
    using Kestrove::EWaylineType;
    api.SetWaylineStatusCallback(MakeFunctor(
        [this](bool, bool, bool, EWaylineType, double) { events += "replaced one called;"; }));
    api.SetWaylineStatusCallback(MakeFunctor([this](bool, bool, bool, EWaylineType) {
        CNavigationAPI& client = api;
        std::string& text = events;
        client.SetWaylineStatusCallback(MakeFunctor(
            [&text](bool, bool, bool, EWaylineType, double) { text += "new one called;"; }));
    }));
    const auto payload = ListOf(1, 1, 0, 4, 12.1);

    recording.Callbacks("cb_wayline_status").back()->Callback(payload.get());

    EXPECT_EQ(events, "new one called;");
    Contract::EventTable()[3].set(api, nullptr);
    Contract::EventTable()[4].set(api, nullptr);
}

TEST_F(EventDispatch, WritesTheTraceLineBeforeItCalls)
{
    api.SetImplementWidthCallback(MakeFunctor([](double) { std::puts("functor"); }));
    testing::internal::CaptureStdout();

    DeliverList("cb_implement_width_changed", 24.1);

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CNavigationAPI::ImplementWidthChangedCallback\nfunctor\n");
    api.SetImplementWidthCallback(nullptr);
}

TEST_F(EventDispatch, LetsAnExceptionOfAFunctorPass)
{
    api.SetOffsetCallback(MakeFunctor([](double) { throw std::runtime_error("functor"); }));
    const auto payload = ListOf(0.1);

    EXPECT_THROW(recording.Callbacks("cb_offsets")[0]->Callback(payload.get()), std::runtime_error);

    api.SetOffsetCallback(nullptr);
}

class DrawPoints : public EventDispatch
{
protected:
    DrawPoints() { Contract::EventTable()[8].set(api, &events); }
    ~DrawPoints() override { Contract::EventTable()[8].set(api, nullptr); }
};

TEST_F(DrawPoints, GivesThePointsThatAreWhole)
{
    DeliverList("cb_draw_points", 3, 1.1, 2.1, 3.1, 4.1);
    EXPECT_EQ(events, "[(1.1, 2.1)(3.1, 4.1)]");
}

TEST_F(DrawPoints, IgnoresAnOddElementAtTheEnd)
{
    DeliverList("cb_draw_points", 3, 1.1, 2.1, 3.1);
    EXPECT_EQ(events, "[(1.1, 2.1)]");
}

TEST_F(DrawPoints, GivesNoMorePointsThanAreAnnounced)
{
    DeliverList("cb_draw_points", 1, 1.1, 2.1, 3.1, 4.1);
    EXPECT_EQ(events, "[(1.1, 2.1)]");
}

TEST_F(DrawPoints, ReadsADoubleInThePlaceOfTheNumberWithoutItsFraction)
{
    DeliverList("cb_draw_points", 1.9, 1.1, 2.1, 3.1, 4.1);
    DeliverList("cb_draw_points", -0.5, 1.1, 2.1);
    EXPECT_EQ(events, "[(1.1, 2.1)][]");
}

TEST_F(DrawPoints, CallsTheFunctorWithoutPointsToo)
{
    DeliverList("cb_draw_points", 0);
    DeliverList("cb_draw_points", 2);
    DeliverList("cb_draw_points", 2, 1.1);
    EXPECT_EQ(events, "[][][]");
}

TEST_F(DrawPoints, ClaimsNoMemoryForAFalseAnnouncement)
{
    DeliverList("cb_draw_points", 2147483647, 1.1, 2.1);
    EXPECT_EQ(events, "[(1.1, 2.1)]");
}

TEST_F(DrawPoints, LetsTheLengthErrorOfANegativeNumberPass)
{
    const auto payload = ListOf(-1, 1.1, 2.1);

    EXPECT_THROW(recording.Callbacks("cb_draw_points")[0]->Callback(payload.get()),
                 std::length_error);

    EXPECT_EQ(events, "");
    DeliverList("cb_draw_points", 0);
    EXPECT_EQ(events, "[]");
}

} // namespace
