// The accuracy report of the drive so far, as the live page's button asks for it.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/http/DriveKeeper.h"
#include "tests/simulator/Values.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

namespace {

HttpAnswer AskForReport(const RunningPage& page)
{
    return Ask(page.Port(), {"GET", "/report", "", {}, ""});
}

void Steer(RunningPage& page)
{
    page.OnLoop([](CServiceCore& core) {
        core.Request("set_wayline", *ListFrom("[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]"));
        core.Request("StartNavigation", *ListFrom("[1, 1]"));
        core.Advance(1.0);
        core.Request("EngageSteering", *ListFrom("[1]"));
    });
}

std::vector<DrivePiece> PiecesAfter(CDriveKeeper& keeper, std::size_t samples)
{
    SimulationOptions options;
    options.speed = 2.0;
    CSimulation world(options);
    for (std::size_t i = 0; i < samples; ++i) {
        for (int step = 0; step < CSimulation::kStepsPerControl && i < 20; ++step) {
            world.Step();
        }
        keeper.Add(world);
    }
    return keeper.Pieces();
}

std::size_t CountOf(const std::vector<DrivePiece>& pieces)
{
    std::size_t count = 0;
    for (const DrivePiece& piece : pieces) {
        count += piece->size();
    }
    return count;
}

TEST(Report, IsRefusedWithTheReasonBeforeAnythingWasSteered)
{
    RunningPage page;
    EXPECT_EQ(409, AskForReport(page).status);
    page.Advance(2.0);

    const HttpAnswer answer = AskForReport(page);

    EXPECT_EQ(409, answer.status);
    EXPECT_NE(std::string::npos, answer.body.find("steering was never engaged")) << answer.body;
}

TEST(Report, IsAFileOfHtmlThatIsNotKept)
{
    RunningPage page;
    Steer(page);
    page.Advance(30.0);

    const HttpAnswer answer = AskForReport(page);

    ASSERT_EQ(200, answer.status) << answer.body;
    for (const char* header :
         {"Content-Type: text/html; charset=utf-8\r\n", "Cache-Control: no-store\r\n",
          "Content-Disposition: attachment; filename=\"accuracy-report.html\"\r\n"}) {
        EXPECT_NE(std::string::npos, answer.head.find(header)) << header << answer.head;
    }
    EXPECT_NE(std::string::npos, answer.body.find("300 samples, 30.0 s"));
    EXPECT_NE(std::string::npos, answer.body.find("</html>"));
}

TEST(Report, IsRefusedToOtherSites)
{
    const RunningPage page;
    EXPECT_EQ(403,
              Ask(page.Port(), {"GET", "/report", "", {"Sec-Fetch-Site: cross-site"}, ""}).status);
    EXPECT_EQ(404, Ask(page.Port(), {"POST", "/report", "", {}, "{}"}).status);
}

TEST(DriveKeeper, KeepsTheLastHourInPieces)
{
    constexpr std::size_t kMostSamples = CDriveKeeper::kMostPieces * CDriveKeeper::kSamplesOfAPiece;
    CDriveKeeper keeper;
    EXPECT_EQ(5U, CountOf(PiecesAfter(keeper, 5)));
    EXPECT_EQ(kMostSamples + 5, CountOf(PiecesAfter(keeper, kMostSamples)));
    EXPECT_EQ(kMostSamples + 7, CountOf(PiecesAfter(keeper, kMostSamples + 2)));
    EXPECT_EQ(CDriveKeeper::kMostPieces + 1, keeper.Pieces().size());
}

TEST(DriveKeeper, HandsOverWhatDoesNotChangeAnyMore)
{
    CDriveKeeper keeper;
    const std::vector<DrivePiece> before = PiecesAfter(keeper, 700);
    PiecesAfter(keeper, 1000);
    EXPECT_EQ(700U, CountOf(before));
    EXPECT_EQ(before.front(), keeper.Pieces().front());
}

} // namespace
