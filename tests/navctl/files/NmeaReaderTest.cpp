#include "tools/navctl/feed/NmeaReader.h"

#include <cmath>
#include <fstream>
#include <thread>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/navctl/files/NmeaReading.h"
#include "tools/navctl/files/Angle.h"

namespace {

using Reader = NmeaReading;

} // namespace

// A sanitizer keeps what was freed.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {

/// How much of the program is in memory, bytes.
long ResidentBytes()
{
    std::ifstream file("/proc/self/statm");
    long size = 0;
    long resident = 0;
    file >> size >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

} // namespace

TEST(NmeaReader, TakesNoMoreMemoryForALongFileThanForAShortOne)
{
    constexpr int kEpochs = 80000;
    CPipe pipe;
    std::thread writer([&pipe] {
        for (int epoch = 0; epoch < kEpochs; ++epoch) {
            const std::string time = TimeOf(epoch);
            const std::string untimed = Sentence("GPVTG,1,T,,M,2,N,3,K") + "\r\n";
            pipe.Write(Gga(time) + untimed + Sentence("HEHDT,10,T") + "\r\n" + Rmc(time));
        }
        pipe.End();
    });
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader nmea(lines, NmeaReaderOptions{{kFirstOfMay2024, {}}, {}, false, true, {}});
    PositionSample sample;
    int samples = 0;
    long before = 0;
    while (nmea.Next(sample, 60000) == ESample::Sample) {
        if (++samples == kEpochs / 10) {
            before = ResidentBytes();
        }
    }
    writer.join();
    EXPECT_EQ(kEpochs, samples);
    EXPECT_LT(ResidentBytes() - before, 1024 * 1024);
}
#endif

