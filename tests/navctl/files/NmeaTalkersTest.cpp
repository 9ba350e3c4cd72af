// What receivers of different makers say, and which talker is believed.

#include "tools/navctl/feed/NmeaReader.h"

#include <utility>

#include <gtest/gtest.h>

#include "tests/navctl/files/NmeaReading.h"
#include "tools/navctl/files/Angle.h"

namespace {

using Reader = NmeaReading;

} // namespace

TEST(NmeaReader, ReadsWhatOtherReceiversSay)
{
    const auto sampleOf = [](const std::vector<std::string>& sentences) {
        std::string content = Gga("120000");
        for (const std::string& body : sentences) {
            content += Sentence(body) + "\n";
        }
        const Reader reader(content + Sentence("GPGBS,120000,1,1,1,,,,") + "\n");
        EXPECT_EQ(0U, reader.nmea.Skipped().Total()) << sentences.front();
        return reader.samples.at(0);
    };
    const auto degrees = [](const std::optional<double>& radians) {
        return radians ? Degrees(*radians) : -1000.0;
    };
    EXPECT_NEAR(121.15, degrees(sampleOf({"GNTHS,121.15,A"}).yaw), 1e-9);
    EXPECT_FALSE(sampleOf({"GNTHS,121.15,V"}).yaw.has_value());
    EXPECT_NEAR(101.1 + 0.5 - 7.1, degrees(sampleOf({"HCHDG,101.1,0.5,E,7.1,W"}).yaw), 1e-9);
    EXPECT_NEAR(1.0 - 2.0 + 360.0, degrees(sampleOf({"HCHDG,1.0,,,2.0,W"}).yaw), 1e-9);
    EXPECT_FALSE(sampleOf({"HCHDG,101.1,0.5,E,,"}).yaw.has_value()) << "north is not known";
    EXPECT_NEAR(-2.0, degrees(sampleOf({"TIROT,-120.0,A"}).yawRate), 1e-9) << "to port";
    EXPECT_FALSE(sampleOf({"TIROT,-120.0,V"}).yawRate.has_value());
    EXPECT_EQ(5.0, sampleOf({"GPVTG,90,,,18"}).speed) << "the old form, without letters";
    EXPECT_FALSE(sampleOf({"GPVTG,90,T,,M,1,N,2,K,N"}).speed.has_value()) << "no fix";
    const PositionSample attitude =
        sampleOf({"PASHR,120000,224.19,T,-01.26,+00.83,+00.00,0.101,0.113,0.267,1,0"});
    EXPECT_NEAR(224.19, degrees(attitude.yaw), 1e-9);
    EXPECT_NEAR(-1.26, degrees(attitude.roll), 1e-9);
    EXPECT_NEAR(0.83, degrees(attitude.pitch), 1e-9);
    EXPECT_EQ(
        20, sampleOf({"GNGSA,A,3,13,16,21,15,10,29,27,20,,,,,1,1,1,1",
                      "GNGSA,A,3,82,66,81,,,,,,,,,,1,1,1,2", "GNGSA,A,3,07,12,33,,,,,,,,,,1,1,1,3",
                      "GNGSA,A,3,13,12,22,19,08,21,,,,,,,1,1,1,4"})
                .satellites)
        << "of all systems";
}

TEST(NmeaReader, TakesThePositionOfSeveralSystemsFromGns)
{
    const Reader reader(
        Sentence("GNGNS,120000,4807.038,N,01131.000,E,NAAN,11,0.9,545.4,46.9,,,S") + "\n" +
        Sentence("GNGNS,120001,4807.038,N,01131.000,E,RR,11,0.9,545.4,46.9,,") + "\n" +
        Sentence("GNGNS,120002,4807.038,N,01131.000,E,RR,11,0.9,545.4,46.9,,,U") + "\n");
    ASSERT_EQ(3U, reader.samples.size());
    EXPECT_EQ(1, reader.samples[0].fixQuality) << "the best of the letters";
    EXPECT_TRUE(reader.samples[0].positionValid);
    EXPECT_EQ(4, reader.samples[1].fixQuality);
    EXPECT_EQ(11, reader.samples[1].satellites);
    EXPECT_NEAR(592.3, reader.samples[1].height.value(), 1e-9);
    EXPECT_FALSE(reader.samples[2].positionValid) << "unsafe";
}

TEST(NmeaReader, CountsTheSatellitesOfSystemsThatHaveAGgaEach)
{
    const auto gga = [](const char* talker, const char* fix, const char* satellites) {
        return Sentence(std::string(talker) + "GGA,120000,4807.038,N,01131.000,E," + fix + "," +
                        satellites + ",0.9,545.4,M,46.9,M,,") +
               "\n";
    };
    const auto counted = [](const std::string& sentences) {
        const Reader reader(sentences);
        return reader.samples.size() == 1 ? reader.samples[0].satellites : std::nullopt;
    };
    EXPECT_EQ(13, counted(gga("GP", "4", "08") + gga("GL", "4", "05")));
    EXPECT_EQ(13, counted(gga("GL", "4", "05") + gga("GP", "4", "08")));
    EXPECT_EQ(8, counted(gga("GP", "4", "08") + gga("GL", "0", "05"))) << "that are used";
    EXPECT_EQ(14, counted(gga("GN", "4", "14") + gga("GP", "4", "08") + gga("GL", "4", "05")));
}

