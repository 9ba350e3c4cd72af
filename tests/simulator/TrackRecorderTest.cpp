#include "simulator/service/TrackRecorder.h"

#include <chrono>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"
#include "tests/simulator/Service.h"

namespace {

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What a service has written to its track file, which ends with that.
std::string TrackOf(Service& service, const Directory& directory)
{
    service.Core().EndTrack(std::chrono::steady_clock::now() + std::chrono::seconds(20));
    return directory.Read("track.csv");
}

std::vector<double> NumbersOf(const std::string& line)
{
    std::vector<double> numbers;
    std::istringstream stream(line);
    for (std::string number; std::getline(stream, number, ',');) {
        numbers.push_back(std::stod(number));
    }
    return numbers;
}

TEST(TrackRecorder, SaysInTheFirstLineAloneWhatRepeatsTheDrive)
{
    const Directory directory;
    Service service(2.0);
    ASSERT_EQ("", service.Core().RecordTrack(directory.File("track.csv"), nullptr,
                                             "navigation-simulator --scenario 'a \"b\".json'"));
    service.Advance(0.3);

    const std::vector<std::string> lines = LinesOf(TrackOf(service, directory));

    ASSERT_EQ(4u, lines.size());
    const std::string end = ",\"navigation-simulator --scenario 'a \"\"b\"\".json'\"";
    EXPECT_EQ(end, lines[1].substr(lines[1].size() - end.size()));
    EXPECT_EQ(',', lines[2].back());
    EXPECT_EQ(',', lines[3].back());
}

TEST(TrackRecorder, WritesALineEachTimeThatGuidanceRan)
{
    const Directory directory;
    Service service(2.0);
    service.NavigateNorth();
    ASSERT_EQ("", service.Core().RecordTrack(directory.File("track.csv")));

    service.Advance(1.0);

    const std::vector<std::string> lines = LinesOf(TrackOf(service, directory));
    ASSERT_EQ(11u, lines.size());
    EXPECT_EQ("time_s,true_x_m,true_y_m,true_heading_rad,measured_x_m,measured_y_m,speed_mps,"
              "steering_angle_rad,cross_track_error_m,implement_cross_track_error_m,pass,engaged,"
              "receiver_drift_error_m,run",
              lines[0]);
    for (std::size_t line = 1; line < lines.size(); ++line) {
        EXPECT_EQ(13u, NumbersOf(lines[line]).size()) << lines[line];
    }
}

TEST(TrackRecorder, WritesWhereTheMachineIs)
{
    const Directory directory;
    SimulationOptions world = IdealWorld(2.0);
    world.startPose.position = {0.5, 0.0};
    Service service(world);
    service.NavigateNorth();
    service.Request("EngageSteering", "[1]");
    service.Core().RecordTrack(directory.File("track.csv"));

    service.Advance(0.1);

    const std::vector<double> row = NumbersOf(LinesOf(TrackOf(service, directory))[1]);
    EXPECT_NEAR(0.1, row[0], 1e-9);
    EXPECT_NEAR(0.5, row[1], 0.01);
    EXPECT_NEAR(0.2, row[2], 0.01);
    EXPECT_NEAR(2.0, row[6], 0.01);
    EXPECT_NEAR(0.5, row[8], 0.01);
    EXPECT_EQ(0.0, row[10]);
    EXPECT_EQ(1.0, row[11]);
}

TEST(TrackRecorder, WritesWhatTheWorldSaysInEveryColumn)
{
    const Directory directory;
    SimulationOptions world;
    world.speed = 2.0;
    world.ground = EGround::Field;
    world.startPose = {{-2.5, 0.0}, Radians(-5.0)};
    Service service(world);
    service.Request("SetImplementOffset", "[1, 0.25]");
    service.NavigateNorth();
    ASSERT_EQ("1", service.Request("EngageSteering", "[1]"));
    service.Core().RecordTrack(directory.File("track.csv"));

    service.Advance(3.0);

    const CSimulation& now = service.World();
    const std::vector<double> expected{now.Time(),
                                       now.TruePose().position.x,
                                       now.TruePose().position.y,
                                       NormaliseHeading(now.TruePose().heading),
                                       now.MeasuredPose().position.x,
                                       now.MeasuredPose().position.y,
                                       now.Speed(),
                                       now.SteeringAngle(),
                                       now.TrueCrossTrackError(),
                                       now.TrueImplementCrossTrackError(),
                                       -1.0,
                                       1.0,
                                       now.ReceiverDriftError()};
    const std::vector<double> row = NumbersOf(LinesOf(TrackOf(service, directory)).back());
    ASSERT_EQ(expected.size(), row.size());
    for (std::size_t column = 0; column < row.size(); ++column) {
        EXPECT_NEAR(expected[column], row[column], 6e-5) << "column " << column;
    }
    EXPECT_GT(std::abs(row[7]), 0.001);
    EXPECT_GT(std::abs(row[8] - row[9]), 0.001);
}

TEST(TrackRecorder, TellsOnceThatTheDeviceIsFull)
{
    Service service(2.0);
    service.Core().RecordTrack("/dev/full");

    while (service.Log().empty()) {
        service.Advance(0.1);
    }
    service.Advance(1.0);

    EXPECT_EQ("the track file cannot be written any more and ends here\n", service.Log());
}

TEST(TrackRecorder, WaitsForNoReaderAndTellsHowManyLinesItLacks)
{
    const Directory directory;
    ASSERT_EQ(0, ::mkfifo(directory.File("track.csv").c_str(), 0600));
    EXPECT_EQ("cannot write the track file " + directory.File("track.csv") +
                  ": it is a pipe that nobody reads",
              CTrackRecorder().Open(directory.File("track.csv")));
    const int pipe = ::open(directory.File("track.csv").c_str(), O_RDONLY | O_NONBLOCK);
    Service service(2.0);
    ASSERT_EQ("", service.Core().RecordTrack(directory.File("track.csv")));
    int lines = 0;

    // Some 5 MB, of which the pipe and the queue take 4.
    for (; lines < 40000; lines += 10) {
        service.Advance(1.0);
    }
    EXPECT_EQ("", service.Log());

    std::string text;
    for (char bytes[65536]; service.Log().empty();) {
        for (ssize_t count = 0; (count = ::read(pipe, bytes, sizeof bytes)) > 0;) {
            text.append(bytes, static_cast<std::size_t>(count));
        }
        service.Advance(0.1);
        ++lines;
    }
    ::close(pipe);
    const int written = static_cast<int>(LinesOf(text).size());
    const int lacking =
        std::stoi(service.Log().substr(std::string("the track file lacks ").size()));
    EXPECT_EQ("the track file lacks " + std::to_string(lacking) +
                  " lines that could not be written in time\n",
              service.Log());
    // The heading is there beside them, and the newest lines may be on their way.
    EXPECT_LE(written - 1 + lacking, lines);
    EXPECT_GT(written - 1 + lacking, lines - 1000);
}

TEST(TrackRecorder, TellsThatAFileCannotBeWritten)
{
    EXPECT_EQ("cannot write the track file /no/such/track.csv: No such file or directory",
              CTrackRecorder().Open("/no/such/track.csv"));
}

} // namespace
