// What the page is told of the last hour.

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <zlib.h>

#include "simulator/http/Gzip.h"
#include "simulator/http/History.h"
#include "simulator/http/HistoryWatch.h"
#include "tests/simulator/Service.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

using nlohmann::json;

namespace {

/// A whole number of the bytes of a sample, the lowest byte first.
template <typename Whole>
Whole At(const std::string& bytes, std::size_t place)
{
    Whole value{};
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

std::string Unpacked(const std::string& packed)
{
    std::string bytes(4 * 1024 * 1024, '\0');
    z_stream stream{};
    std::string input = packed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    EXPECT_EQ(Z_OK, inflateInit2(&stream, 15 + 16));
    EXPECT_EQ(Z_STREAM_END, inflate(&stream, Z_FINISH));
    bytes.resize(stream.total_out);
    inflateEnd(&stream);
    return bytes;
}

TEST(HistorySample, HasItsValuesAtTheirPlaces)
{
    HistorySample sample;
    sample.time = 12.34;
    sample.pose = {{-1.5, 40.25}, Radians(90.0)};
    sample.implement = {-3.5, 40.0};
    sample.implementHeading = Radians(-90.0);
    sample.speed = -2.5;
    sample.speedSetPoint = 3.0;
    sample.steeringAngle = -0.1;
    sample.desiredSteeringAngle = 0.2;
    sample.crossTrackError = -0.0123;
    sample.headingError = 0.05;
    sample.pass = -7;
    sample.nudge = 0.05;
    sample.aim = Point{-1.5, 46.25};
    sample.engageState = 3;
    sample.isNavigating = true;
    sample.drivesAgainst = true;
    sample.fix = EFix::Float;
    sample.correctionAge = 1000.0;
    sample.faults = 0x80000001U;

    const std::string bytes = BytesOf(sample);

    ASSERT_EQ(HistorySample::kBytes, bytes.size());
    EXPECT_EQ(1234u, At<std::uint32_t>(bytes, 0));
    EXPECT_EQ(-1500, At<std::int32_t>(bytes, 4));
    EXPECT_EQ(40250, At<std::int32_t>(bytes, 8));
    EXPECT_EQ(16384, At<std::uint16_t>(bytes, 12));
    EXPECT_EQ(49152, At<std::uint16_t>(bytes, 14));
    EXPECT_EQ(-200, At<std::int16_t>(bytes, 16));
    EXPECT_EQ(-25, At<std::int16_t>(bytes, 18));
    EXPECT_EQ(-2500, At<std::int16_t>(bytes, 20));
    EXPECT_EQ(3000, At<std::int16_t>(bytes, 22));
    EXPECT_EQ(-1000, At<std::int16_t>(bytes, 24));
    EXPECT_EQ(2000, At<std::int16_t>(bytes, 26));
    EXPECT_EQ(-123, At<std::int32_t>(bytes, 28));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::lowest(), At<std::int32_t>(bytes, 32));
    EXPECT_EQ(500, At<std::int16_t>(bytes, 36));
    EXPECT_EQ(-7, At<std::int16_t>(bytes, 38));
    EXPECT_EQ(500, At<std::int32_t>(bytes, 40));
    EXPECT_EQ(0, At<std::int16_t>(bytes, 44));
    EXPECT_EQ(600, At<std::int16_t>(bytes, 46));
    EXPECT_EQ(3 + 4 + 32 + 128, At<std::uint16_t>(bytes, 48));
    EXPECT_EQ(3, At<std::uint8_t>(bytes, 50));
    EXPECT_EQ(255, At<std::uint8_t>(bytes, 51));
    EXPECT_EQ(0x80000001U, At<std::uint32_t>(bytes, 52));
}

TEST(HistorySample, KeepsWhatIsBeyondItsPlaceWithinItAndWhatIsNotANumberAtZero)
{
    HistorySample sample;
    sample.pose.position = {1e12, -1e12};
    sample.speed = std::nan("");
    sample.crossTrackError = -1e12;
    sample.pass = 1000000;

    const std::string bytes = BytesOf(sample);

    EXPECT_EQ(std::numeric_limits<std::int32_t>::max(), At<std::int32_t>(bytes, 4));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::lowest(), At<std::int32_t>(bytes, 8));
    EXPECT_EQ(0, At<std::int16_t>(bytes, 20));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::lowest() + 1, At<std::int32_t>(bytes, 28))
        << "not the value that stands for no error";
    EXPECT_EQ(std::numeric_limits<std::int16_t>::max(), At<std::int16_t>(bytes, 38));
}

