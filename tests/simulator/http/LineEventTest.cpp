// How the line and its passes come to a viewer: each pass once, and no more of them than a link is
// to carry.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/guidance/LineBuilder.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/LinePainter.h"

using nlohmann::json;

namespace {

using Time = CLinePainter::TimePoint;
using Milliseconds = std::chrono::milliseconds;

/// A curve of 1500 points with bends of some radius, from west to east.
LineShapePtr Curve()
{
    std::vector<Point> points;
    for (int number = 0; number < 1500; ++number) {
        const double x = number - 750.0;
        points.push_back({x, 8.0 * std::sin(x / 25.0) + 4.0 * std::sin(x / 7.0)});
    }
    return BuildLine(RecordedLine(points), 1).shape;
}

LineDrawing DrawingAt(const LineShapePtr& line, int pass, double shift = 0.0)
{
    LineDrawing drawing;
    drawing.layout.line = line;
    drawing.layout.followed = line->Parallel(pass * 3.0 + shift);
    drawing.layout.station = drawing.station = 750.0;
    drawing.layout.pass = pass;
    drawing.layout.width = 3.0;
    drawing.layout.shift = shift;
    drawing.layout.repeats = true;
    return drawing;
}

/// What a viewer knows: the points of the passes of one picture.
class Viewer
{
public:
    /// Takes in all that is new.
    ///
    /// @return how many bytes that was.
    std::size_t Take(const CEventFeed& feed)
    {
        std::size_t bytes = 0;
        // So late that there are bytes for whatever there is.
        const auto take = [&] { return feed.Take(m_seen, m_now += std::chrono::seconds(60)); };
        for (std::string text = take(); !text.empty(); text = take()) {
            longest = std::max(longest, text.size());
            bytes += text.size();
            const std::string start = "event: line\ndata: ";
            EXPECT_EQ(0u, text.find(start));
            Hear(json::parse(text.substr(start.size())));
        }
        return bytes;
    }

    std::map<int, json> points;
    std::vector<int> shown; ///< the passes of the last event, the followed one included
    std::size_t longest = 0;
    int repeated = 0;

private:
    void Hear(const json& event)
    {
        if (event["picture"] != m_picture) {
            points.clear();
            m_picture = event["picture"];
        }
        for (auto kept = points.begin(); kept != points.end();) {
            const bool isFar = std::abs(kept->first - event["pass"].get<int>()) > kKeptPasses;
            kept = isFar ? points.erase(kept) : std::next(kept);
        }
        json passes = event["passes"];
        if (!event["followed"].is_null()) {
            passes.push_back(event["followed"]);
        }
        shown.clear();
        for (const json& pass : passes) {
            const int number = pass["pass"];
            if (pass.contains("points")) {
                repeated += points.count(number) > 0 ? 1 : 0;
                points[number] = pass["points"];
            }
            EXPECT_EQ(1u, points.count(number)) << "a number comes before its points: " << number;
            shown.push_back(number);
        }
        std::sort(shown.begin(), shown.end());
    }

    CEventFeed::Seen m_seen;
    CEventFeed::TimePoint m_now;
    json m_picture;
};

/// A painter that a viewer listens to, on a clock of the test's own.
class Painted
{
public:
    /// @param secondsOfAPass that drawing one takes of a processor.
    explicit Painted(double secondsOfAPass = 0.0) : m_secondsOfAPass(secondsOfAPass)
    {
        m_feed.Enter();
    }

