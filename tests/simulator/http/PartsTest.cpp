// The parts of the live page that need no connection.

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/guidance/LineBuilder.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/PageValues.h"
#include "simulator/http/Polyline.h"
#include "simulator/http/RequestBody.h"
#include "simulator/http/RequestCheck.h"
#include "simulator/http/RequestReader.h"
#include "simulator/http/Trail.h"
#include "simulator/http/WorldJson.h"
#include "tests/support/Stopwatch.h"

using nlohmann::json;

namespace {

std::vector<Point> PolylineFrom(const LineDefinition& line)
{
    return PolylineOf(*BuildLine(line, 1).shape, 0.0);
}

TEST(Polyline, OfAStraightLineHasTwoPointsTwoKilometresAway)
{
    const std::vector<Point> points = PolylineFrom(StraightLine({0.0, 0.0}, {0.0, 100.0}));

    ASSERT_EQ(2u, points.size());
    EXPECT_DOUBLE_EQ(4000.0, points[1].y - points[0].y);
}

TEST(Polyline, OfACircleIsWithinACentimetreAndEndsWhereItBegins)
{
    for (const double radius : {1.0, 5.0, 50.0, 400.0}) {
        const std::vector<Point> points =
            PolylineFrom(CircleLine({-radius, 0.0}, {0.0, radius}, {radius, 0.0}));

        ASSERT_GT(points.size(), 3u) << radius;
        EXPECT_LT(Distance(points.front(), points.back()), 0.001) << radius;
        for (std::size_t index = 1; index < points.size(); ++index) {
            const Point middle{(points[index].x + points[index - 1].x) / 2.0,
                               (points[index].y + points[index - 1].y) / 2.0};
            EXPECT_NEAR(radius, std::hypot(middle.x, middle.y), 0.0101) << radius << ' ' << index;
        }
    }
}

TEST(Polyline, KeepsTheCornersAndLeavesOutWhatIsBetweenThem)
{
    std::vector<Point> points;
    for (int count = 0; count <= 10; ++count) {
        points.push_back({static_cast<double>(count), 0.0});
    }
    for (int count = 1; count <= 10; ++count) {
        points.push_back({10.0, static_cast<double>(count)});
    }

    const std::vector<Point> left = Simplified(points, 0.01);

    EXPECT_EQ(R"([[0.0,0.0],[10.0,0.0],[10.0,10.0]])"_json, PointsJson(left));
}

TEST(RequestBody, IsWhatComesInPiecesOfAnyLength)
{
    constexpr std::size_t kBlock = CRequestBody::kBlockBytes;
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, kBlock, kBlock + 1, 2 * kBlock, 5 * kBlock + 7}) {
        std::string text;
        while (text.size() < length) {
            text.push_back(static_cast<char>('a' + text.size() % 23));
        }
        for (const std::size_t piece : {std::size_t{7}, kBlock - 1, kBlock + 1, 3 * kBlock}) {
            CRequestBody body(length);
            for (std::size_t at = 0; at < length; at += piece) {
                EXPECT_FALSE(body.IsWhole());
                body.Append(text.data() + at, std::min(piece, length - at));
            }
            body.Append("beyond", 6);

            EXPECT_TRUE(body.IsWhole());
            EXPECT_EQ(length, body.Size());
            EXPECT_EQ(text, body.TakeText());
            EXPECT_EQ(0u, body.Size());
        }
    }
}

TEST(RequestBody, HoldsLittleMoreThanHasCome)
{
    CRequestBody body(std::size_t{4} << 20U);
    EXPECT_EQ(0u, body.Held());
    const std::string piece(1000, 'x');
    while (!body.IsWhole()) {
        body.Append(piece.data(), piece.size());
        EXPECT_GE(body.Held(), body.Size());
        EXPECT_LE(body.Held(), body.Size() + 2 * CRequestBody::kBlockBytes);
    }
    CRequestBody brief(60);
    brief.Append(piece.data(), 1);
    EXPECT_LT(brief.Held(), 200u);
}

