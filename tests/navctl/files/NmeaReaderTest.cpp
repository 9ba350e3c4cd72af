#include "tools/navctl/feed/NmeaReader.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "tests/navctl/files/Pipe.h"
#include "tools/navctl/files/Angle.h"

namespace {

constexpr std::int64_t kFirstOfMay2024 = 19844;

/// A reader with all that it stands on.
struct Reader
{
    explicit Reader(const std::string& content, std::int64_t day = kFirstOfMay2024)
        : pipe(content), lines(pipe.Descriptor(), 1000), nmea(lines, day)
    {
        PositionSample sample;
        while (nmea.Next(sample, 1000) == ESample::Sample)
            samples.push_back(sample);
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

std::string Rmc(const std::string& time)
{
    return Sentence("GPRMC," + time + ",A,4807.038,N,01131.000,E,1,2,010524,,,A") + "\r\n";
}

std::vector<double> TimesOf(const std::vector<PositionSample>& samples)
{
    std::vector<double> times;
    for (const PositionSample& sample : samples)
        times.push_back(sample.time.value());
    return times;
}

std::string Gga(const std::string& time, const std::string& talker = "GP")
{
    return Sentence(talker + "GGA," + time + ",4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,") +
           "\r\n";
}

} // namespace

TEST(NmeaReader, MakesOneSampleOfTheSentencesOfOneMoment)
{
    const Reader reader(
        Gga("120000.00") +
        Sentence("GPRMC,120000.00,A,4807.038,N,01131.000,E,022.4,084.4,010524,,,R") + "\n" +
        Sentence("GPGST,120000.00,1,,,,0.012,0.011,0.02") + "\n" + Sentence("GPHDT,90.0,T") + "\n");
    ASSERT_EQ(1U, reader.samples.size());
    const PositionSample& sample = reader.samples[0];
    EXPECT_NEAR(48.0 + 7.038 / 60.0, sample.latitude, 1e-12);
    EXPECT_NEAR(11.0 + 31.0 / 60.0, sample.longitude, 1e-12);
    EXPECT_NEAR(545.4 + 46.9, sample.height, 1e-9) << "above the ellipsoid";
    EXPECT_NEAR(22.4 * 1852.0 / 3600.0, sample.speed.value(), 1e-12);
    EXPECT_NEAR(Radians(84.4), sample.course.value(), 1e-12);
    EXPECT_NEAR(kPi / 2.0, sample.yaw.value(), 1e-12);
    EXPECT_EQ(0.012, sample.sigmaNorth);
    EXPECT_EQ(0.011, sample.sigmaEast);
    EXPECT_EQ(0.02, sample.sigmaUp);
    EXPECT_EQ(4, sample.fixQuality);
    EXPECT_EQ(8, sample.satellites);
    EXPECT_TRUE(sample.positionValid);
    EXPECT_EQ(1714564800.0, sample.time) << "2024-05-01 12:00:00";
    EXPECT_EQ(0U, reader.nmea.Skipped().Total());
}

TEST(NmeaReader, CountsWhatIsBrokenAndReadsTheRest)
{
    const struct
    {
        std::string line;
        const char* reason;
    } rows[] = {
        {"$GPGGA,120000,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,,*00", "wrong checksum"},
        {"$GPGGA,120000,4807.038,N", "no checksum"},
        {"$GPGGA,120000,4807.038*", "cut checksum"},
        {"no sentence at all", "not a sentence"},
        {std::string(5000, 'x'), "line too long"},
        {Sentence("GPGGA,120000,4807.038,N,01131.000"), "GGA with too few fields"},
        {Sentence("GPGGA,120000,48x,N,01131.000,E,4,08,0.9,1,M,1,M,,"), "GGA with a bad latitude"},
        {Sentence("GPGGA,120000,9107.038,N,01131.000,E,4,08,0.9,1,M,1,M,,"),
         "GGA with a bad latitude"},
        {Sentence("GPGGA,120000,4867.038,N,01131.000,E,4,08,0.9,1,M,1,M,,"),
         "GGA with a bad latitude"},
        {Sentence("GPGGA,120000,4807.038,S,01131.000,N,4,08,0.9,1,M,1,M,,"),
         "GGA with a bad longitude"},
        {Sentence("GPGGA,250000,4807.038,N,01131.000,E,4,08,0.9,1,M,1,M,,"), "GGA with a bad time"},
        {Sentence("GPGGA,,,,,,0,,,,M,,M,,"), "GGA without a time"},
        {Sentence("GPRMC,115959,A,4807.038,N,01131.000,E,1,2,320124,,,A"), "RMC with a bad date"},
        {Sentence("GPRMC,115959,X,4807.038,N,01131.000,E,1,2,010124,,,A"), "RMC with a bad status"},
        {Sentence("GPHDT,400,T"), "HDT with a bad heading"},
        {Sentence("GPVTG,1,N,,,1,N,,K"), "VTG with a bad unit"},
    };
    for (const auto& row : rows) {
        const Reader reader(Gga("115958") + row.line + "\r\n" + Gga("120001"));
        EXPECT_EQ(2U, reader.samples.size()) << row.line;
        EXPECT_EQ(1U, reader.Skipped(row.reason)) << row.line << " is to be: " << row.reason;
        EXPECT_EQ(1U, reader.nmea.Skipped().Total()) << row.line;
    }
}

TEST(NmeaReader, ReadsBothOfTwoSentencesOnOneLine)
{
    const Reader reader(Sentence("GPGGA,120000,4807.038,N,01131.000,E,4,08,0.9,1,M,1,M,,") +
                        Gga("120001") + "$GPGGA,1200" + Gga("120002"));
    EXPECT_EQ(3U, reader.samples.size());
    EXPECT_EQ(1U, reader.Skipped("no checksum")) << "the one that is cut";
}

TEST(NmeaReader, PassesOverAMomentWithoutAPosition)
{
    const Reader reader(Sentence("GPGGA,120000,,,,,0,00,,,M,,M,,") + "\n" + Gga("120001"));
    EXPECT_EQ(1U, reader.samples.size());
    EXPECT_EQ(1U, reader.Skipped("no position"));
}

TEST(NmeaReader, MarksAPositionWithoutAFixAsNotValid)
{
    const Reader reader(Sentence("GPGGA,120000,4807.038,N,01131.000,E,0,00,,1,M,1,M,,") + "\n" +
                        Sentence("GPRMC,120001,V,4807.038,N,01131.000,E,,,010524,,,N") + "\n" +
                        Sentence("GPRMC,120002,A,4807.038,N,01131.000,E,,,010524,,,D") + "\n");
    ASSERT_EQ(3U, reader.samples.size());
    EXPECT_FALSE(reader.samples[0].positionValid);
    EXPECT_FALSE(reader.samples[1].positionValid);
    EXPECT_TRUE(reader.samples[2].positionValid);
    EXPECT_EQ(2, reader.samples[2].fixQuality);
}

TEST(NmeaReader, PrefersTheCombinedSolutionOfSeveralSystems)
{
    const Reader reader(Sentence("GLGGA,120000,4800.000,N,01100.000,E,1,04,0.9,1,M,1,M,,") + "\n" +
                        Gga("120000", "GN") +
                        Sentence("GPGGA,120000,4900.000,N,01200.000,E,1,05,0.9,1,M,1,M,,") + "\n");
    ASSERT_EQ(1U, reader.samples.size());
    EXPECT_NEAR(48.0 + 7.038 / 60.0, reader.samples[0].latitude, 1e-12);
    EXPECT_EQ(8, reader.samples[0].satellites);
}

TEST(NmeaReader, GivesAHeadingThatComesFirstToTheMomentThatFollows)
{
    const Reader reader(Sentence("GPHDT,10.0,T") + "\n" + Gga("120000") + Sentence("GPHDT,20.0,T") +
                        "\n" + Gga("120001") + Sentence("GPHDT,30.0,T") + "\n" + Gga("120002"));
    ASSERT_EQ(3U, reader.samples.size());
    EXPECT_NEAR(Radians(10.0), reader.samples[0].yaw.value(), 1e-12);
    EXPECT_NEAR(Radians(20.0), reader.samples[1].yaw.value(), 1e-12);
    EXPECT_NEAR(Radians(30.0), reader.samples[2].yaw.value(), 1e-12);
}

TEST(NmeaReader, TakesSpeedAndCourseFromVtgWhereThereIsNoRmc)
{
    const Reader reader(Gga("120000") + Sentence("GPVTG,90.0,T,,M,,N,36.0,K,A") + "\n");
    ASSERT_EQ(1U, reader.samples.size());
    EXPECT_NEAR(10.0, reader.samples[0].speed.value(), 1e-12);
    EXPECT_NEAR(kPi / 2.0, reader.samples[0].course.value(), 1e-12);
}

TEST(NmeaReader, BeginsANewDayAtMidnight)
{
    const Reader reader(Gga("235959.00") + Gga("000000.00"));
    ASSERT_EQ(2U, reader.samples.size());
    EXPECT_EQ(1.0, *reader.samples[1].time - *reader.samples[0].time);
}

TEST(NmeaReader, PassesOverAMomentThatIsNoLaterThanTheLast)
{
    const Reader reader(Gga("120005") + Gga("120001") + Gga("120006"));
    EXPECT_EQ(2U, reader.samples.size());
    EXPECT_EQ(1U, reader.Skipped("time does not advance"));
    EXPECT_EQ(2U, reader.nmea.Skipped().Reasons().at("time does not advance").firstLine)
        << "the line of the moment, not of the sentence that ends it";
}

TEST(NmeaReader, GivesWhatComesBeforeTheFirstDateThatDayToo)
{
    const double noon = kFirstOfMay2024 * 86400.0 + 12.0 * 3600.0;
    // A day that is assumed before the true one, and behind it.
    for (const std::int64_t assumed : {kFirstOfMay2024 + 900, kFirstOfMay2024 - 900}) {
        const Reader reader(Gga("120000") + Gga("120001") + Gga("120002") + Rmc("120002") +
                                Gga("120003") + Rmc("120003") + Gga("120004"),
                            assumed);
        EXPECT_EQ((std::vector<double>{noon, noon + 1, noon + 2, noon + 3, noon + 4}),
                  TimesOf(reader.samples))
            << assumed;
        EXPECT_EQ(0U, reader.nmea.Skipped().Total()) << assumed;
    }
}

TEST(NmeaReader, CountsTheDaysBackFromTheFirstDate)
{
    const double midnight = kFirstOfMay2024 * 86400.0;
    const Reader reader(Gga("235959") + Gga("000000") + Rmc("000000"), kFirstOfMay2024 + 900);
    EXPECT_EQ((std::vector<double>{midnight - 1.0, midnight}), TimesOf(reader.samples));
}

TEST(NmeaReader, GivesSamplesOfAnAssumedDayWhenTheStreamPausesAndStartsAnewThen)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, kFirstOfMay2024 + 900);
    PositionSample sample;
    pipe.Write(Gga("120000"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    pipe.Write(Gga("120001") + Rmc("120001") + Gga("120002"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    EXPECT_TRUE(sample.startsAnew);
    EXPECT_EQ(kFirstOfMay2024 * 86400.0 + 43201.0, sample.time);
    EXPECT_EQ(0U, reader.Skipped().Total());
}

TEST(NmeaReader, GoesOnBehindATimeThatWasFarAhead)
{
    const Reader reader(Gga("120000") + Gga("150000") + Gga("120001") + Gga("120002") +
                        Gga("120003") + Gga("120004") + Gga("120005") + Gga("120006"));
    EXPECT_EQ(4U, reader.Skipped("time does not advance"));
    ASSERT_EQ(4U, reader.samples.size());
    EXPECT_TRUE(reader.samples[2].startsAnew);
    EXPECT_EQ(1.0, *reader.samples[3].time - *reader.samples[2].time);
}

TEST(NmeaReader, WaitsForTheSentencesThatTheLastMomentHad)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, kFirstOfMay2024);
    PositionSample sample;
    pipe.Write(Gga("120000") + Rmc("120000") + Gga("120001"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    // A slow line: the rest of the moment comes later.
    EXPECT_EQ(ESample::NothingYet, reader.Next(sample, 50));
    pipe.Write(Rmc("120001"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    EXPECT_TRUE(sample.speed.has_value()) << "RMC's";
    EXPECT_EQ(0U, reader.Skipped().Total());
}

TEST(NmeaReader, CountsSentencesOfNoUseByType)
{
    const Reader reader(Sentence("GPGSV,1,1,00") + "\n" + Sentence("PMAKER,1") + "\n" +
                        Gga("120000"));
    EXPECT_EQ(1U, reader.samples.size());
    EXPECT_EQ(2U, reader.nmea.NotUsed().Total());
    EXPECT_EQ(1U, reader.nmea.NotUsed().Reasons().count("GSV"));
    EXPECT_EQ(1U, reader.nmea.NotUsed().Reasons().count("makers' own"));
    EXPECT_EQ(0U, reader.nmea.Skipped().Total());
}

TEST(NmeaReader, GivesTheLastMomentWhenALiveStreamPauses)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, kFirstOfMay2024);
    PositionSample sample;
    pipe.Write(Gga("120000"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    // One that comes after all does not make a second sample of the same moment.
    pipe.Write(Sentence("GPRMC,120000,A,4807.038,N,01131.000,E,1,2,010524,,,A") + "\n");
    pipe.End();
    EXPECT_EQ(ESample::End, reader.Next(sample, 5000));
    EXPECT_EQ(1U, reader.Skipped().Reasons().count("RMC after its sample was sent"));
}

TEST(NmeaDates, CountDaysSince1970)
{
    EXPECT_EQ(0, DaysSince1970(1970, 1, 1));
    EXPECT_EQ(19844, DaysSince1970(2024, 5, 1));
    EXPECT_EQ(11016, DaysSince1970(2000, 2, 29));
    EXPECT_EQ(std::nullopt, DaysSince1970(2023, 2, 29));
    EXPECT_EQ(std::nullopt, DaysSince1970(2100, 2, 29));
    EXPECT_EQ(std::nullopt, DaysSince1970(2024, 13, 1));
}
