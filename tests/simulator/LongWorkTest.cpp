// Operations that take long, in every order with those that overtake them. Results come back to the
// loop, which runs when a test lets it: so what happens meanwhile is what the test does.

#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "simulator/service/ServiceCore.h"
#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

/// So many points that everything made of them is made aside.
constexpr int kMany = 3000;

/// A curve of points every half metre, in bends.
std::string Curve(int kind, double x, int points = kMany)
{
    std::string list = "[" + std::to_string(kind) + ", " + std::to_string(points);
    for (int i = 0; i < points; ++i) {
        const double y = 0.5 * i;
        list += ", " + std::to_string(x + 20.0 * std::sin(y / 60.0)) + ", " + std::to_string(y) +
                ", 0.0";
    }
    return list + "]";
}

const char* const kShortLine = "[0, 50.0, 0.0, 0.0, 50.0, 100.0, 0.0]";

/// A service core with a work queue, and a loop that runs when it is asked to.
class CQueuedService
{
public:
    /// The reply to a call; nothing as long as there is none.
    using Reply = std::shared_ptr<std::optional<std::string>>;

    CQueuedService()
    {
        ServiceCoreOptions options;
        options.simulation = IdealWorld(2.0);
        options.log = [this](ELogLevel, const std::string& line) { m_log += line + "\n"; };
        options.work = &m_queue;
        m_core = std::make_unique<CServiceCore>(std::move(options));
    }

    /// Makes a request as the link makes it.
    Reply Ask(const std::string& name, const std::string& arguments)
    {
        auto reply = std::make_shared<std::optional<std::string>>();
        std::unique_ptr<BListC> list = ListFrom(arguments);
        const auto take = [reply](const Answer& answer) { *reply = Text(answer); };
        Answer answer;
        if (m_core->Try(ECall::Request, name, *list, answer)) {
            take(answer);
        } else {
            m_lastTicket = m_core->Queue(ECall::Request, name, std::move(list), take);
        }
        return reply;
    }

    /// The reply of a request, however long it takes.
    std::string Request(const std::string& name, const std::string& arguments)
    {
        const Reply reply = Ask(name, arguments);
        Finish();
        return reply->value_or("none");
    }

    /// Lets the loop run until nothing is at its work.
    void Finish()
    {
        while (m_queue.Waiting() != 0) {
            m_loop.run_one();
        }
    }

    /// Lets the loop run until the first operation in the queue has made its first attempt, and not
    /// so far that it is through.
    void Begin() { m_loop.run_one(); }

    void Advance(double seconds) { m_core->Advance(seconds); }
    const std::string& Log() const { return m_log; }
    const CSimulation& World() const { return m_core->World(); }
    CWorkQueue& Queue() { return m_queue; }
    asio::io_context& Loop() { return m_loop; }
    CWorkQueue::Ticket LastTicket() const { return m_lastTicket; }

private:
    static std::string Text(const Answer& answer)
    {
        if (!answer.error.empty()) {
            return "error: " + answer.error;
        }
        return answer.bytes ? std::to_string(answer.bytes->size()) + " bytes"
                            : TextOf(answer.value.get());
    }

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_stays =
        asio::make_work_guard(m_loop);
    std::string m_log;
    CWorkQueue m_queue{m_loop};
    std::unique_ptr<CServiceCore> m_core;
    CWorkQueue::Ticket m_lastTicket = 0;
};

std::string NudgeOf(CQueuedService& service)
{
    return service.Request("get_nudge", "[1]");
}

} // namespace

TEST(LongWork, IsLeftForLaterWithNothingChangedAndCarriedOutWhenItIsThere)
{
    CQueuedService service;
    const auto reply = service.Ask("set_wayline", Curve(4, 10.0));
    EXPECT_FALSE(reply->has_value());
    EXPECT_EQ("nil", *service.Ask("get_wayline", "[]")->operator->());
    service.Finish();
    EXPECT_EQ("1", reply->value_or("none"));
    EXPECT_NEAR(1540.0, service.World().LineLength(), 5.0);
}