    /// Has a drawing made, or goes on with the one before, and gives what it costs the viewer.
    std::size_t Draw(LineDrawing drawing, Viewer& viewer)
    {
        m_painter.Take(std::move(drawing));
        return GoOn(viewer);
    }
    std::size_t GoOn(Viewer& viewer)
    {
        m_goOn = m_painter.Draw(m_now);
        m_feed.PublishLine(m_painter.Picture());
        return viewer.Take(m_feed);
    }
    /// Draws until nothing is missing.
    void Finish(Viewer& viewer)
    {
        while (m_goOn) {
            m_now = *m_goOn;
            GoOn(viewer);
        }
    }
    void Pass(Milliseconds time) { m_now += time; }
    /// How many seconds have gone by.
    double Passed() const { return std::chrono::duration<double>(m_now - Time()).count(); }
    const CEventFeed& Feed() const { return m_feed; }

private:
    CEventFeed m_feed;
    CLinePainter m_painter{[this] { return m_used += m_secondsOfAPass; }};
    Time m_now{};
    double m_used = 0.0;
    double m_secondsOfAPass;
    std::optional<Time> m_goOn;
};

TEST(Line, OfACurveCostsAViewerPointsOfEachPassOnce)
{
    const LineShapePtr curve = Curve();
    Painted painted;
    Viewer viewer;
    painted.Draw(DrawingAt(curve, 0), viewer);
    painted.Finish(viewer);
    ASSERT_EQ((std::vector<int>{-3, -2, -1, 0, 1, 2, 3}), viewer.shown);

    // Once all seven are there a change among them costs numbers alone.
    painted.Draw(DrawingAt(curve, 1), viewer);
    painted.Finish(viewer);
    const std::size_t back = painted.Draw(DrawingAt(curve, 0), viewer);

    EXPECT_LT(back, 600u);
    EXPECT_EQ((std::vector<int>{-3, -2, -1, 0, 1, 2, 3}), viewer.shown);
    EXPECT_EQ(0, viewer.repeated);
}

TEST(Line, OfACurveThatIsCrossedCostsAViewerNoMoreThanItsShare)
{
    const LineShapePtr curve = Curve();
    const LineDrawing straight =
        DrawingAt(BuildLine(StraightLine({0.0, 0.0}, {0.0, 100.0}), 1).shape, 0);
    Painted painted;
    Viewer viewer;
    std::size_t bytes = 0;
    constexpr int kSeconds = 60;

    // Ten times a second another pass is the nearest; 20 lines, there and back.
    for (int change = 0; change < 10 * kSeconds; ++change) {
        const int along = change % 200;
        LineDrawing drawing = straight;
        drawing.layout.line = drawing.layout.followed = curve; // as long as any of its passes
        drawing.layout.pass = along < 100 ? along : 200 - along;
        bytes += painted.Draw(std::move(drawing), viewer);
        painted.Pass(Milliseconds(100));
    }

    // States take 7 kB/s beside.
    EXPECT_LT(bytes / kSeconds, 23000u);
    EXPECT_GT(bytes / kSeconds, 10000u) << "hardly anything is drawn";
    painted.Finish(viewer);
    EXPECT_EQ(7u, viewer.shown.size());
}

TEST(Line, WhosePassesTakeLongToDrawTakesASmallShareOfAProcessor)
{
    const LineShapePtr line = BuildLine(StraightLine({0.0, 0.0}, {0.0, 100.0}), 1).shape;
    Painted painted(0.2);
    Viewer viewer;

    // The first is there at once, the others come at a pace that its time sets.
    painted.Draw(DrawingAt(line, 0), viewer);
    EXPECT_EQ(std::vector<int>{0}, viewer.shown);
    painted.Finish(viewer);

    EXPECT_EQ(7u, viewer.shown.size());
    const double drawn = 8 * 0.2; // the line itself too
    const double allowed = CLinePainter::kMostSavedSeconds + 0.2;
    EXPECT_GE(painted.Passed() * CLinePainter::kShareOfAProcessor, drawn - allowed - 1e-9);
    EXPECT_LT(painted.Passed() * CLinePainter::kShareOfAProcessor, drawn);
}

TEST(Line, IsWholeForAViewerThatComesLaterInPiecesThatFit)
{
    const LineShapePtr curve = Curve();
    Painted painted;
    Viewer first;
    painted.Draw(DrawingAt(curve, 5), first);
    painted.Finish(first);

    Viewer second;
    EXPECT_GT(second.Take(painted.Feed()), 100000u);

    EXPECT_EQ((std::vector<int>{2, 3, 4, 5, 6, 7, 8}), second.shown);
    EXPECT_EQ(first.points, second.points);
    EXPECT_LT(second.longest, 64u * 1024u - 16u * 1024u);
}

TEST(Line, IsDrawnAnewWhenItIsShifted)
{
    const LineShapePtr line = BuildLine(StraightLine({0.0, 0.0}, {0.0, 100.0}), 1).shape;
    Painted painted;
    Viewer viewer;
    painted.Draw(DrawingAt(line, 0), viewer);
    EXPECT_EQ(3.0, viewer.points[1][0][0]);

    painted.Draw(DrawingAt(line, 0, 0.5), viewer);

    EXPECT_EQ(3.5, viewer.points[1][0][0]);
    EXPECT_EQ(7u, viewer.shown.size());
}

TEST(Line, HasTheFollowedPassFirstWhenBytesAreShort)
{
    const LineShapePtr curve = Curve();
    Painted painted;
    Viewer viewer;
    painted.Draw(DrawingAt(curve, 0), viewer);
    ASSERT_LT(viewer.shown.size(), 7u) << "the bytes are not short";

    painted.Draw(DrawingAt(curve, 50), viewer);
    ASSERT_TRUE(viewer.shown.empty());
    painted.Pass(Milliseconds(3000));
    painted.GoOn(viewer);

    ASSERT_FALSE(viewer.shown.empty());
    EXPECT_EQ(1, std::count(viewer.shown.begin(), viewer.shown.end(), 50));
}

TEST(Line, HasFewPointsHoweverManyBendsItHas)
{
    std::vector<Point> points;
    for (int number = 0; number < 20000; ++number) {
        points.push_back({number * 0.2, number % 2 == 0 ? 0.0 : 0.3});
    }
    const LineShapePtr curve = BuildLine(RecordedLine(points), 1).shape;
    Painted painted;
    Viewer viewer;

    painted.Draw(DrawingAt(curve, 0), viewer);
    painted.Finish(viewer);

    EXPECT_LT(viewer.longest, 48u * 1024u);
}

} // namespace
