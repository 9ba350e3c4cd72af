#ifndef KESTROVE_TESTS_NAVCTL_FILES_NMEAREADING_H
#define KESTROVE_TESTS_NAVCTL_FILES_NMEAREADING_H

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "tests/navctl/files/Pipe.h"
#include "tools/navctl/feed/NmeaReader.h"
#include "tools/navctl/feed/NmeaValues.h"

inline constexpr std::int64_t kFirstOfMay2024 = 19844;

/// A reader with all that it stands on.
struct NmeaReading
{
    explicit NmeaReading(const std::string& content, std::int64_t day = kFirstOfMay2024,
                         std::optional<ENmeaType> burstBeginsWith = std::nullopt)
        : pipe(content), lines(pipe.Descriptor(), 1000),
          nmea(lines, NmeaReaderOptions{{day, burstBeginsWith}, {}, false, true, {}})
    {
        PositionSample sample;
        while (nmea.Next(sample, 1000) == ESample::Sample) {
            samples.push_back(sample);
        }
    }

    std::uint64_t Skipped(const std::string& reason) const
    {
        const auto found = nmea.Skipped().Reasons().find(reason);
        return found == nmea.Skipped().Reasons().end() ? 0 : found->second.count;
    }

    CPipe pipe;
    CLineReader lines;
    CNmeaReader nmea;
    std::vector<PositionSample> samples;
};

inline std::string Rmc(const std::string& time)
{
    return Sentence("GPRMC," + time + ",A,4807.038,N,01131.000,E,1,2,010524,,,A") + "\r\n";
}

inline std::vector<double> TimesOf(const std::vector<PositionSample>& samples)
{
    std::vector<double> times;
    for (const PositionSample& sample : samples) {
        times.push_back(sample.time.value());
    }
    return times;
}

inline std::string Gga(const std::string& time, const std::string& talker = "GP")
{
    return Sentence(talker + "GGA," + time + ",4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,") +
           "\r\n";
}

/// So many seconds of a day, six digits.
inline std::string TimeOf(int seconds)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d%02d%02d", seconds / 3600 % 24, seconds / 60 % 60,
                  seconds % 60);
    return text;
}

#endif