TEST(History, KeepsAnHourAndNoMore)
{
    CHistory history;
    HistorySample sample;
    constexpr int kSamples = 45000;
    for (int count = 0; count < kSamples; ++count) {
        sample.time = count * 0.1;
        history.Add(sample);
    }

    const HistoryView view = history.View();

    EXPECT_EQ(CHistory::kMostPieces, view.pieces.size());
    EXPECT_EQ(static_cast<std::uint64_t>(kSamples / 600 - 60), view.first);
    EXPECT_EQ(static_cast<std::size_t>(kSamples % 600) * HistorySample::kBytes, view.open.size());
    EXPECT_EQ(nullptr, PieceOf(view, view.first - 1));
    const auto first = PieceOf(view, view.first);
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(view.first * 6000, At<std::uint32_t>(*first, 0));
    const auto open = PieceOf(view, view.first + 60);
    ASSERT_NE(nullptr, open);
    EXPECT_EQ(view.open, *open);
    EXPECT_EQ(nullptr, PieceOf(view, view.first + 61));
}

TEST(History, LetsMarksOfOneKindDisplaceNoneOfAnother)
{
    CHistory history;
    history.Mark(EHistoryMark::Dropped, 1.0, "why");
    for (int count = 0; count < 5000; ++count) {
        history.Mark(EHistoryMark::Nudge, 2.0 + count * 2.0, std::string(1000, 'x'));
    }

    const HistoryView view = history.View();

    ASSERT_EQ(CHistory::kMostMarksOfAKind + 1, view.marks.size());
    std::size_t drops = 0;
    for (const auto& mark : view.marks) {
        drops += mark->kind == EHistoryMark::Dropped ? 1 : 0;
        EXPECT_LE(mark->text.size(), CHistory::kLongestText + 3);
    }
    EXPECT_EQ(1u, drops);
}

TEST(History, HasOneMarkOfAValueThatChangesAgainAtOnceAndEachOfWhatHappens)
{
    CHistory history;
    for (int count = 0; count <= 8; ++count) {
        history.Mark(EHistoryMark::Tuning, count * 0.1, "value " + std::to_string(count));
        history.Mark(EHistoryMark::Dropped, count * 0.1, "again");
    }

    const HistoryView view = history.View();

    ASSERT_EQ(10u, view.marks.size());
    EXPECT_EQ("value 8", view.marks.back()->text);
    EXPECT_EQ(0.0, view.marks.back()->time);
}

/// The marks that a service's history has, as "kind: text".
std::vector<std::string> MarksOf(const CHistoryWatch& watch, EHistoryMark kind)
{
    std::vector<std::string> texts;
    for (const auto& mark : watch.History().View().marks) {
        if (mark->kind == kind) {
            texts.push_back(mark->text);
        }
    }
    return texts;
}

class WatchedService : public Service
{
public:
    WatchedService()
    {
        Core().OnGuidance([this](const auto&) { watch.Look(Core()); });
        Advance(0.1);
    }

    CHistoryWatch watch;
};

TEST(HistoryWatch, MarksLineNudgeTuningEngagingAndTheirEnds)
{
    using Texts = std::vector<std::string>;
    WatchedService service;
    service.NavigateNorth();
    service.Advance(0.2);
    service.Request("EngageSteering", "[1]");
    service.Advance(2.0);
    service.Request("Nudge", "[1, 1, 0.05]");
    service.Advance(2.0);
    service.Notify("set_tuning_parameter", "[0, 1.5, 0]");
    service.Advance(2.0);
    service.Request("DisengageSteering", "[1]");
    service.Advance(0.2);

    EXPECT_EQ(Texts{"line set: A-B line"}, MarksOf(service.watch, EHistoryMark::Line));
    EXPECT_EQ(Texts{"nudge 5 cm to the line's right"}, MarksOf(service.watch, EHistoryMark::Nudge));
    EXPECT_EQ(Texts{"engaged"}, MarksOf(service.watch, EHistoryMark::Engaged));
    EXPECT_EQ(Texts{"steering ended by hand"}, MarksOf(service.watch, EHistoryMark::Ended));
    EXPECT_EQ(Texts{}, MarksOf(service.watch, EHistoryMark::Dropped));
}

