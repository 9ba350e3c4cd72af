#include "report/DriveReport.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report/ReportHtml.h"
#include "report/ReportPictures.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

DriveSample Sample(double time, double error = 0.01)
{
    DriveSample sample;
    sample.time = time;
    sample.y = 2.0 * time;
    sample.x = error;
    sample.speed = 2.0;
    sample.steeringAngle = 0.01 * time;
    sample.error = error;
    sample.implementError = 2.0 * error;
    sample.driftError = 0.25 * error;
    sample.isEngaged = true;
    return sample;
}

CDriveReport ReportOf(int count, const std::function<DriveSample(int)>& sample)
{
    CDriveReport report;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ("", report.Add(sample(i)));
    }
    return report;
}

std::size_t CountOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(DriveReport, CountsErrorsOfMachineAndImplementAndGuidancesPart)
{
    CDriveReport report =
        ReportOf(12, [](int i) { return Sample(0.1 * i, i % 2 == 0 ? 0.02 : -0.02); });
    ASSERT_EQ("", report.Finish());
    EXPECT_EQ(12U, report.Machine().Summary().count);
    EXPECT_NEAR(1.2, report.Machine().Summary().seconds, 1e-9);
    EXPECT_EQ("12 samples, 1.2 s", RestText(report.Machine().Summary()));
    EXPECT_NEAR(0.02, report.Machine().Summary().rms, 1e-12);
    EXPECT_NEAR(0.04, report.Implement().Summary().rms, 1e-12);
    EXPECT_NEAR(0.015, report.Guidance().Summary().rms, 1e-12);
    EXPECT_NEAR(0.0, report.Machine().Summary().mean, 1e-12);
}

TEST(DriveReport, CountsWhileEngagedAndMovingAlone)
{
    CDriveReport report = ReportOf(30, [](int i) {
        DriveSample sample = Sample(0.1 * i);
        if (i < 10) {
            sample.isEngaged = false;
            sample.error = kNaN; // there is no line yet
        } else if (i >= 20) {
            sample.speed = 0.0;
            sample.error = 5.0;
        }
        return sample;
    });
    ASSERT_EQ("", report.Finish());
    EXPECT_EQ(10U, report.Machine().Count());
    EXPECT_NEAR(0.01, report.Machine().Summary().worst, 1e-12);
    EXPECT_EQ(1U, report.Engagements());
    EXPECT_EQ(30U, report.Samples());
}

TEST(DriveReport, FindsSteeringActivityOfASteadyTurn)
{
    CDriveReport report = ReportOf(101, [](int i) { return Sample(0.1 * i); });
    ASSERT_EQ("", report.Finish());
    const SteeringActivity steering = report.Steering();
    EXPECT_EQ(100U, steering.samples);
    EXPECT_NEAR(0.01, steering.rmsRate, 1e-9);
    EXPECT_NEAR(0.1, steering.travel, 1e-9);
    EXPECT_NEAR(0.1, steering.greatestAngle, 1e-9);
}

TEST(DriveReport, TakesTheSpeedFromTheWayWhereItIsNotMeasured)
{
    CDriveReport report = ReportOf(10, [](int i) {
        DriveSample sample = Sample(0.1 * i);
        sample.speed = kNaN;
        sample.y = i < 5 ? 0.2 * i : 0.8;
        return sample;
    });
    ASSERT_EQ("", report.Finish());
    EXPECT_EQ(5U, report.Machine().Count());
}

TEST(DriveReport, RefusesWhatCannotBe)
{
    const struct
    {
        const char* words;
        std::function<void(DriveSample&)> spoil;
    } rows[] = {
        {"the time runs back, from 1 s to 0.5 s", [](DriveSample& s) { s.time = 0.5; }},
        {"the time is not a number", [](DriveSample& s) { s.time = kNaN; }},
        {"the position is not a number", [](DriveSample& s) { s.x = kNaN; }},
        {"the position is not a number", [](DriveSample& s) { s.y = 1e300; }},
        {"the cross-track error is not a number", [](DriveSample& s) { s.error = kNaN; }},
        {"a value is beyond", [](DriveSample& s) { s.speed = -1e200; }},
    };
    for (const auto& row : rows) {
        CDriveReport report;
        EXPECT_EQ("", report.Add(Sample(1.0)));
        DriveSample sample = Sample(2.0);
        row.spoil(sample);
        EXPECT_NE(std::string::npos, report.Add(sample).find(row.words)) << row.words;
        EXPECT_EQ(1U, report.Samples()) << row.words;
    }
}