TEST(RequestReader, HasAHundredHeadersAtMost)
{
    for (const std::size_t count :
         {CRequestReader::kMostHeaders, CRequestReader::kMostHeaders + 1}) {
        std::string head = "GET / HTTP/1.1\r\n";
        for (std::size_t one = 0; one < count; ++one) {
            head += "a:\r\n";
        }
        CRequestReader reader;

        const CRequestReader::EStage stage = reader.Take((head + "\r\n").data(), head.size() + 2);

        EXPECT_EQ(count <= CRequestReader::kMostHeaders ? CRequestReader::EStage::Headed
                                                        : CRequestReader::EStage::TooManyHeaders,
                  stage);
    }
}

TEST(RequestReader, CountsAllThatItHolds)
{
    const std::string head = "GET /" + std::string(3000, 'p') +
                             " HTTP/1.1\r\nname: " + std::string(5000, 'v') + "\r\n" +
                             std::string(1000, 'n') + ": short\r\n\r\n";
    CRequestReader reader;
    reader.Take(head.data(), head.size());
    EXPECT_GE(reader.Held(), 3000U + 5000 + 1000);
    EXPECT_LE(reader.Held(), 3 * head.size());

    reader.Forget();
    EXPECT_LE(reader.Held(), 100U);
}

TEST(RequestReader, KnowsALongBodyByItsAnnouncedLength)
{
    constexpr std::size_t kFirstLong = CRequestReader::kLongBodyBytes + 1;
    for (const std::size_t length : {std::size_t{2}, kFirstLong - 1, kFirstLong}) {
        CRequestReader reader;
        const std::string head =
            "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
        EXPECT_EQ(CRequestReader::EStage::Headed, reader.Take(head.data(), head.size()));
        EXPECT_FALSE(reader.IsWithinLongBody());

        EXPECT_EQ(CRequestReader::EStage::Body, reader.ReadBody());
        EXPECT_EQ(length == kFirstLong, reader.IsWithinLongBody()) << length;

        const std::string body(length, 'x');
        EXPECT_EQ(CRequestReader::EStage::Whole, reader.Take(body.data(), body.size()));
        EXPECT_FALSE(reader.IsWithinLongBody());
    }
}

TEST(RequestReader, KnowsWhoWaitsToSendABody)
{
    const struct
    {
        const char* start;
        bool isWaitedFor;
    } rows[] = {{"POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n", true},
                {"POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n", false},
                {"POST / HTTP/1.1\r\nExpect: else\r\nContent-Length: 2\r\n\r\n", false},
                {"POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\n", false},
                {"POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\nx", false},
                {"POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 0\r\n\r\n", false}};
    for (const auto& row : rows) {
        CRequestReader reader;
        reader.Take(row.start, std::string(row.start).size());
        EXPECT_FALSE(reader.IsWaitedFor()) << row.start; // whether it is wanted is to be seen
        reader.ReadBody();
        EXPECT_EQ(row.isWaitedFor, reader.IsWaitedFor()) << row.start;
    }
}

json PointsOf(const CTrail& trail)
{
    return json::parse(TrailJson(trail.Text(), 0.0, "7"))["points"];
}

TEST(Trail, KeepsTheLastHour)
{
    CTrail trail;
    for (std::size_t count = 0; count < CTrail::kMostPoints + 700; ++count) {
        trail.Add({static_cast<double>(count), -1.0 / 3.0});
        if (count % 5000 == 0) {
            EXPECT_EQ(count + 1, PointsOf(trail).size());
        }
    }

    const json points = PointsOf(trail);

    ASSERT_EQ(CTrail::kMostPoints, points.size());
    EXPECT_EQ(R"([700.0,-0.333])"_json, points.front());
    for (std::size_t index = 0; index < points.size(); ++index) {
        ASSERT_EQ(700.0 + static_cast<double>(index), points[index][0]);
    }
}