TEST(LongWork, GivesWhatACalculationOnTheSpotGives)
{
    CQueuedService queued;
    Service plain;
    const std::vector<std::pair<std::string, std::string>> calls{
        {"set_wayline", Curve(4, 10.0)},   {"Nudge", "[1, 1, 0.3]"},
        {"StartNavigation", "[1, 1]"},     {"SetFieldOffset", "[1, -1.2]"},
        {"SetImplementWidth", "[1, 4.0]"}, {"set_wayline", Curve(3, -7.0)},
        {"AutoSetNudge", "[1]"},           {"calculate_headings", "[" + Curve(3, 2.0) + "]"},
        {"ReinitialiseNavigation", "[1]"}, {"StopNavigation", "[1]"},
    };
    for (const auto& [name, arguments] : calls) {
        const std::string expected = plain.Request(name, arguments);
        const std::string found = queued.Request(name, arguments);
        if (name != "calculate_headings") {
            EXPECT_EQ(expected, found) << name;
        }
        // A pass that the machine is nearer to now is followed as soon as it is there.
        for (int look = 0;
             look < 500 && queued.World().Status().pass != plain.World().Status().pass; ++look) {
            queued.Loop().run_one_for(std::chrono::milliseconds(20));
            queued.Advance(0.1);
            plain.Advance(0.1);
        }
        const GuidanceStatus here = queued.World().Status();
        const GuidanceStatus there = plain.World().Status();
        EXPECT_EQ(there.pass, here.pass) << name;
        EXPECT_EQ(there.crossTrackError, here.crossTrackError) << name;
        EXPECT_EQ(there.headingError, here.headingError) << name;
    }
}

TEST(LongWork, IsCarriedOutInTheOrderInWhichItWasAskedFor)
{
    CQueuedService service;
    const auto first = service.Ask("set_wayline", Curve(4, 10.0));
    const auto second = service.Ask("set_wayline", Curve(3, -10.0));
    const auto third = service.Ask("Nudge", "[1, 0, 0.5]");
    const auto fourth = service.Ask("Nudge", "[1, 1, 0.25]");
    service.Finish();
    EXPECT_EQ("1", first->value_or("none"));
    EXPECT_EQ("1", second->value_or("none"));
    EXPECT_EQ("[1", third->value_or("none").substr(0, 2));
    EXPECT_EQ("[1", fourth->value_or("none").substr(0, 2));
    EXPECT_EQ("0.75", NudgeOf(service));
    EXPECT_EQ(std::to_string(3 + 1 + 3 + 27 * kMany) + " bytes",
              service.Request("get_wayline", "[]"));
}

TEST(LongWork, IsEndedWithoutEffectByWhatEndsSteeringOrTakesTheLineAway)
{
    const std::vector<std::pair<std::string, std::string>> works{
        {"set_wayline", Curve(4, 10.0)},    {"StartNavigation", "[1, 1]"},
        {"Nudge", "[1, 1, 0.5]"},           {"SetFieldOffset", "[1, 1.5]"},
        {"SetImplementOffset", "[1, 0.7]"}, {"SetCurveFilterSize", "[1, 31]"},
        {"ReinitialiseNavigation", "[1]"},
    };
    const std::vector<std::pair<std::string, std::string>> enders{
        {"DisengageSteering", "[1]"}, {"StopNavigation", "[1]"},   {"ClearNavigation", "[]"},
        {"clear_wayline", "[]"},      {"set_wayline", kShortLine}, {"start_wayline", "[0]"},
    };
    for (const auto& [work, arguments] : works) {
        for (const auto& [ender, enderArguments] : enders) {
            for (const bool begun : {false, true}) {
                const bool endsWhatWaits = ender != "set_wayline";
                if (!begun && !endsWhatWaits) {
                    continue;
                }
                SCOPED_TRACE(work + (begun ? ", begun, " : ", waiting, ") + ender);
                CQueuedService service;
                ASSERT_EQ("1", service.Request("set_wayline", Curve(4, 30.0)));
                service.Request("SetFieldOffset", "[1, 0.25]");
                service.Request("set_nudge", "[1, 0.125]");
                service.Request("SetCurveFilterSize", "[1, 21]");
                const auto reply = service.Ask(work, arguments);
                ASSERT_FALSE(reply->has_value());
                if (begun) {
                    service.Begin();
                }
                ASSERT_EQ("1", service.Ask(ender, enderArguments)->value_or("none"));
                service.Finish();
                const std::string refused = reply->value_or("none");
                EXPECT_TRUE(refused == "0" || refused.rfind("[0", 0) == 0 || refused == "nil")
                    << refused;
                EXPECT_NE(std::string::npos, service.Log().find("meanwhile")) << service.Log();
                const bool cleared = ender == "ClearNavigation";
                EXPECT_EQ(cleared ? "0.0" : "0.125", NudgeOf(service));
                EXPECT_EQ(cleared ? "0.0" : "0.25", service.Request("GetFieldOffset", "[1]"));
                EXPECT_EQ("3.0", service.Request("GetImplementWidth", "[1]"));
                EXPECT_EQ("21", service.Request("GetCurveFilterSize", "[1]"));
                EXPECT_EQ("0", service.Request("IsNavigationActivated", "[]"));
            }
        }
    }
}

