#include "simulator/nmea/NmeaOutput.h"

#include <chrono>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"
#include "tests/simulator/Service.h"

namespace {

std::chrono::steady_clock::time_point InASecond()
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(20);
}

/// A service whose receiver says what it measures.
class Speaker
{
public:
    explicit Speaker(const NmeaOptions& options)
        : m_output(m_loop, options, 1,
                   [this](ELogLevel, const std::string& line) { m_log += line + "\n"; })
    {
        m_service.Core().OnStep(
            [this](const CSimulation& world, const auto& origin) { m_output.Look(world, origin); });
    }

    std::string Open()
    {
        bool isPort = false;
        return m_output.Open(nullptr, isPort);
    }
    Service& Drive() { return m_service; }
    CNmeaOutput& Output() { return m_output; }
    const std::string& Log() const { return m_log; }

private:
    asio::io_context m_loop;
    std::string m_log;
    Service m_service{2.0};
    CNmeaOutput m_output;
};

NmeaOptions To(const std::string& path)
{
    NmeaOptions options;
    options.targets = {{std::nullopt, path}};
    return options;
}

TEST(NmeaOutput, WritesAFileOfAllMoments)
{
    const Directory directory;
    Speaker speaker(To(directory.File("drive.nmea")));
    ASSERT_EQ("", speaker.Open());
    speaker.Drive().Advance(2.0);
    speaker.Output().Close(InASecond());

    const std::string text = directory.Read("drive.nmea");
    EXPECT_EQ(0u, text.find("$GNGGA,000000.10,4800.0"));
    std::size_t lines = 0;
    for (const char character : text) {
        lines += character == '\n' ? 1 : 0;
    }
    EXPECT_EQ(20u * 8u, lines);
}

TEST(NmeaOutput, FollowsTheOriginThatAClientSets)
{
    const Directory directory;
    Speaker speaker(To(directory.File("drive.nmea")));
    ASSERT_EQ("", speaker.Open());
    speaker.Drive().Notify("set_wayline_origin", "[-33.5, -70.25, 600.0]");
    speaker.Drive().Advance(0.1);
    speaker.Output().Close(InASecond());
    EXPECT_EQ(0u, directory.Read("drive.nmea").find("$GNGGA,000000.10,3329.99"));
}

TEST(NmeaOutput, SaysWhyAFileCannotBeWritten)
{
    const Directory directory;
    EXPECT_EQ("NMEA: cannot write the file " + directory.File("none/drive.nmea") +
                  ": No such file or directory",
              Speaker(To(directory.File("none/drive.nmea"))).Open());
}

TEST(NmeaOutput, WaitsForNobodyWhoReadsAPipe)
{
    const Directory directory;
    const std::string path = directory.File("pipe");
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    Speaker speaker(To(path));
    ASSERT_EQ("", speaker.Open());

    speaker.Drive().Advance(300.0); // far more than a pipe and the waiting room hold

    std::string taken;
    char bytes[65536];
    const auto deadline = InASecond();
    while (speaker.Log().empty() && std::chrono::steady_clock::now() < deadline) {
        const ssize_t count = ::read(reader, bytes, sizeof bytes);
        if (count > 0) {
            taken.append(bytes, static_cast<std::size_t>(count));
        }
        speaker.Drive().Advance(0.1);
    }
    EXPECT_NE(std::string::npos, speaker.Log().find("moments that could not be written in time"));
    EXPECT_GT(taken.size(), 512u * 1024u);
    ::close(reader);
    speaker.Drive().Advance(0.1);
    while (speaker.Log().find("cannot be written any more") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
        speaker.Drive().Advance(0.1);
    }
    EXPECT_NE(std::string::npos, speaker.Log().find("cannot be written any more and ends here"));
}

} // namespace