TEST(NmeaReader, MakesOneSampleOfTheSentencesOfOneMoment)
{
    const Reader reader(
        Gga("120000.00") +
        Sentence("GPRMC,120000.00,A,4807.038,N,01131.000,E,022.4,084.4,010524,,,R") + "\n" +
        Sentence("GPHDT,90.0,T") + "\n" + Sentence("GPGST,120000.00,1,,,,0.012,0.011,0.02") + "\n");
    ASSERT_EQ(1U, reader.samples.size());
    const PositionSample& sample = reader.samples[0];
    EXPECT_NEAR(48.0 + 7.038 / 60.0, sample.latitude, 1e-12);
    EXPECT_NEAR(11.0 + 31.0 / 60.0, sample.longitude, 1e-12);
    EXPECT_NEAR(545.4 + 46.9, sample.height.value(), 1e-9) << "above the ellipsoid";
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
        {Sentence("GPGGA,,,,,,0,,,,M,,M,,"), "GGA without a fix"},
        {Sentence("GPRMC,,V,,,,,,,,,,N"), "RMC without a fix"},
        {Sentence("GPGGA,,4800.0,N,01100.0,E,1,9,1.0,1.0,M,1.0,M,,"), "GGA without a time"},
        {Sentence("GPRMC,115959,A,4807.038,N,01131.000,E,1,2,320124,,,A"), "RMC with a bad date"},
        {Sentence("GPRMC,115959,X,4807.038,N,01131.000,E,1,2,010124,,,A"), "RMC with a bad status"},
        {Sentence("GPHDT,400,T"), "HDT with a bad heading"},
        {Sentence("GPVTG,1,N,,,1,N,,K"), "VTG with a bad unit"},
        {Sentence("GPZDA,115959,32,01,2024,00,00"), "ZDA with a bad date"},
        {Sentence("GNGNS,120000,4807.038,N,01131.000,E,AA,x,0.9,1,1,,"),
         "GNS with a bad satellites"},
        {Sentence("HCHDG,101.1,0.5,X,7.1,W"), "HDG with a bad deviation"},
        {Sentence("TIROT,fast,A"), "ROT with a bad rate of turn"},
        {Sentence("PASHR,120000,10.0,T,x,0,0,0,0,0,1"), "PASHR with a bad roll"},
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

TEST(NmeaReader, LeavesAHeadingOutWhoseTimeIsNotCertainUnlessTheOrderIsTold)
{
    std::string content;
    for (int second = 0; second < 9; ++second) {
        content += Sentence("GPHDT," + std::to_string(10 + second) + ".0,T") + "\n" +
                   Gga("12000" + std::to_string(second));
    }
    const Reader guesses(content);
    ASSERT_EQ(9U, guesses.samples.size());
    for (const PositionSample& sample : guesses.samples) {
        EXPECT_FALSE(sample.yaw.has_value());
    }
    EXPECT_EQ(9U, guesses.Skipped("HDT whose time is not certain"));
    const Reader knows(content, kFirstOfMay2024, ENmeaType::Hdt);
    ASSERT_EQ(9U, knows.samples.size());
    for (std::size_t second = 6; second < 9; ++second) {
        EXPECT_NEAR(Radians(10.0 + static_cast<double>(second)),
                    knows.samples[second].yaw.value_or(-1.0), 1e-12);
    }
}

TEST(NmeaReader, TakesSpeedAndCourseFromVtgWhereThereIsNoRmc)
{
    const Reader reader(Gga("120000") + Sentence("GPVTG,90.0,T,,M,,N,36.0,K,A") + "\n" +
                        Sentence("GPZDA,120000,01,05,2024,00,00") + "\n");
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

TEST(NmeaReader, TakesHourTwentyFourAsTheBeginningOfTheNextDay)
{
    const double midnight = (kFirstOfMay2024 + 1) * 86400.0;
    const auto zda = [](const std::string& time) {
        return Sentence("GPZDA," + time + ",01,05,2024,00,00") + "\n";
    };
    const auto next = Sentence("GPRMC,000001,A,4807.038,N,01131.000,E,1,2,020524,,,A") + "\n";
    for (const std::string& last : {Rmc("240000"), Gga("240000") + zda("240000"), Gga("240000")}) {
        const Reader reader(Rmc("235959") + last + next);
        EXPECT_EQ((std::vector<double>{midnight - 1.0, midnight, midnight + 1.0}),
                  TimesOf(reader.samples));
        EXPECT_EQ(0U, reader.nmea.Skipped().Total()) << last;
    }
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

TEST(NmeaReader, GivesTheFirstSampleOfALiveStreamTheDayOfTheNextBurst)
{
    const double midnight = (kFirstOfMay2024 + 1) * 86400.0;
    const std::string gns =
        Sentence("GNGNS,235959,4807.038,N,01131.000,E,AA,11,0.9,545.4,46.9,,") + "\n";
    const std::string rmc = Sentence("GPRMC,000000,A,4807.038,N,01131.000,E,1,2,020524,,,A") + "\n";
    const std::string zda = Sentence("GPZDA,000000,02,05,2024,00,00") + "\n";
    const std::string hdt = Sentence("GPHDT,1.0,T") + "\n";
    const struct
    {
        std::string joined; // behind the date of its burst
        std::string next;
    } streams[] = {
        {Gga("235959"), rmc + Gga("000000")},
        {gns, rmc},
        {Gga("235959") + hdt, zda + Gga("000000") + hdt},
        {Gga("235959"), Gga("000000") + rmc},
    };
    for (const auto& stream : streams) {
        for (const bool pauses : {false, true}) {
            CPipe pipe;
            CLineReader lines(pipe.Descriptor(), 1000);
            NmeaReaderOptions options{{kFirstOfMay2024 + 900, {}}, {}, true, true, {}};
            std::string remark;
            options.remark = [&remark](const std::string& text) { remark = text; };
            CNmeaReader reader(lines, options);
            PositionSample sample;
            pipe.Write(stream.joined);
            if (pauses) {
                EXPECT_EQ(ESample::NothingYet, reader.Next(sample, 300)) << "the day may come";
            }
            pipe.Write(stream.next);
            for (const double time : {midnight - 1.0, midnight}) {
                ASSERT_EQ(ESample::Sample, reader.Next(sample, 5000)) << stream.next;
                EXPECT_EQ(time, sample.time) << stream.next;
                EXPECT_FALSE(sample.startsAnew) << stream.next;
            }
            EXPECT_FALSE(reader.DayWasGuessed());
            EXPECT_EQ("", remark);
        }
    }
}

TEST(NmeaReader, GivesTheFirstSampleOfALiveStreamWithTheSentenceThatTellsTheDayOfTheNextBurst)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, NmeaReaderOptions{{kFirstOfMay2024 + 900, {}}, {}, true, true, {}});
    PositionSample sample;
    pipe.Write(Gga("120000") + Rmc("120001"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 0));
    EXPECT_EQ(kFirstOfMay2024 * 86400.0 + 43200.0, sample.time);
}

TEST(NmeaReader, GivesTheFirstSampleOfALiveStreamWithoutADateOnceTheNextBurstIsOver)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    int remarks = 0;
    CNmeaReader reader(
        lines,
        NmeaReaderOptions{
            {kFirstOfMay2024, {}}, {}, true, true, [&remarks](const std::string&) { ++remarks; }});
    PositionSample sample;
    pipe.Write(Gga("120000"));
    EXPECT_EQ(ESample::NothingYet, reader.Next(sample, 300));
    pipe.Write(Gga("120001") + Gga("120002"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 0));
    EXPECT_EQ(kFirstOfMay2024 * 86400.0 + 43200.0, sample.time);
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 0)) << "from now on at once";
    EXPECT_EQ(1, remarks);
    EXPECT_TRUE(reader.DayWasGuessed());
}