TEST(NmeaReader, KnowsEveryTalkerAndTheDateOfZda)
{
    for (const char* const talker : {"GP", "GN", "GL", "GA", "GB", "GQ", "GI", "BD", "QZ"}) {
        const Reader reader(Gga("120000", talker) +
                                Sentence(std::string(talker) + "ZDA,120000,01,05,2024,00,00") +
                                "\n",
                            0);
        ASSERT_EQ(1U, reader.samples.size()) << talker;
        EXPECT_EQ(1714564800.0, reader.samples[0].time) << talker;
        EXPECT_FALSE(reader.nmea.DayWasGuessed()) << talker;
    }
    EXPECT_TRUE(Reader(Gga("120000")).nmea.DayWasGuessed());
}

TEST(NmeaReader, TurnsSignsOfTheAttitudeWhereTheDeviceHasThemOtherwise)
{
    CPipe pipe(Gga("120000") + Sentence("PASHR,120000,10.0,T,1.0,2.0,0,0,0,0,1") + "\n");
    CLineReader lines(pipe.Descriptor(), 1000);
    CNmeaReader reader(lines, NmeaReaderOptions{{}, {true, true}, false, false, {}});
    PositionSample sample;
    ASSERT_EQ(ESample::Sample, reader.Next(sample, 1000));
    EXPECT_NEAR(Radians(-1.0), sample.roll.value(), 1e-12);
    EXPECT_NEAR(Radians(-2.0), sample.pitch.value(), 1e-12);
}

TEST(NmeaReader, DoesNotKnowWhatNobodyHasTold)
{
    const Reader reader(Rmc("120000") +
                        Sentence("GPGGA,120001,4807.038,N,01131.000,E,4,,,5.0,M,,M,,"));
    ASSERT_EQ(2U, reader.samples.size());
    EXPECT_FALSE(reader.samples[0].height.has_value()) << "RMC has none";
    EXPECT_FALSE(reader.samples[0].satellites.has_value());
    EXPECT_FALSE(reader.samples[1].height.has_value()) << "above the geoid, not the ellipsoid";
}

TEST(NmeaReader, DoesNotLetATalkerWithoutAFixHideAnothersFix)
{
    const std::string none = Sentence("GLGGA,120000,,,,,0,00,,,M,,M,,") + "\n" +
                             Sentence("GLRMC,120000,V,,,,,,,010524,,,N") + "\n";
    for (const std::string& content : {Gga("120000") + none, none + Gga("120000")}) {
        const Reader reader(content);
        ASSERT_EQ(1U, reader.samples.size());
        EXPECT_TRUE(reader.samples[0].positionValid);
        EXPECT_EQ(8, reader.samples[0].satellites);
        EXPECT_NEAR(592.3, reader.samples[0].height.value(), 1e-9);
    }
}

TEST(NmeaReader, LetsOnlyATalkersOwnSentencesDenyItsFix)
{
    const std::string place = "4807.038,N,01131.000,E,";
    const auto gga = [&place](const std::string& talker, const char* quality) {
        return talker + "GGA,120000," + place + quality + ",08,0.9,545.4,M,46.9,M,,";
    };
    const auto gns = [&place](const std::string& talker, const char* modes) {
        return talker + "GNS,120000," + place + modes + ",11,0.9,545.4,46.9,,";
    };
    const auto rmc = [&place](const std::string& talker, const char* status, const char* mode) {
        return talker + "RMC,120000," + status + "," + place + "1,2,010524,,," + mode;
    };
    const auto gll = [&place](const std::string& talker, const char* status) {
        return talker + "GLL," + place + "120000," + status;
    };
    const struct
    {
        std::vector<std::string> sentences;
        bool isValid;
        int quality;
    } streams[] = {
        {{gga("GN", "4"), rmc("GL", "V", "N")}, true, 4},
        {{gga("GN", "4"), gll("GP", "V")}, true, 4},
        {{gga("GN", "4"), rmc("GP", "A", "R"), rmc("GL", "V", "N")}, true, 4},
        {{gga("GP", "0"), rmc("GN", "A", "D")}, true, 2},
        {{gga("GP", "0"), gns("GN", "NA")}, true, 1},
        {{rmc("GN", "A", "A"), gll("GP", "V")}, true, 1},
        {{gga("GN", "0"), rmc("GN", "A", "A"), gll("GP", "A")}, true, 1},
        {{gga("GN", "0"), rmc("GN", "V", "N")}, false, 0},
        {{gga("GN", "0"), rmc("GN", "A", "A")}, false, 0},
        {{gga("GN", "4"), rmc("GN", "V", "N")}, false, 4},
        {{gga("GN", "4"), rmc("GP", "A", "A"), rmc("GN", "V", "N")}, true, 1},
    };
    for (const auto& stream : streams) {
        for (const bool isTurned : {false, true}) {
            std::string content;
            for (const std::string& body : stream.sentences) {
                const std::string line = Sentence(body) + "\n";
                content = isTurned ? line + content : content + line;
            }
            const Reader reader(content);
            ASSERT_EQ(1U, reader.samples.size()) << content;
            EXPECT_EQ(stream.isValid, reader.samples[0].positionValid) << content;
            EXPECT_EQ(stream.quality, reader.samples[0].fixQuality) << content;
        }
    }
    const Reader other(Sentence(gga("GP", "0")) + "\n" + Sentence(rmc("GN", "A", "A")) + "\n");
    ASSERT_EQ(1U, other.samples.size());
    EXPECT_FALSE(other.samples[0].height.has_value()) << "of a talker without a fix";
}