TEST(LongWork, ThatIsQueuedAfterADisengagementItCameBeforeIsEndedIfItChangesTheLine)
{
    CQueuedService service;
    ASSERT_EQ("1", service.Request("set_wayline", Curve(4, 0.0)));
    service.Ask("DisengageSteering", "[1]");
    const auto line = service.Ask("set_wayline", Curve(4, 9.0, 2 * kMany));
    service.Queue().EndAsDisengaged(service.LastTicket());
    const auto headings = service.Ask("calculate_headings", "[" + Curve(4, 5.0) + "]");
    service.Queue().EndAsDisengaged(service.LastTicket());
    const auto later = service.Ask("Nudge", "[1, 1, 0.5]");
    service.Finish();
    EXPECT_EQ("0", line->value_or("none"));
    EXPECT_NE(std::string::npos, service.Log().find("ended by hand meanwhile")) << service.Log();
    EXPECT_NE("none", headings->value_or("none"));
    EXPECT_EQ(std::to_string(3 + 1 + 3 + 27 * kMany) + " bytes",
              service.Request("get_wayline", "[]"));
    EXPECT_EQ('1', later->value_or("none")[1]);
}

TEST(LongWork, ThatChangesNothingIsNotEndedByADisengagement)
{
    CQueuedService service;
    ASSERT_EQ("1", service.Request("set_wayline", Curve(4, 0.0)));
    const auto line = service.Ask("get_wayline", "[]");
    const auto headings = service.Ask("calculate_headings", "[" + Curve(4, 5.0) + "]");
    service.Begin();
    service.Ask("DisengageSteering", "[1]");
    service.Finish();
    EXPECT_EQ(std::to_string(3 + 1 + 3 + 27 * kMany) + " bytes", line->value_or("none"));
    EXPECT_NE("none", headings->value_or("none"));
}

TEST(LongWork, OfADriveEndsWhereTheMachineWasWhenItWasAskedFor)
{
    CQueuedService service;
    service.Request("SetVelocitySetPoint", "[15.0]");
    service.Request("start_wayline", "[4]");
    service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
    service.Advance(60.0);
    const double length = service.World().EstimatedPose().position.y;
    const auto reply = service.Ask("set_waypoint", "[1, 0.0, 0.0, 0.0, 0.0]");
    ASSERT_FALSE(reply->has_value());
    service.Begin();
    service.Advance(5.0);
    service.Finish();
    EXPECT_EQ("1", reply->value_or("none"));
    EXPECT_NEAR(length, service.World().LineLength(), 0.5);
}

TEST(LongWork, ThatShiftsTheLineUnderTheMachineTakesWhereItWasAtFirst)
{
    for (const char* const shift : {"AutoSetNudge", "AutoSetFieldOffset"}) {
        CQueuedService service;
        ASSERT_EQ("1", service.Request("set_wayline", Curve(3, 10.0)));
        service.Request("SetVelocitySetPoint", "[5.0]");
        service.Advance(1.0);
        const double aside = service.World().Status().crossTrackError;
        const auto reply = service.Ask(shift, "[1]");
        service.Begin();
        for (int step = 0; step < 20 && service.Queue().Waiting() != 0; ++step) {
            service.Advance(0.5);
            service.Loop().run_one();
        }
        EXPECT_EQ(0U, service.Queue().Waiting());
        EXPECT_NE(std::string::npos, reply->value_or("none").find('1'));
        const CSimulation& world = service.World();
        EXPECT_EQ(aside, world.Nudge() + world.FieldOffset());
    }
}

