#include "simulator/output/LineWriter.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "tests/simulator/Directory.h"

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point Soon()
{
    return Clock::now() + std::chrono::seconds(20);
}

std::string Notice(std::size_t leftOut)
{
    return std::to_string(leftOut) + " left out\n";
}

/// Reads until what has been read ends with a text, or nothing more comes.
std::string ReadUntil(const CDescriptor& descriptor, const std::string& end)
{
    const auto deadline = Soon();
    std::string text;
    char bytes[4096];
    while (text.size() < end.size() ||
           text.compare(text.size() - end.size(), end.size(), end) != 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd watched = {descriptor.Get(), POLLIN, 0};
        if (left.count() <= 0 || ::poll(&watched, 1, static_cast<int>(left.count())) <= 0) {
            break;
        }
        const ssize_t count = ::read(descriptor.Get(), bytes, sizeof bytes);
        if (count <= 0) {
            break;
        }
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return text;
}

/// A pipe whose reader reads when it is asked to.
class Pipe
{
public:
    Pipe()
    {
        int ends[2];
        EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
        m_reading = CDescriptor(ends[0]);
        m_writing = CDescriptor(ends[1]);
    }
    int Writing() const { return m_writing.Get(); }
    CDescriptor Copy() const { return CDescriptor(::dup(m_writing.Get())); }
    void StopReading() { m_reading = CDescriptor(); }
    std::string ReadUntil(const std::string& end) { return ::ReadUntil(m_reading, end); }

private:
    CDescriptor m_reading;
    CDescriptor m_writing;
};

TEST(LineWriter, WritesAllLinesInTheirOrder)
{
    Pipe pipe;
    std::string expected;
    CLineWriter writer(pipe.Copy(), 100000);

    for (int line = 0; line < 100; ++line) {
        writer.Write(std::to_string(line) + "\n");
        expected += std::to_string(line) + "\n";
    }

    EXPECT_TRUE(writer.Finish(Soon()));
    EXPECT_EQ(expected, pipe.ReadUntil("\n99\n"));
    EXPECT_EQ(0, writer.Error());
    EXPECT_EQ(0u, writer.TakeLeftOut());
}

TEST(LineWriter, WaitsForNoReaderAndTellsInOneLineWhatWasLeftOutOnceThereIsOne)
{
    Pipe pipe;
    // More than a pipe takes: the writer is held inside it until somebody reads.
    const std::string first = std::string(200'000, 'f') + "\n";
    CLineWriter writer(pipe.Copy(), first.size() + 10000, Notice);
    const std::string line = std::string(999, 'x') + "\n";
    const std::size_t lines = 1000;

    writer.Write(first);
    std::string expected = first;
    for (std::size_t written = 0; written < lines; ++written) {
        writer.Write(line);
    }

    // Each that waits counts with 64 bytes more than it has.
    const std::size_t passed = (10000 - 64) / (line.size() + 64);
    for (std::size_t number = 0; number < passed; ++number) {
        expected += line;
    }
    ASSERT_EQ(expected + Notice(lines - passed), pipe.ReadUntil("left out\n"));
    writer.Write("after\n");
    EXPECT_EQ("after\n", pipe.ReadUntil("after\n"));
    EXPECT_TRUE(writer.Finish(Soon()));
}

TEST(LineWriter, EndsAtTheDeadlineThoughNobodyReads)
{
    Pipe pipe;
    const auto start = Clock::now();
    {
        CLineWriter writer(pipe.Copy(), 1000000, Notice);
        for (int line = 0; line < 200; ++line) {
            writer.Write(std::string(1000, 'x') + "\n");
        }
        writer.Write("last\n");
        EXPECT_FALSE(writer.Finish(Clock::now() + std::chrono::milliseconds(50)));
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(200u * 1001u + 5u, pipe.ReadUntil("last\n").size());
}

TEST(LineWriter, LeavesTheFlagsOfItsDescriptorAndWaitsWhereTheyForbidIt)
{
    for (const int flags : {0, O_NONBLOCK}) {
        Pipe pipe;
        ASSERT_EQ(0, ::fcntl(pipe.Writing(), F_SETFL, flags));
        const int before = ::fcntl(pipe.Writing(), F_GETFL);
        CLineWriter writer(pipe.Copy(), 1000000, Notice);
        std::string expected;
        for (int line = 0; line < 5000; ++line) {
            writer.Write(std::to_string(line) + " of some length\n");
            expected += std::to_string(line) + " of some length\n";
        }
        EXPECT_EQ(expected, pipe.ReadUntil("4999 of some length\n"));
        EXPECT_TRUE(writer.Finish(Soon()));
        EXPECT_EQ(before, ::fcntl(pipe.Writing(), F_GETFL));
    }
}

TEST(LineWriter, CountsWhatCannotBeWritten)
{
    const auto broken = [] {
        Pipe pipe;
        pipe.StopReading();
        return pipe.Copy();
    };
    ASSERT_NE(SIG_ERR, std::signal(SIGPIPE, SIG_IGN));
    CLineWriter full(CDescriptor(::open("/dev/full", O_WRONLY)), 1000);
    CLineWriter unread(broken(), 1000);
    full.Write("a\n");
    unread.Write("a\n");

    EXPECT_TRUE(full.Finish(Soon()));
    EXPECT_TRUE(unread.Finish(Soon()));

    EXPECT_EQ(ENOSPC, full.Error());
    EXPECT_EQ(EPIPE, unread.Error());
    EXPECT_EQ(1u, full.TakeLeftOut());
    EXPECT_EQ(0u, full.TakeLeftOut());
}

TEST(LineWriter, TellsWhatWasLeftOutWhenAReaderComesBackToAPipeWithAName)
{
    ASSERT_NE(SIG_ERR, std::signal(SIGPIPE, SIG_IGN));
    const Directory directory;
    const std::string path = directory.File("pipe");
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    CDescriptor reader(::open(path.c_str(), O_RDONLY | O_NONBLOCK));
    CLineWriter writer(CDescriptor(::open(path.c_str(), O_WRONLY)), 1000, Notice);
    reader = CDescriptor();
    writer.Write("a\n");
    for (const auto deadline = Soon(); writer.Error() == 0;) {
        ASSERT_LT(Clock::now(), deadline) << "the broken pipe goes unnoticed";
        std::this_thread::yield();
    }

    // Opened without waiting for a writer, which may have gone.
    reader = CDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK));

    const std::string text = ReadUntil(reader, "\n");
    EXPECT_NE(std::string::npos, text.find("1 left out\n")) << text;
    EXPECT_TRUE(writer.Finish(Soon()));
}

TEST(LineWriter, TakesALineThatIsLongerThanAllThatMayWait)
{
    Pipe pipe;
    CLineWriter writer(pipe.Copy(), 100, Notice);

    writer.Write(std::string(5000, 'x') + "\n");

    EXPECT_EQ(std::string(5000, 'x') + "\n", pipe.ReadUntil("\n"));
    EXPECT_TRUE(writer.Finish(Soon()));
}

} // namespace