TEST(Trail, IsTheSameTextWhateverComesLater)
{
    CTrail trail;
    EXPECT_EQ(R"({"end":0.5,"interval":0.1,"points":[],"run":"7"})",
              TrailJson(trail.Text(), 0.5, "7"));
    trail.Add({1.0, std::nan("")});
    const TrailText before = trail.Text();

    for (std::size_t count = 0; count < 2 * CTrail::kMostPoints; ++count) {
        trail.Add({2.0, 2.0});
    }

    EXPECT_EQ(R"({"end":1.0,"interval":0.1,"points":[[1.0,null]],"run":"7"})",
              TrailJson(before, 1.0, "7"));
}

TEST(Trail, TakesItsPositionsFromTheEventsOfTheService)
{
    CTrail trail;
    const EventSink sink = trail.Sink();
    BListC payload(nullptr);
    for (const double value : {1.5, -2.5, 0.1}) {
        payload.AddDouble(value);
    }

    sink("cb_relative_position", payload);
    sink("cb_guidance_status", payload);

    EXPECT_EQ(R"([[1.5,-2.5]])"_json, PointsOf(trail));
}

TEST(Feed, HasTheNewestOfEachKindForASlowViewer)
{
    CEventFeed feed;
    CEventFeed::Seen seen;
    feed.Enter();
    feed.Publish(EFeedEvent::State, "1");
    feed.Publish(EFeedEvent::State, "2");
    feed.Publish(EFeedEvent::Settings, "{}");

    EXPECT_EQ("event: settings\ndata: {}\n\nevent: state\ndata: 2\n\n", feed.Take(seen));
    EXPECT_EQ("", feed.Take(seen));
}

TEST(Feed, TellsNothingTwiceAndForgetsWithTheLastViewer)
{
    int calls = 0;
    CEventFeed feed([&calls] { ++calls; });
    CEventFeed::Seen seen;
    feed.Publish(EFeedEvent::State, "unheard");
    feed.Enter();
    feed.Enter();
    EXPECT_EQ("", feed.Take(seen));
    feed.Publish(EFeedEvent::State, "1");
    feed.Take(seen);
    feed.Publish(EFeedEvent::State, "1");
    EXPECT_EQ("", feed.Take(seen));
    EXPECT_EQ(1, calls);
    const std::uint64_t generation = feed.Generation();

    feed.Leave();
    EXPECT_EQ(generation, feed.Generation());
    feed.Leave();

    EXPECT_NE(generation, feed.Generation());
    CEventFeed::Seen fresh;
    EXPECT_EQ("", feed.Take(fresh));
}

TEST(Feed, HasOneBudgetForAllThatAViewerIsSent)
{
    CEventFeed feed;
    CEventFeed::Seen seen;
    feed.Enter();
    CEventFeed::TimePoint now;
    auto picture = std::make_shared<LinePicture>();
    picture->members = "\"revision\":" + std::string(700, '1');
    std::map<std::string, int> found;
    std::size_t bytes = 0;
    constexpr int kStates = 100; // ten a second

    for (int number = 0; number < kStates; ++number) {
        const std::string text = std::to_string(number);
        feed.Publish(EFeedEvent::Settings, text + std::string(1000, 's'));
        picture = std::make_shared<LinePicture>(*picture);
        picture->number = static_cast<std::uint64_t>(number);
        picture->pieces = {{0, std::make_shared<const std::string>(20000, 'p')}};
        feed.PublishLine(picture);
        feed.Publish(EFeedEvent::State, text + std::string(800, 'x'));
        const std::string taken = feed.Take(seen, now);
        bytes += taken.size();
        for (const char* word : {"event: state", "event: settings", "event: line", "points"}) {
            found[word] += taken.find(word) != std::string::npos ? 1 : 0;
        }
        now += std::chrono::milliseconds(100);
    }

    EXPECT_LT(bytes, 10u * 30000u);
    EXPECT_EQ(kStates, found["event: state"]);
    EXPECT_GT(found["event: settings"], kStates / 4);
    EXPECT_GT(found["event: line"], kStates / 4);
    EXPECT_GT(found["points"], 3);
}