TEST(LongWork, MakesAPassThatTheMachineDrivesToWhileItKeepsThePresentOne)
{
    CQueuedService service;
    service.Request("set_wayline", "[3, 2, 0.0, -500.0, 0.0, 0.0, 1500.0, 0.0]");
    service.Request("StartNavigation", "[1, 1]");
    ASSERT_EQ(0, service.World().Status().pass);
    // Positions far to the right: the second pass beside the line.
    service.Request("SetPositionData",
                    "['1=50.0;2=10.0;3=0.0;4=0.0;5=2.0;6=0.0;7=0.0;8=0.0;9=0.0;10=0.0;11=0.0;"
                    "12=0.0;13=0.0;14=0.0;15=1;16=4;17=9;18=1;19=0;20=1;21=0.0']");
    service.Request("SetPositionData",
                    "['1=50.0;2=10.0001;3=0.0;4=0.0;5=2.0;6=0.0;7=0.0;8=0.0;9=0.0;10=0.0;11=0.0;"
                    "12=0.0;13=0.0;14=0.0;15=1;16=4;17=9;18=1;19=0;20=2;21=0.1']");
    EXPECT_EQ(0, service.World().Status().pass);
    service.Loop().run_one();
    service.Advance(0.1);
    EXPECT_EQ(2, service.World().Status().pass);
}

TEST(LongWork, ThatNobodyWantsAnyMoreIsForgottenUnlessItHasBegun)
{
    CQueuedService service;
    const auto begun = service.Ask("set_wayline", Curve(4, 10.0));
    service.Begin();
    service.Queue().Forget(service.LastTicket());
    const auto waiting = service.Ask("set_wayline", Curve(3, 10.0));
    service.Queue().Forget(service.LastTicket());
    service.Finish();
    EXPECT_EQ("1", begun->value_or("none"));
    EXPECT_FALSE(waiting->has_value());
}

TEST(LongWork, IsDroppedWithTheServiceThatEnds)
{
    for (int round = 0; round < 20; ++round) {
        CQueuedService service;
        const auto reply = service.Ask("set_wayline", Curve(4, 10.0));
        service.Ask("calculate_headings", "[" + Curve(4, 5.0) + "]");
        service.Begin();
        EXPECT_FALSE(reply->has_value());
    }
}

TEST(LongWork, TellsAnExceptionOfACalculationWhereItsResultIsWanted)
{
    asio::io_context loop;
    const auto stays = asio::make_work_guard(loop);
    CWorkQueue queue(loop);
    std::string told;
    queue.Add([&] {
        try {
            queue.Get({"fails"}, EWork::Query, CWorkQueue::kPointsOnTheSpot + 1,
                      []() -> WorkResult { throw std::runtime_error("no memory"); });
        } catch (const std::runtime_error& error) {
            told = error.what();
        }
    });
    while (queue.Waiting() != 0) {
        loop.run_one();
    }
    EXPECT_EQ("no memory", told);
}

TEST(LongWork, ThatKeepsFindingItsInputsChangedIsEnded)
{
    asio::io_context loop;
    const auto stays = asio::make_work_guard(loop);
    CWorkQueue queue(loop);
    int attempts = 0;
    std::string told;
    queue.Add([&] {
        try {
            queue.Get({"moves", nullptr, static_cast<double>(++attempts)}, EWork::Change,
                      CWorkQueue::kPointsOnTheSpot + 1,
                      []() -> WorkResult { return std::make_shared<const int>(1); });
        } catch (const CWorkEnded& ended) {
            told = ended.what();
        }
    });
    while (queue.Waiting() != 0) {
        loop.run_one();
    }
    EXPECT_EQ("what it works on kept changing", told);
    EXPECT_EQ(CWorkQueue::kMostAttempts + 1, attempts);
}

