#include "simulator/nmea/NmeaSentences.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

NmeaMoment Moment()
{
    NmeaMoment moment;
    moment.unixMilliseconds = 1'767'225'600'000 + 45'296'050; // 12:34:56.05 of 2026-01-01
    moment.fix = EFix::Fixed;
    moment.place = {48.1173, -11.516666, 545.4321};
    moment.correctionAge = 1.0;
    moment.speed = 2.5;
    moment.course = Radians(84.4);
    moment.heading = Radians(85.1234);
    moment.yawRate = Radians(-1.5);
    moment.roll = Radians(1.5);
    moment.pitch = Radians(-0.25);
    moment.positionSigma = 0.01;
    moment.headingSigma = Radians(0.15);
    return moment;
}

std::vector<std::string> BodiesOf(const std::string& text)
{
    std::vector<std::string> bodies;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        EXPECT_EQ('\r', line.back());
        line.pop_back();
        EXPECT_EQ(NmeaSentence(line.substr(1, line.size() - 4)), line + "\r\n");
        bodies.push_back(line.substr(1, line.size() - 4));
    }
    return bodies;
}

TEST(NmeaSentences, AreWhatAReceiverSays)
{
    const std::vector<std::string> expected{
        "GNGGA,123456.05,4807.0380000,N,01130.9999600,W,4,14,0.8,545.4321,M,0.0,M,1.0,0000",
        "GNVTG,84.400,T,,M,4.8596,N,9.0000,K,R",
        "GNHDT,85.123,T",
        "GNROT,-90.000,A",
        "PASHR,123456.05,85.123,T,+1.500,-0.250,+0.00,0.100,0.100,0.150,2,1",
        "GNGST,123456.05,0.0100,0.0100,0.0100,0.0,0.0100,0.0100,0.0150",
        "GNZDA,123456.05,01,01,2026,00,00",
        "GNRMC,123456.05,A,4807.0380000,N,01130.9999600,W,4.8596,84.400,010126,,,R"};
    EXPECT_EQ(expected, BodiesOf(NmeaSentences(Moment())));
}

TEST(NmeaSentences, HaveTheChecksumsOfOthers)
{
    EXPECT_EQ("$GPHDT,274.07,T*03\r\n", NmeaSentence("GPHDT,274.07,T"));
    EXPECT_EQ("$PASHR,085335.000,224.19,T,-01.26,+00.83,+00.00,0.101,0.113,0.267,1,0*06\r\n",
              NmeaSentence("PASHR,085335.000,224.19,T,-01.26,+00.83,+00.00,0.101,0.113,0.267,1,0"));
}

TEST(NmeaSentences, SayWithoutAFixNothingButTheTimeAndTheAttitude)
{
    NmeaMoment moment = Moment();
    moment.fix = EFix::None;
    moment.heading.reset();
    moment.yawRate.reset();
    const std::vector<std::string> expected{"GNGGA,123456.05,,,,,0,0,,,M,,M,,",
                                            "GNVTG,,T,,M,,N,,K,N",
                                            "GNHDT,,T",
                                            "GNROT,,V",
                                            "PASHR,123456.05,,T,+1.500,-0.250,+0.00,0.100,0.100,"
                                            "0.150,0,1",
                                            "GNGST,123456.05,,,,,,,",
                                            "GNZDA,123456.05,01,01,2026,00,00",
                                            "GNRMC,123456.05,V,,,,,,,010126,,,N"};
    EXPECT_EQ(expected, BodiesOf(NmeaSentences(moment)));
}

TEST(NmeaSentences, NameTheFixByItsNumberAndLetter)
{
    const struct
    {
        EFix fix;
        const char* gga;
        const char* rmc;
    } rows[] = {{EFix::Single, ",W,1,14,", ",,,A"},
                {EFix::Differential, ",W,2,14,", ",,,D"},
                {EFix::Float, ",W,5,14,", ",,,F"},
                {EFix::Fixed, ",W,4,14,", ",,,R"}};
    for (const auto& row : rows) {
        NmeaMoment moment = Moment();
        moment.fix = row.fix;
        const std::vector<std::string> bodies = BodiesOf(NmeaSentences(moment));
        EXPECT_NE(std::string::npos, bodies.front().find(row.gga)) << bodies.front();
        EXPECT_NE(std::string::npos, bodies.back().find(row.rmc)) << bodies.back();
    }
}

TEST(NmeaSentences, RoundNeitherMinutesToSixtyNorDirectionsToAWholeTurn)
{
    NmeaMoment moment = Moment();
    moment.place.latitude = -(48.0 - 1e-12);
    moment.place.longitude = 9.0 - 1e-12;
    moment.course = Radians(359.9999);
    moment.heading = Radians(-1e-9);
    const std::vector<std::string> bodies = BodiesOf(NmeaSentences(moment));

    EXPECT_NE(std::string::npos, bodies[0].find(",4800.0000000,S,00900.0000000,E,")) << bodies[0];
    EXPECT_NE(std::string::npos, bodies[1].find("VTG,0.000,T")) << bodies[1];
    EXPECT_EQ("GNHDT,0.000,T", bodies[2]);
}

TEST(NmeaSentences, GoOnToTheNextDay)
{
    NmeaMoment moment = Moment();
    moment.unixMilliseconds = 1'767'225'600'000 + 86'400'000LL * 58 + 86'399'950;
    EXPECT_EQ("GNZDA,235959.95,28,02,2026,00,00", BodiesOf(NmeaSentences(moment))[6]);
    moment.unixMilliseconds += 50;
    EXPECT_EQ("GNZDA,000000.00,01,03,2026,00,00", BodiesOf(NmeaSentences(moment))[6]);
}

TEST(NmeaSentences, HaveNoCourseWhileTheMachineStands)
{
    NmeaMoment moment = Moment();
    moment.speed = 0.0;
    moment.course.reset();
    const std::vector<std::string> bodies = BodiesOf(NmeaSentences(moment));

    EXPECT_EQ("GNVTG,,T,,M,0.0000,N,0.0000,K,R", bodies[1]);
    EXPECT_NE(std::string::npos, bodies[7].find(",0.0000,,010126")) << bodies[7];
}

} // namespace