TEST(Feed, SendsLaterAsItIsThenWhatItHasNoBytesFor)
{
    CEventFeed feed;
    CEventFeed::Seen seen;
    feed.Enter();
    auto picture = std::make_shared<LinePicture>();
    picture->members = "\"revision\":1";
    picture->pieces = {{0, std::make_shared<const std::string>("[[1,2]]")}};
    CEventFeed::TimePoint now;
    EXPECT_EQ("", feed.Take(seen, now));
    seen.savedBytes = -CEventFeed::kMostAdvance;
    feed.Publish(EFeedEvent::Settings, "before");
    feed.PublishLine(picture);
    EXPECT_EQ("", feed.Take(seen, now));
    feed.Publish(EFeedEvent::Settings, "now");

    now += std::chrono::seconds(1);
    EXPECT_EQ("event: settings\ndata: now\n\n"
              "event: line\ndata: {\"revision\":1,\"line\":[],\"followed\":null,\"passes\":[]}\n\n",
              feed.Take(seen, now));
    now += std::chrono::milliseconds(200); // there is nothing for points yet
    EXPECT_EQ("", feed.Take(seen, now));
    now += std::chrono::seconds(10);
    EXPECT_EQ("event: line\ndata: {\"revision\":1,\"line\":[],\"followed\":null,"
              "\"passes\":[{\"pass\":0,\"points\":[[1,2]]}]}\n\n",
              feed.Take(seen, now));
    EXPECT_EQ("", feed.Take(seen, now + std::chrono::seconds(10)));
}

TEST(Hosts, AreOwnWithTheRightNameAndPort)
{
    for (const char* host : {"localhost:8010", "127.0.0.1:8010", "[::1]:8010", "LocalHost:8010"}) {
        EXPECT_TRUE(IsOwnHost(host, 8010)) << host;
    }
    for (const char* host :
         {"", "localhost", "localhost:801", "localhost:80100", "localhost.kestrove.example:8010",
          "127.0.0.2:8010", "::1:8010", "localhost:8010, localhost:8010", "0.0.0.0:8010"}) {
        EXPECT_FALSE(IsOwnHost(host, 8010)) << host;
    }
    EXPECT_TRUE(IsOwnHost("localhost", 80));
    EXPECT_TRUE(IsOwnOrigin("http://[::1]:8010", 8010));
    for (const char* origin : {"", "null", "https://localhost:8010", "localhost:8010", "http://"}) {
        EXPECT_FALSE(IsOwnOrigin(origin, 8010)) << origin;
    }
}

TEST(PageValues, WriteNothingThatIsNoJson)
{
    BListC list(nullptr);
    list.AddDouble(std::nan(""));
    list.AddNothing();
    list.AddString("\xff\"");

    EXPECT_EQ("[null,null,\"\xEF\xBF\xBD\\\"\"]", JsonText(ReplyJson(&list)));
    EXPECT_EQ("null", JsonText(ReplyJson(nullptr)));
}

TEST(State, HasNoGuidanceWithoutALine)
{
    CSimulation world({});

    const json state = json::parse(StateJson(world));

    for (const char* name : {"cross_track_error", "heading_error", "pass", "aim_point"}) {
        EXPECT_TRUE(state.at(name).is_null()) << name;
    }
    EXPECT_EQ(0, state["engage_state"]);
    EXPECT_EQ(R"(["navigation is not active"])"_json, state["why_not_engaged"]);
}

TEST(State, TellsOfSteeringThatIsReadyAndDropped)
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.speed = 2.0;
    CSimulation world(options);
    world.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0}));
    world.StartNavigation(EFollow::LineItself);
    EXPECT_EQ(EEngageState::Ready, EngageStateOf(world));
    world.Engage();
    EXPECT_EQ(EEngageState::Engaged, EngageStateOf(world));

    world.SetNudge(50.0);
    for (int step = 0; step < CSimulation::kStepsPerControl; ++step) {
        world.Step();
    }

    EXPECT_EQ(EEngageState::Dropped, EngageStateOf(world));
    EXPECT_NE("", json::parse(StateJson(world))["drop_reason"]);
}

} // namespace
