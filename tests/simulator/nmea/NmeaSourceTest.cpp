#include "simulator/nmea/NmeaSource.h"

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include <GeographicLib/LocalCartesian.hpp>
#include <gtest/gtest.h>

namespace {

/// The fields of a sentence; the type is the first.
using Fields = std::vector<std::string>;

std::vector<Fields> SentencesOf(const std::string& moment)
{
    std::vector<Fields> sentences;
    std::istringstream lines(moment);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream stream(line.substr(0, line.find('*')));
        Fields fields;
        for (std::string field; std::getline(stream, field, ',');) {
            fields.push_back(field);
        }
        sentences.push_back(fields);
    }
    return sentences;
}

double DegreesOf(const std::string& field, int width)
{
    return std::stod(field.substr(0, width)) + std::stod(field.substr(width)) / 60.0;
}

/// A world that is driven while somebody listens.
class Listener
{
public:
    Listener(const SimulationOptions& options, int rate,
             const GeodeticPlace& origin = kUsualNmeaOrigin)
        : m_world(options), m_origin(origin),
          m_source(rate, origin, options.seed, [this](std::string&& text) {
              m_moments.push_back(SentencesOf(text));
              m_told.push_back(m_world.Time());
          })
    {
    }

    void Drive(double seconds)
    {
        const double end = m_world.Time() + seconds - 1e-9;
        while (m_world.Time() < end) {
            m_world.Step();
            m_source.Look(m_world, m_set);
        }
    }

    /// Where the last moment is in the local frame.
    Point Place() const
    {
        const Fields& gga = m_moments.back()[0];
        const double latitude = DegreesOf(gga[2], 2) * (gga[3] == "N" ? 1.0 : -1.0);
        const double longitude = DegreesOf(gga[4], 3) * (gga[5] == "E" ? 1.0 : -1.0);
        const GeodeticPlace& from = m_set ? *m_set : m_origin;
        GeographicLib::LocalCartesian frame(from.latitude, from.longitude, from.height);
        Point place;
        double up = 0.0;
        frame.Forward(latitude, longitude, std::stod(gga[9]), place.x, place.y, up);
        EXPECT_NEAR(0.0, up, 1e-3);
        return place;
    }

    CSimulation& World() { return m_world; }
    const std::vector<std::vector<Fields>>& Moments() const { return m_moments; }
    const std::vector<double>& Told() const { return m_told; }
    void SetOrigin(const GeodeticPlace& place) { m_set = place; }

private:
    CSimulation m_world;
    GeodeticPlace m_origin;
    std::optional<GeodeticPlace> m_set;
    std::vector<std::vector<Fields>> m_moments;
    std::vector<double> m_told;
    CNmeaSource m_source;
};

SimulationOptions Eastwards(double speed)
{
    SimulationOptions options;
    options.speed = speed;
    options.startPose = {{100.0, -50.0}, Radians(90.0)};
    return options;
}

TEST(NmeaSource, TellsAtEveryRateAsOftenAsThat)
{
    for (const int rate : kNmeaRates) {
        Listener listener(Eastwards(2.0), rate);
        listener.Drive(10.0);
        EXPECT_EQ(static_cast<std::size_t>(10 * rate), listener.Moments().size());
        for (std::size_t i = 0; i < listener.Moments().size(); ++i) {
            const double time = static_cast<double>(i + 1) / rate;
            char expected[16];
            std::snprintf(expected, sizeof expected, "0000%05.2f", time);
            EXPECT_EQ(expected, listener.Moments()[i][0][1]) << rate;
            EXPECT_NEAR(time, listener.Told()[i], 0.0101) << rate;
        }
    }
}

TEST(NmeaSource, TellsWhatGuidanceMeasuredToAMillimetre)
{
    for (const EReceiver receiver : {EReceiver::Ideal, EReceiver::Rtk, EReceiver::Sbas}) {
        SimulationOptions options = Eastwards(2.0);
        options.receiver = receiver;
        Listener listener(options, 10, {-33.5, -70.25, 600.0});
        for (int tenth = 0; tenth < 50; ++tenth) {
            listener.Drive(0.1);
            const Point measured = listener.World().MeasuredPose().position;
            EXPECT_NEAR(0.0, Distance(measured, listener.Place()), 0.001);
        }
    }
}