TEST(HistoryWatch, MarksADropWithItsReasonAndTheFaultBeforeIt)
{
    WatchedService service;
    service.NavigateNorth();
    service.Request("EngageSteering", "[1]");
    service.Advance(1.0);
    service.Request("simulator_fault", "['gnss-outage', 'on', 8.0]");
    service.Advance(10.0);

    const auto drops = MarksOf(service.watch, EHistoryMark::Dropped);
    ASSERT_EQ(1u, drops.size());
    EXPECT_NE(std::string::npos, drops[0].find("no usable position")) << drops[0];
    EXPECT_EQ((std::vector<std::string>{"gnss-outage on", "gnss-outage off"}),
              MarksOf(service.watch, EHistoryMark::Fault));
    // In the sample of that moment the receiver has no position, and the fault goes on.
    const std::string open = service.watch.History().View().open;
    const std::string then = open.substr(HistorySample::kBytes * 40, HistorySample::kBytes);
    EXPECT_EQ(0, At<std::uint8_t>(then, 50));
    EXPECT_EQ(2u, At<std::uint32_t>(then, 52));
    EXPECT_EQ(2, At<std::uint16_t>(then, 48) & 3) << "steered on without positions";
}

TEST(PageHistory, IsGivenInPiecesCompressedForWhoTakesThat)
{
    RunningPage page;
    page.Advance(70.0);

    const HttpAnswer answer = Ask(page.Port(), {"GET", "/history", "", {}, ""});

    ASSERT_EQ(200, answer.status) << answer.body;
    const json index = json::parse(answer.body);
    EXPECT_EQ(0, index["first"]);
    EXPECT_EQ(1, index["pieces"]);
    EXPECT_EQ(100, index["open"]);
    EXPECT_EQ(HistorySample::kBytes, index["bytes"]);
    EXPECT_EQ("gnss-outage", index["faults"][1]);
    EXPECT_TRUE(index["recording"].is_null());
    EXPECT_EQ(json::parse(Ask(page.Port(), {"GET", "/trail", "", {}, ""}).body)["run"],
              index["run"]);
    for (const auto& [number, samples] : {std::pair<int, int>{0, 600}, {1, 100}}) {
        const std::string path = "/history/" + std::to_string(number);
        const HttpAnswer plain = Ask(page.Port(), {"GET", path, "", {}, ""});
        const HttpAnswer packed =
            Ask(page.Port(), {"GET", path, "", {"Accept-Encoding: gzip"}, ""});
        EXPECT_EQ(static_cast<std::size_t>(samples) * HistorySample::kBytes, plain.body.size());
        EXPECT_EQ(std::string::npos, plain.head.find("Content-Encoding"));
        EXPECT_NE(std::string::npos, packed.head.find("Content-Encoding: gzip"));
        EXPECT_LT(packed.body.size(), plain.body.size() / 2);
        EXPECT_EQ(plain.body, Unpacked(packed.body));
    }
    const HttpAnswer packed =
        Ask(page.Port(), {"GET", "/history", "", {"Accept-Encoding: gzip"}, ""});
    EXPECT_EQ(index["pieces"], json::parse(Unpacked(packed.body))["pieces"]);
}

TEST(PageHistory, HasOfItsOpenPieceWhatThereWasWhenItWasAskedForLast)
{
    RunningPage page;
    const auto sizeOf = [&page](const char* path) {
        return Ask(page.Port(), {"GET", path, "", {"Accept-Encoding: gzip"}, ""}).body;
    };
    page.Advance(10.0);
    EXPECT_EQ(100, json::parse(Unpacked(sizeOf("/history")))["open"]);
    const std::string before = Unpacked(sizeOf("/history/0"));
    page.Advance(10.0);
    EXPECT_EQ(before, Unpacked(sizeOf("/history/0")));
    ASSERT_TRUE(
        WaitUntil([&] { return json::parse(Unpacked(sizeOf("/history")))["open"] == 200; }));
    EXPECT_EQ(200 * HistorySample::kBytes, Unpacked(sizeOf("/history/0")).size());
}

TEST(PageHistory, RefusesPiecesThatAreNotThere)
{
    RunningPage page;
    page.Advance(1.0);
    Ask(page.Port(), {"GET", "/history", "", {}, ""});
    for (const char* path : {"/history/1", "/history/", "/history/-1", "/history/x",
                             "/history/99999999999999999999999", "/history/0/0"}) {
        EXPECT_EQ(404, Ask(page.Port(), {"GET", path, "", {}, ""}).status) << path;
    }
    EXPECT_EQ(404, Post(page.Port(), "/history", "application/json", "{}").status);
}

} // namespace
