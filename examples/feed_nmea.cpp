// Feeds the navigation service the positions of a satellite receiver, whose NMEA 0183 sentences it
// reads from standard input: feed_nmea </dev/ttyUSB0. A GGA makes a sample; RMC before it gives
// course, speed and date, HDT the heading, GST the accuracy. Needs a navigation service on this
// machine. Exits with 1 when a sample found no service.

#include <cmath>
#include <ctime>
#include <iostream>
#include <string>

#include <api/NavigationAPI.h>

#include "examples/nmea_sentence.h"

namespace {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
constexpr double kMetresPerSecondPerKnot = 1852.0 / 3600.0;

/// The receiver's last word on what changes the sample, and the service that is fed.
class CReceiverFeed
{
public:
    void Take(const CNmeaSentence& sentence)
    {
        if (sentence.Type() == "RMC") {
            m_speed = sentence.Number(7) * kMetresPerSecondPerKnot;
            m_course = sentence.Number(8, m_course / kRadiansPerDegree) * kRadiansPerDegree;
            m_midnight = Midnight(static_cast<int>(sentence.Number(9)));
        } else if (sentence.Type() == "HDT") {
            m_headingIsKnown = sentence.Has(1);
            m_heading = sentence.Number(1) * kRadiansPerDegree;
        } else if (sentence.Type() == "GST") {
            m_sigmaNorth = sentence.Number(6);
            m_sigmaEast = sentence.Number(7);
            m_sigmaUp = sentence.Number(8);
        } else if (sentence.Type() == "GGA") {
            Send(sentence);
        }
    }
    int Sent() const { return m_sent; }
    int Lost() const { return m_lost; }

private:
    /// The Unix time at which a day "ddmmyy" began.
    static double Midnight(int date)
    {
        std::tm day{};
        day.tm_mday = date / 10000;
        day.tm_mon = date / 100 % 100 - 1;
        day.tm_year = date % 100 + 100;
        return static_cast<double>(timegm(&day));
    }
    /// The seconds since midnight at "hhmmss.ss".
    static double SecondsOfDay(double time)
    {
        const double hours = std::floor(time / 10000.0);
        const double minutes = std::floor(time / 100.0) - hours * 100.0;
        return hours * 3600.0 + minutes * 60.0 + std::fmod(time, 100.0);
    }
    void Send(const CNmeaSentence& gga)
    {
        const int quality = static_cast<int>(gga.Number(6));
        const double ellipsoidHeight = gga.Number(9) + gga.Number(11); // mean sea level, geoid
        const int answer = m_navigation.SetPositionData(
            gga.Degrees(2), gga.Degrees(4), ellipsoidHeight, m_course, m_speed, 0.0, 0.0, m_heading,
            0.0, 0.0, 0.0, m_sigmaEast, m_sigmaNorth, m_sigmaUp, quality != 0, quality,
            static_cast<int>(gga.Number(7)), m_headingIsKnown, false, m_sent + m_lost,
            m_midnight + SecondsOfDay(gga.Number(1)));
        ++(answer == 0 ? m_sent : m_lost);
    }

    CNavigationAPI m_navigation;
    double m_speed = 0.0;
    double m_course = 0.0;
    double m_heading = 0.0;
    bool m_headingIsKnown = false;
    double m_sigmaEast = 0.0;
    double m_sigmaNorth = 0.0;
    double m_sigmaUp = 0.0;
    double m_midnight = 0.0;
    int m_sent = 0;
    int m_lost = 0;
};

} // namespace

int main()
{
    CReceiverFeed feed;
    int unreadable = 0;
    for (std::string line; std::getline(std::cin, line);) {
        if (const auto sentence = CNmeaSentence::Read(line)) {
            feed.Take(*sentence);
        } else {
            ++unreadable;
        }
    }
    std::cout << feed.Sent() << " samples sent, " << feed.Lost() << " without a service, "
              << unreadable << " lines passed over\n";
    return feed.Lost() == 0 ? 0 : 1;
}