TEST(NmeaReader, GivesTheFirstSampleWithTheEndOfTheNextBurstBeforeThatOnesOwn)
{
    const std::string gll = "GPGLL,4807.038,N,01131.000,E,";
    bool cameAlone = false;
    // A machine that is busy may let both rests pass at once, but not always.
    for (int attempt = 0; attempt < 20 && !cameAlone; ++attempt) {
        CPipe pipe;
        CLineReader lines(pipe.Descriptor(), 1000);
        CNmeaReader reader(lines, NmeaReaderOptions{{kFirstOfMay2024, {}}, {}, true, true, {}});
        PositionSample sample;
        pipe.Write(Gga("120000") + Sentence(gll + "120000,A") + "\n");
        EXPECT_EQ(ESample::NothingYet, reader.Next(sample, 300)) << "the day may come";
        pipe.Write(Gga("120001") + Sentence(gll + "120001,A") + "\n");
        ASSERT_EQ(ESample::Sample, reader.Next(sample, 5000));
        EXPECT_EQ(kFirstOfMay2024 * 86400.0 + 43200.0, sample.time);
        // The second one waits longer, as nothing is known of what its burst may have. Were the
        // first one given with it, it would be there.
        cameAlone = reader.Next(sample, 0) == ESample::NothingYet;
        EXPECT_TRUE(!cameAlone || reader.Next(sample, 5000) == ESample::Sample);
    }
    EXPECT_TRUE(cameAlone);
}

TEST(NmeaReader, GivesSamplesOfAnAssumedDayWhenTheStreamPausesAndStartsAnewThen)
{
    CPipe pipe;
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, NmeaReaderOptions{{kFirstOfMay2024 + 900, {}}, {}, true, true, {}});
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
    CNmeaReader reader(lines, NmeaReaderOptions{{kFirstOfMay2024, {}}, {}, true, true, {}});
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
    CNmeaReader reader(lines, NmeaReaderOptions{{kFirstOfMay2024, {}}, {}, true, false, {}});
    PositionSample sample;
    pipe.Write(Gga("120000"));
    EXPECT_EQ(ESample::Sample, reader.Next(sample, 5000));
    // One that comes after all does not make a second sample of the same moment.
    pipe.Write(Sentence("GPRMC,120000,A,4807.038,N,01131.000,E,1,2,010524,,,A") + "\n");
    pipe.End();
    EXPECT_EQ(ESample::End, reader.Next(sample, 5000));
    EXPECT_EQ(1U, reader.Skipped().Reasons().count("RMC after its sample was sent"));
}

TEST(NmeaReader, GivesEverySentenceAPlaceInItsCounts)
{
    const Reader reader("# a remark\n\n" + Gga("120000") + Rmc("120000") + Sentence("GPHDT,1.0,T") +
                        Sentence("GPGSV,1,1,00") + "\nnoise\r" + Gga("120001") + "\n" +
                        Gga("120000"));
    std::uint64_t sources = 0;
    for (const PositionSample& sample : reader.samples) {
        sources += sample.sources;
    }
    const ReadCounts counts = reader.nmea.Counts();
    EXPECT_EQ(8U, counts.lines);
    EXPECT_EQ(2U, counts.empty);
    EXPECT_EQ(2U, counts.further);
    EXPECT_EQ(counts.sources,
              sources + reader.nmea.Skipped().Total() + reader.nmea.NotUsed().Total());
    EXPECT_EQ(counts.lines, counts.sources - counts.further + counts.empty);
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