TEST(NmeaSource, TellsBetweenTheTenthsWhereTheMachineIsMeanwhile)
{
    SimulationOptions options = Eastwards(2.0);
    options.receiver = EReceiver::Ideal;
    Listener listener(options, 20);
    listener.Drive(0.06);
    EXPECT_EQ("000000.05", listener.Moments().back()[0][1]);
    EXPECT_NEAR(0.0, Distance({100.1, -50.0}, listener.Place()), 0.001);
}

TEST(NmeaSource, GivesWhatLiesBetweenTheReceiversErrorsToo)
{
    SimulationOptions options = Eastwards(2.0);
    Listener listener(options, 20);
    double squares = 0.0;
    int count = 0;
    for (int tenth = 0; tenth < 800; ++tenth) {
        listener.Drive(0.06);
        const Point truth{listener.World().TruePose().position.x - 0.02,
                          listener.World().TruePose().position.y};
        const Point drift = listener.World().Reported().lasting;
        const Point told = listener.Place();
        squares +=
            std::pow(told.x - truth.x - drift.x, 2) + std::pow(told.y - truth.y - drift.y, 2);
        count += 2;
        listener.Drive(0.04);
    }
    EXPECT_NEAR(AccuracyOf(EReceiver::Rtk).white, std::sqrt(squares / count), 0.0004);
}

TEST(NmeaSource, ChangesNothingForGuidance)
{
    Listener often(Eastwards(2.0), 20);
    Listener seldom(Eastwards(2.0), 1);
    often.Drive(20.0);
    seldom.Drive(20.0);
    EXPECT_EQ(often.World().MeasuredPose().position.x, seldom.World().MeasuredPose().position.x);
    EXPECT_EQ(often.World().EstimatedPose().heading, seldom.World().EstimatedPose().heading);
}

TEST(NmeaSource, TurnsHeadingAndCourseToWhereNorthIs)
{
    // Far to the east of the origin, north has turned by the meridians' convergence.
    SimulationOptions options = Eastwards(2.0);
    options.receiver = EReceiver::Ideal;
    options.startPose = {{50000.0, 0.0}, 0.0};
    Listener listener(options, 1, {60.0, 10.0, 0.0});
    listener.Drive(1.0);
    GeographicLib::LocalCartesian frame(60.0, 10.0, 0.0);
    double latitude = 0.0;
    double longitude = 0.0;
    double height = 0.0;
    frame.Reverse(50000.0, 2.0, 0.0, latitude, longitude, height);
    const double convergence = (longitude - 10.0) * std::sin(Radians(60.0));
    // Local north points that far to the right of the north of the place.
    EXPECT_NEAR(convergence, std::stod(listener.Moments().back()[2][1]), 0.01);
    EXPECT_NEAR(convergence, std::stod(listener.Moments().back()[1][1]), 0.01);
    EXPECT_GT(convergence, 0.5);
}

TEST(NmeaSource, TellsTheCourseAgainstTheHeadingBackwards)
{
    SimulationOptions options = Eastwards(-1.0);
    options.receiver = EReceiver::Ideal;
    Listener listener(options, 1);
    listener.Drive(1.0);
    EXPECT_NEAR(270.0, std::stod(listener.Moments().back()[1][1]), 0.01);
    EXPECT_NEAR(90.0, std::stod(listener.Moments().back()[2][1]), 0.01);
    EXPECT_NEAR(3.6, std::stod(listener.Moments().back()[1][7]), 0.001);
}

TEST(NmeaSource, MovesWithTheOriginThatAClientSets)
{
    SimulationOptions options = Eastwards(0.0);
    options.receiver = EReceiver::Ideal;
    Listener listener(options, 1);
    listener.SetOrigin({-10.0, 179.9999, 30.0});
    listener.Drive(1.0);
    EXPECT_NEAR(0.0, Distance({100.0, -50.0}, listener.Place()), 0.001);
    EXPECT_EQ("W", listener.Moments().back()[0][5]) << "beyond the 180th meridian";
}

TEST(NmeaSource, NamesTheFixOfTheReceiver)
{
    SimulationOptions options = Eastwards(0.0);
    Listener rtk(options, 1);
    rtk.Drive(1.0);
    EXPECT_EQ("4", rtk.Moments().back()[0][6]);
    options.receiver = EReceiver::Sbas;
    Listener sbas(options, 1);
    sbas.Drive(1.0);
    EXPECT_EQ("2", sbas.Moments().back()[0][6]);
}

} // namespace
