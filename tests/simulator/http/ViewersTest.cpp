// The stream of events of the live page: what viewers are sent and what they cost.

#include <atomic>
#include <chrono>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/http/LivePage.h"
#include "simulator/http/PageValues.h"
#include "simulator/http/WorldJson.h"
#include "tests/simulator/Values.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

using nlohmann::json;

namespace {

using Clock = std::chrono::steady_clock;

const char* const kLineNorth = "0 0.0 0.0 0.0 0.0 100.0 0.0";

/// A peer of the page on the same machine: does something ten times a second, as far as it is let.
class Metronome
{
public:
    Metronome()
        : m_thread([this] {
              while (!m_isOver) {
                  std::this_thread::sleep_for(std::chrono::milliseconds(100)); // its beat
                  ++m_beats;
              }
          })
    {
    }
    ~Metronome()
    {
        m_isOver = true;
        m_thread.join();
    }
    int Beats() const { return m_beats; }

private:
    std::atomic<bool> m_isOver{false};
    std::atomic<int> m_beats{0};
    std::thread m_thread;
};

TEST(Viewer, HearsOfTheSettingsTheLineAndTheStateAtOnce)
{
    const RunningPage page;
    EventStream viewer(page.Port());

    const json settings = json::parse(viewer.Next("settings"));

    EXPECT_EQ(4u, settings["tuning"].size());
    EXPECT_EQ(3.0, settings["implement_width"]);
    EventStream another(page.Port());
    EXPECT_EQ(-1, json::parse(another.Next("line"))["kind"]);
    EventStream third(page.Port());
    EXPECT_EQ("not ready", json::parse(third.Next("state"))["engage_state_name"]);
}

TEST(Viewer, HearsOfTheStateTenTimesASecond)
{
    RunningPage page;
    page.Run();
    const auto start = Clock::now();
    EventStream viewer(page.Port());
    double last = json::parse(viewer.Next("state"))["time"];
    const Metronome metronome;

    for (int count = 0; count < 30; ++count) {
        const double time = json::parse(viewer.Next("state"))["time"];
        EXPECT_GT(time, last);
        last = time;
    }

    EXPECT_GT(std::chrono::duration<double>(Clock::now() - start).count(), 2.5);
    EXPECT_LT(metronome.Beats(), 60);
}

TEST(Viewer, HearsOfTheStateNoMoreOftenWhenTheWorldRunsFaster)
{
    RunningPage page;
    page.Run(100.0);
    const auto start = Clock::now();
    EventStream viewer(page.Port());
    viewer.Next("state");

    for (int count = 0; count < 20; ++count) {
        viewer.Next("state");
    }

    EXPECT_GT(std::chrono::duration<double>(Clock::now() - start).count(), 1.6);
}

TEST(Viewer, HearsAHeartbeatWhileNothingHappens)
{
    LivePageTimes times;
    times.heartbeat = std::chrono::milliseconds(100);
    const RunningPage page(times);
    EventStream viewer(page.Port());
    viewer.Next("line");
    viewer.Peer().Forget();

    ASSERT_TRUE(viewer.Peer().ReadUntil(": heartbeat\n\n"));
    viewer.Peer().Forget();

    EXPECT_TRUE(viewer.Peer().ReadUntil(": heartbeat\n\n"));
    EXPECT_EQ(std::string::npos, viewer.Peer().Read().find("event:"));
}

TEST(Viewer, HearsOfALineAndOfWhatShiftsIt)
{
    const RunningPage page;
    EventStream viewer(page.Port());
    viewer.Next("line");

    PostWayline(page.Port(), kLineNorth);
    const json line = json::parse(viewer.NextWith("line", "A-B line"));
    Command(page.Port(), R"({"operation":"Nudge","arguments":[1,0,0.5]})");
    const json nudged = json::parse(viewer.Next("line"));
    Command(page.Port(), R"({"operation":"SetImplementWidth","arguments":[1,6]})");
    const json wide = json::parse(viewer.Next("line"));

    EXPECT_EQ(R"([{"text":"A","x":0.0,"y":0.0},{"text":"B","x":0.0,"y":100.0}])"_json,
              line["labels"]);
    EXPECT_EQ(2u, line["followed"]["points"].size());
    EXPECT_EQ(6u, line["passes"].size());
    EXPECT_EQ(R"({"text":"0 0.000000 0.000000 0.000000 0.000000 100.000000 0.000000"})",
              Ask(page.Port(), {"GET", "/wayline", "", {}, ""}).body);
    EXPECT_EQ(0.5, nudged["nudge"]);
    EXPECT_EQ(0.5, nudged["followed"]["points"][0][0]);
    EXPECT_EQ(0.0, nudged["line"][0][0]);
    EXPECT_GT(nudged["revision"], line["revision"]);
    EXPECT_EQ(6.5, wide["passes"][3]["points"][0][0]);
}

TEST(Viewer, HearsOfWaypointsWhileALineIsBeingMade)
{
    const RunningPage page;
    EventStream viewer(page.Port());
    viewer.Next("line");

    Command(page.Port(), R"({"operation":"start_wayline","arguments":[0]})");
    Command(page.Port(), R"({"operation":"set_waypoint","arguments":[0,5,7,0,0]})");
    const json line = json::parse(viewer.NextWith("line", R"("text":"A")"));

    EXPECT_FALSE(line["complete"]);
    EXPECT_EQ(0, line["kind"]);
    EXPECT_EQ(R"([{"text":"A","x":5.0,"y":7.0}])"_json, line["labels"]);
}

TEST(Viewer, HearsOfChangedSettingsWhileTheWorldStandsStill)
{
    const RunningPage page;
    EventStream viewer(page.Port());
    viewer.Next("settings");

    Command(page.Port(), R"({"operation":"set_tuning_parameter","arguments":[0,2.5,0]})");

    EXPECT_EQ(2.5, json::parse(viewer.Next("settings"))["tuning"][0]["value"]);
}

TEST(Viewer, SeesTheMachineSteered)
{
    RunningPage page;
    page.OnLoop([](CServiceCore& core) { core.Advance(0.5); });
    EventStream viewer(page.Port());
    PostWayline(page.Port(), "0 0.8 0.0 0.0 0.8 100.0 0.0");
    Command(page.Port(), R"({"operation":"StartNavigation","arguments":[1,0]})");

    EXPECT_EQ(R"({"reasons":[],"result":1})",
              Command(page.Port(), R"({"operation":"EngageSteering","arguments":[1]})"));
    page.Run();
    const json state = json::parse(viewer.NextWith("state", "\"engaged\""));

    EXPECT_EQ(2, state["engage_state"]);
    EXPECT_TRUE(state["navigating"]);
    EXPECT_NEAR(-0.8, state["cross_track_error"].get<double>(), 0.05);
    EXPECT_NEAR(0.8, state["aim_point"][0].get<double>(), 1e-9);
    EXPECT_EQ(0, state["pass"]);
    EXPECT_EQ(2.8, state["wheelbase"]);
    EXPECT_TRUE(WaitUntil(
        [&] { return json::parse(viewer.Next("state"))["desired_steering_angle"] > 0.0; }));
}

TEST(Viewer, IsToldWhetherTheMachineDrivesAgainstTheLine)
{
    const RunningPage page;
    EventStream viewer(page.Port());
    EXPECT_FALSE(json::parse(viewer.Next("state"))["drives_against"]);

    PostWayline(page.Port(), "0 0.0 100.0 0.0 0.0 0.0 0.0");
    EXPECT_NE("", viewer.NextWith("state", R"("drives_against":true)"));
    PostWayline(page.Port(), kLineNorth);

    EXPECT_NE("", viewer.NextWith("state", R"("drives_against":false)"));
}

TEST(Viewers, LearnWhetherANewLineIsTakenUpAtItsNearestPass)
{
    const RunningPage page;
    EventStream viewer(page.Port());
    PostWayline(page.Port(), kLineNorth);
    EXPECT_FALSE(json::parse(viewer.Next("state"))["takes_nearest_pass"]);

    Command(page.Port(), R"({"operation":"StartNavigation","arguments":[1,1]})");
    EXPECT_NE("", viewer.NextWith("state", R"("takes_nearest_pass":true)"));
    Command(page.Port(), R"({"operation":"StartNavigation","arguments":[1,0]})");
    EXPECT_NE("", viewer.NextWith("state", R"("takes_nearest_pass":false)"));
}

std::list<EventStream> AsManyViewersAsThereCanBe(const RunningPage& page)
{
    std::list<EventStream> viewers;
    while (viewers.size() < CLivePage::kMostViewers) {
        viewers.emplace_back(page.Port());
        EXPECT_FALSE(viewers.back().Next("settings").empty()) << viewers.size();
    }
    return viewers;
}

TEST(Viewers, AreSixteenAtMostAndOneMoreWhenOneHasLeft)
{
    LivePageTimes times;
    times.placeOfViewer = std::chrono::milliseconds(20);
    times.oldViewer = std::chrono::hours(1);
    const RunningPage page(times);
    std::list<EventStream> viewers = AsManyViewersAsThereCanBe(page);

    const HttpAnswer refused = Ask(page.Port(), {"GET", "/events", "", {}, ""});
    EXPECT_EQ(503, refused.status);
    EXPECT_NE(std::string::npos, refused.head.find("Retry-After: 1\r\n"));
    EXPECT_EQ(R"({"error":"16 viewers are there already"})", refused.body);
    EXPECT_EQ(R"({"reasons":[],"result":0})",
              Command(page.Port(), R"({"operation":"IsSteeringEngaged"})"));

    viewers.pop_front();
    EXPECT_TRUE(WaitUntil([&] { return !EventStream(page.Port()).Next("settings").empty(); }));
}

TEST(Viewers, ThatHaveBeenThereForLongGiveWayToOneMore)
{
    LivePageTimes times;
    times.oldViewer = std::chrono::milliseconds(50);
    const RunningPage page(times);
    std::list<EventStream> viewers = AsManyViewersAsThereCanBe(page);

    EXPECT_FALSE(EventStream(page.Port()).Next("settings").empty()) << "it waits for its place";

    EXPECT_TRUE(viewers.front().Peer().ReadToEnd());
    EXPECT_FALSE(viewers.back().Peer().ReadToEnd(std::chrono::milliseconds(0)));
}

TEST(Viewers, HaveTheirPlaceTakenByNobodyWhoDoesNotWaitForIt)
{
    LivePageTimes times;
    times.placeOfViewer = std::chrono::hours(1);
    times.oldViewer = std::chrono::milliseconds(0);
    const RunningPage page(times);
    std::list<EventStream> viewers = AsManyViewersAsThereCanBe(page);
    const int before = CountsOfThisProcess().descriptors;

    // As many again wait at most; those who have gone wait no longer.
    for (std::size_t count = 0; count < 3 * CLivePage::kMostViewers; ++count) {
        EventStream(page.Port());
    }
    std::list<EventStream> waiting;
    for (std::size_t count = 0; count < CLivePage::kMostViewers; ++count) {
        waiting.emplace_back(page.Port());
    }
    EXPECT_TRUE(WaitUntil([&] {
        return CountsOfThisProcess().descriptors ==
               before + 2 * static_cast<int>(CLivePage::kMostViewers);
    }));
    EXPECT_EQ(503, Ask(page.Port(), {"GET", "/events", "", {}, ""}).status);

    for (EventStream& viewer : viewers) {
        EXPECT_FALSE(viewer.Peer().ReadToEnd(std::chrono::milliseconds(0)));
    }
    // The first who has waited has the first place that is given up.
    viewers.pop_front();
    EXPECT_FALSE(waiting.front().Next("settings").empty());
    EXPECT_EQ("", waiting.back().Peer().Read());
}

TEST(Viewers, LoseOneThatTakesNothingAndDoNotNotice)
{
    LivePageTimes times;
    times.stalledPeer = std::chrono::milliseconds(300);
    RunningPage page(times);
    page.Run(10.0);
    EventStream other(page.Port());
    other.Next("state");
    const int before = CountsOfThisProcess().descriptors;
    EventStream stalled(page.Port(), 2048);
    ASSERT_TRUE(stalled.Peer().ReadUntil("retry"));
    // Each nudge draws the line anew: much more than the system keeps for a peer that reads
    // nothing.
    PostWayline(page.Port(), "2 0.0 0.0 0.0 300.0 300.0 0.0 600.0 0.0 0.0");

    EXPECT_TRUE(WaitUntil([&] {
        Command(page.Port(), R"({"operation":"Nudge","arguments":[1,1,0.001]})");
        EXPECT_FALSE(other.Next("state").empty());
        // The stalled viewer keeps its own end open: one descriptor, not two.
        return CountsOfThisProcess().descriptors == before + 1;
    }));
    EXPECT_FALSE(other.Next("line").empty());
}

TEST(Viewers, LeaveNoThreadAndNoDescriptorBehind)
{
    RunningPage page;
    page.Run();
    EventStream(page.Port()).Next("state");
    const ProcessCounts before = CountsOfThisProcess();

    for (int count = 0; count < 200; ++count) {
        EventStream viewer(page.Port());
        ASSERT_FALSE(viewer.Next("settings").empty()) << count;
    }

    EXPECT_TRUE(WaitUntil([&] {
        const ProcessCounts now = CountsOfThisProcess();
        return now.threads == before.threads && now.descriptors <= before.descriptors;
    }));
}

TEST(Viewers, AreNoticedToHaveGoneWhileNothingHappens)
{
    LivePageTimes times;
    times.heartbeat = std::chrono::hours(1);
    const RunningPage page(times);
    const int before = CountsOfThisProcess().descriptors;
    {
        EventStream viewer(page.Port());
        viewer.Next("line");
    }

    EXPECT_TRUE(WaitUntil([&] { return CountsOfThisProcess().descriptors == before; }));
}

TEST(Viewers, DoNotHoldUpTheEnd)
{
    LivePageTimes times;
    times.heartbeat = times.stalledPeer = times.firstByte = times.request =
        std::chrono::minutes(30);
    RunningPage page(times);
    std::list<EventStream> viewers;
    for (int count = 0; count < 5; ++count) {
        viewers.emplace_back(page.Port());
        viewers.back().Next("settings");
    }
    const HttpPeer silent(page.Port());
    HttpPeer halfway(page.Port());
    halfway.Send("POST /command HTTP/1.1\r\nHost: local");
    const auto start = Clock::now();

    page.Stop();

    EXPECT_LT(Clock::now() - start, std::chrono::minutes(1)) << "it waits for none of them";
    for (EventStream& viewer : viewers) {
        EXPECT_TRUE(viewer.Peer().ReadToEnd());
    }
    EXPECT_TRUE(halfway.ReadToEnd());
}

/// What the world is like: the whole state, and the pass that is followed.
std::string PictureOf(RunningPage& page)
{
    std::string picture;
    page.OnLoop([&](CServiceCore& core) {
        picture = StateJson(core.World()) + PointsJson(core.World().FollowedPoints()).dump();
    });
    return picture;
}

/// The pictures, one a second, of a drive of ten seconds along a line that is moved half-way. The
/// viewers read all the while.
std::vector<std::string> DriveWith(int viewerCount)
{
    RunningPage page;
    std::list<EventStream> viewers;
    for (int count = 0; count < viewerCount; ++count) {
        viewers.emplace_back(page.Port());
    }
    page.OnLoop([](CServiceCore& core) {
        core.Request("set_wayline", *ListFrom("[0, 0.5, 0.0, 0.0, 0.5, 100.0, 0.0]"));
        core.Request("StartNavigation", *ListFrom("[1, 1]"));
        core.Request("EngageSteering", *ListFrom("[1]"));
    });
    std::vector<std::string> pictures;
    for (int step = 1; step <= 100; ++step) {
        page.Advance(0.1);
        if (step == 50) {
            page.OnLoop(
                [](CServiceCore& core) { core.Request("Nudge", *ListFrom("[1, 1, 0.2]")); });
        }
        if (step % 10 != 0) {
            continue;
        }
        for (EventStream& viewer : viewers) {
            EXPECT_NE("", viewer.Next("state")) << step;
        }
        pictures.push_back(PictureOf(page));
    }
    return pictures;
}

TEST(Viewers, DoNotChangeTheRun)
{
    const std::vector<std::string> unseen = DriveWith(0);

    ASSERT_EQ(10u, unseen.size());
    EXPECT_NE(std::string::npos, unseen.back().find("\"engaged\"")) << unseen.back();
    EXPECT_NE(unseen[3], unseen[4]);
    EXPECT_EQ(unseen, DriveWith(3));
}

} // namespace