TEST(DriveReport, SaysWhyThereIsNothingToReport)
{
    CDriveReport empty;
    EXPECT_EQ("there is no position", empty.Finish());
    CDriveReport one;
    one.Add(Sample(0.0));
    one.Add(Sample(0.0)); // the same time again
    EXPECT_NE(std::string::npos, one.Finish().find("one position alone"));
    CDriveReport free = ReportOf(50, [](int i) {
        DriveSample sample = Sample(0.1 * i);
        sample.isEngaged = false;
        return sample;
    });
    EXPECT_NE(std::string::npos, free.Finish().find("never engaged"));
}

TEST(DriveReport, KeepsCurveAndWayBoundedAndTheirExtremes)
{
    CDriveReport report;
    for (int i = 0; i < 60'000; ++i) {
        DriveSample sample = Sample(0.1 * i, i == 43'210 ? 0.4 : 0.0);
        sample.isEngaged = true;
        ASSERT_EQ("", report.Add(sample));
    }
    ASSERT_EQ("", report.Finish());
    EXPECT_LE(report.MachineCurve().Spans().size(), CBoundedCurve::kMostSpans);
    EXPECT_GE(report.MachineCurve().Spans().size(), CBoundedCurve::kMostSpans / 2);
    EXPECT_LE(report.Way().Places().size(), CBoundedWay::kMostPoints);
    double highest = 0.0;
    for (const auto& span : report.MachineCurve().Spans()) {
        highest = std::max(highest, span.high);
    }
    EXPECT_NEAR(0.4, highest, 1e-12);
}

TEST(BoundedWay, IsBoundedHoweverOftenSteeringChanges)
{
    CBoundedWay way;
    for (int i = 0; i < 100'000; ++i) {
        way.Add({0.01 * i, 0.0, i % 2 == 0});
    }
    EXPECT_LE(way.Places().size(), CBoundedWay::kMostPoints);
}

TEST(ReportHtml, IsOneFileThatNeedsNothingElse)
{
    CDriveReport report =
        ReportOf(400, [](int i) { return Sample(0.1 * i, 0.02 * std::sin(0.1 * i)); });
    ASSERT_EQ("", report.Finish());
    ReportOrigin origin;
    origin.source = "a <b> & \"c\".csv";
    origin.made = "navctl 1.0.0";
    origin.run = "version 1.0.0: navigation-simulator --seed 7 '<script>'";
    origin.command = "navctl report x";
    const std::string html = ReportHtml(report, origin);
    for (const char* part :
         {"<!DOCTYPE html>", "lang=\"en\"", "@page { size: A4", "Map</h2>", "Error over time</h2>",
          "How often which error came</h2>", "Steering angle</h2>", "--seed 7 '&lt;script&gt;'",
          "navctl 1.0.0", "a &lt;b&gt; &amp; &quot;c&quot;.csv", "400 samples, 40.0 s"}) {
        EXPECT_NE(std::string::npos, html.find(part)) << part;
    }
    for (const char* part :
         {"<script", "http://", "https://", "url(http", "<link", "src=", "nan"}) {
        const bool isName = std::string(part) == "http://";
        EXPECT_EQ(isName ? CountOf(html, "xmlns=\"http://www.w3.org/2000/svg\"") : 0U,
                  CountOf(html, part))
            << part;
    }
    EXPECT_EQ(4U, CountOf(html, "<desc id="));
    EXPECT_EQ(CountOf(html, "<tr>"), CountOf(html, "</tr>"));
    EXPECT_GE(CountOf(html, "<th scope=\"row\">"), 8U);
}

TEST(ReportHtml, SaysHowFewSamplesItRestsOn)
{
    CDriveReport report = ReportOf(12, [](int i) { return Sample(0.1 * i); });
    ASSERT_EQ("", report.Finish());
    const std::string html = ReportHtml(report, {});
    EXPECT_NE(std::string::npos, html.find("at worst 1.0 cm"));
    EXPECT_NE(std::string::npos, html.find("12 samples, 1.2 s"));
    EXPECT_NE(std::string::npos, html.find("takes 20 samples"));
}

TEST(ReportPictures, SayWhatTheyDoNotShow)
{
    CDriveReport report = ReportOf(400, [](int i) { return Sample(0.1 * i, i < 4 ? 1.0 : 0.01); });
    ASSERT_EQ("", report.Finish());
    const std::vector<ReportPicture> pictures = PicturesOf(report);
    ASSERT_EQ(4U, pictures.size());
    EXPECT_NE(std::string::npos,
              pictures[1].caption.find("1.0 % are beyond the edge, the largest at 100.0 cm"));
}