TEST(NmeaReader, TakesNoPlaceForAFixThatIsReckonedEnteredOrSimulated)
{
    const std::string place = "120000,4807.038,N,01131.000,E,";
    for (const auto& [quality, mode] : {std::pair(6, "E"), {7, "M"}, {8, "S"}}) {
        const std::string gga =
            Sentence("GPGGA," + place + std::to_string(quality) + ",08,0.9,545.4,M,46.9,M,,") +
            "\n";
        const std::string rmc =
            Sentence("GPRMC,120000,A,4807.038,N,01131.000,E,1,2,010524,,," + std::string(mode)) +
            "\n";
        const std::string gns = Sentence("GPGNS," + place + mode + "N,11,0.9,545.4,46.9,,") + "\n";
        for (const std::string& content : {gga, rmc, gns, gga + rmc}) {
            const Reader reader(content);
            ASSERT_EQ(1U, reader.samples.size()) << content;
            EXPECT_FALSE(reader.samples[0].positionValid) << content;
            EXPECT_EQ(quality, reader.samples[0].fixQuality) << content;
            EXPECT_FALSE(reader.samples[0].speed.has_value()) << content;
        }
        EXPECT_TRUE(Reader(gga + Gga("120000", "GN")).samples.at(0).positionValid);
    }
}

TEST(NmeaReader, TakesNoHeadingOfADeviceThatIsNeitherFixedNorAligned)
{
    const auto sampleOf = [](const std::string& ending) {
        const Reader reader(Gga("120000") +
                            Sentence("PASHR,120000,224.19,T,-1.26,0.83,0,1,1,2" + ending) + "\n");
        return reader.samples.at(0);
    };
    EXPECT_FALSE(sampleOf(",0,0").yaw.has_value());
    EXPECT_TRUE(sampleOf(",0,0").roll.has_value()) << "the attitude needs no north";
    EXPECT_FALSE(sampleOf(",0").yaw.has_value());
    for (const char* const ending : {",0,1", ",1,0", ",2,1", ",1", ",,", ""}) {
        EXPECT_TRUE(sampleOf(ending).yaw.has_value()) << ending;
    }
}

TEST(NmeaReader, CountsASatelliteOnceThatSeveralTalkersList)
{
    const auto counted = [](const std::vector<std::string>& lists) {
        std::string content = Gga("120000");
        for (const std::string& body : lists) {
            content += Sentence(body) + "\n";
        }
        return Reader(content + Rmc("120000")).samples.at(0).satellites.value_or(-1);
    };
    const std::string gps = "GSA,A,3,13,16,21,15,10,29,,,,,,,1,1,1";
    const std::string glonass = "GSA,A,3,82,66,81,67,68,,,,,,,,1,1,1";
    EXPECT_EQ(11, counted({"GP" + gps, "GL" + glonass, "GN" + gps, "GN" + glonass}));
    EXPECT_EQ(11, counted({"GN" + gps, "GN" + glonass, "GP" + gps, "GL" + glonass}));
    EXPECT_EQ(11, counted({"GP" + gps, "GL" + glonass, "GN" + gps + ",1", "GN" + glonass + ",2"}));
    EXPECT_EQ(11, counted({"GP" + gps, "GN" + glonass}));
    EXPECT_EQ(12, counted({"GP" + gps, "GA" + gps})) << "numbers of another system";
}

TEST(NmeaReader, AdvisesToTellTheOrderWhereItLeavesMuchOut)
{
    std::string single;
    std::string doubled;
    for (int epoch = 0; epoch < 20; ++epoch) {
        const std::string hdt = Sentence("HEHDT,10,T") + "\n";
        single += Gga(TimeOf(epoch)) + hdt;
        doubled += Gga(TimeOf(epoch)) + hdt + Rmc(TimeOf(epoch));
    }
    EXPECT_NE(std::string::npos, Reader(single).nmea.Advice().find("--burst-begins-with TYPE"));
    EXPECT_EQ("", Reader(single, kFirstOfMay2024, ENmeaType::Gga).nmea.Advice());
    EXPECT_EQ("", Reader(doubled).nmea.Advice());
}