/// Runs operations that take no time, one a turn of the loop, and keeps the names of those that had
/// theirs.
class CTurns
{
public:
    void Add(const std::string& name, CWorkQueue::EAsker asker)
    {
        m_queue.Add([this, name] { m_names.push_back(name); }, asker);
    }
    /// Lets the next operation have its turn, where one waits.
    void Run() { m_loop.poll_one(); }
    std::vector<std::string> All()
    {
        m_loop.poll();
        return m_names;
    }
    const std::vector<std::string>& Names() const { return m_names; }

private:
    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_stays =
        asio::make_work_guard(m_loop);
    std::vector<std::string> m_names;
    CWorkQueue m_queue{m_loop};
};

TEST(LongWork, OfThePageHasItsTurnsBetweenThoseOfTheClients)
{
    using EAsker = CWorkQueue::EAsker;
    CTurns turns;
    for (const char* name : {"page 1", "page 2", "page 3", "page 4"}) {
        turns.Add(name, EAsker::Page);
    }
    turns.Add("client 1", EAsker::Client);
    turns.Add("client 2", EAsker::Client);
    turns.Run();
    turns.Run();
    turns.Add("client 3", EAsker::Client);
    turns.Add("page 5", EAsker::Page);

    const std::vector<std::string> expected{"page 1",   "client 1", "client 2", "page 2",
                                            "client 3", "page 3",   "page 4",   "page 5"};
    EXPECT_EQ(expected, turns.All());
}

TEST(LongWork, OfClientsAndPageHasItsTurnsInEveryOrderOfAsking)
{
    using EAsker = CWorkQueue::EAsker;
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        CTurns turns;
        const auto clients = static_cast<unsigned>(1 + random() % 5);
        std::vector<std::optional<unsigned>> asked(clients); // in which turn
        unsigned pageAsked = 0;
        unsigned pageDone = 0;
        unsigned pageWaitsSince = 0;
        for (unsigned turn = 0; turn < 60; ++turn) {
            pageWaitsSince = pageAsked == pageDone ? turn : pageWaitsSince;
            for (auto added = random() % 4; added > 0; --added) {
                turns.Add("page " + std::to_string(pageAsked++), EAsker::Page);
            }
            for (unsigned client = 0; client < clients; ++client) {
                if (!asked[client] && random() % 3 != 0) {
                    turns.Add(std::to_string(client), EAsker::Client);
                    asked[client] = turn;
                }
            }
            const std::size_t before = turns.Names().size();
            turns.Run();
            if (turns.Names().size() == before) {
                continue;
            }
            const std::string name = turns.Names().back();
            if (name[0] == 'p') {
                EXPECT_EQ("page " + std::to_string(pageDone++), name);
                // Each client once in this round, and once in the next.
                EXPECT_LE(turn - pageWaitsSince, 2 * clients);
                pageWaitsSince = turn;
            } else {
                const auto client = static_cast<std::size_t>(std::stoul(name));
                // Each other client once, and the page once.
                EXPECT_LE(turn - asked[client].value_or(0), clients);
                asked[client].reset();
            }
        }
    }
}

TEST(LongWork, HasItsArgumentsDestroyedOnTheLoopWhereverTheyAreLetGo)
{
    class CWitness final : public BElementC
    {
    public:
        explicit CWitness(std::thread::id& place) : BElementC(nullptr), m_place(place) {}
        ~CWitness() override { m_place = std::this_thread::get_id(); }
        EBElementType Type() const override { return EBElementType::String; }

    private:
        std::thread::id& m_place;
    };
    asio::io_context loop;
    CWorkQueue queue(loop);
    std::thread::id place;
    auto arguments = std::make_unique<BListC>(nullptr);
    arguments->Add(new CWitness(place));
    std::shared_ptr<const BListC> kept = queue.Keep(std::move(arguments));
    EXPECT_EQ(EBElementType::String, kept->TypeAt(0));
    std::thread([last = std::move(kept)]() mutable { last.reset(); }).join();
    EXPECT_EQ(std::thread::id(), place);
    loop.run();
    EXPECT_EQ(std::this_thread::get_id(), place);
}

TEST(LongWork, IsNotDoneForAWaylineOfTooManyPoints)
{
    Service service;
    EXPECT_EQ("0", service.Request("set_wayline", "[3, 200001, 0.0, 0.0, 0.0]"));
    EXPECT_NE(std::string::npos, service.Log().find("200001 points are too many for a wayline, "
                                                    "allowed is 200000"));
}
