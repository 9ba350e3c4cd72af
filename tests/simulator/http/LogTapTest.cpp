// What a command leaves in the service's log, as the live page shows it.

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/http/LogTap.h"
#include "tests/support/AllocationMeter.h"

namespace {

using Lines = std::vector<std::string>;

/// A tap whose lines go on to `passedOn`.
CLogTap TapInto(Lines& passedOn)
{
    return CLogTap([&passedOn](ELogLevel, const std::string& text) { passedOn.push_back(text); });
}

TEST(LogTap, TellsTheWarningsAndErrorsOfTheWorkAlone)
{
    CLogTap tap({});
    const LogSink log = tap.Sink();
    log(ELogLevel::Error, "before");

    const Lines lines = tap.LinesOf([&] {
        log(ELogLevel::Warning, "refused");
        log(ELogLevel::Info, "started");
        log(ELogLevel::Debug, "a client came");
        log(ELogLevel::Error, "failed");
    });
    log(ELogLevel::Warning, "between");

    EXPECT_EQ((Lines{"refused", "failed"}), lines);
    EXPECT_EQ((Lines{"next"}), tap.LinesOf([&] { log(ELogLevel::Warning, "next"); }));
    EXPECT_EQ(Lines{}, tap.LinesOf([] {}));
}

TEST(LogTap, PassesAllLinesOnWhateverTheWorkThrows)
{
    Lines passedOn;
    CLogTap tap = TapInto(passedOn);
    const LogSink log = tap.Sink();
    log(ELogLevel::Debug, "before");

    EXPECT_THROW(tap.LinesOf([&] {
        log(ELogLevel::Warning, "during");
        throw std::runtime_error("a fault");
    }),
                 std::runtime_error);
    log(ELogLevel::Info, "after");

    EXPECT_EQ((Lines{"before", "during", "after"}), passedOn);
}

TEST(LogTap, DoesNotTellOfWorkThatThrewWithTheNext)
{
    CLogTap tap({});
    const LogSink log = tap.Sink();

    EXPECT_THROW(tap.LinesOf([&] {
        log(ELogLevel::Warning, "of the work that threw");
        throw std::runtime_error("a fault");
    }),
                 std::runtime_error);

    EXPECT_EQ((Lines{"of the next"}), tap.LinesOf([&] { log(ELogLevel::Warning, "of the next"); }));
}

TEST(LogTap, KeepsNoLinesAfterWorkThatThrew)
{
    CLogTap tap({});
    const LogSink log = tap.Sink();
    const std::string line(1000, 'x');
    EXPECT_THROW(tap.LinesOf([] { throw std::runtime_error("a fault"); }), std::runtime_error);

    const CAllocationMeter meter;
    log(ELogLevel::Warning, line);

    EXPECT_EQ(0u, meter.BlockCount());
}

TEST(LogTap, KeepsNoLinesAfterLogThatThrew)
{
    bool fails = true;
    CLogTap tap([&fails](ELogLevel, const std::string&) {
        if (fails) {
            throw std::runtime_error("no room on the disk");
        }
    });
    const LogSink log = tap.Sink();
    EXPECT_THROW(tap.LinesOf([&] { log(ELogLevel::Warning, "lost"); }), std::runtime_error);
    fails = false;
    const std::string line(1000, 'x');

    const CAllocationMeter meter;
    log(ELogLevel::Warning, line);

    EXPECT_EQ(0u, meter.BlockCount());
    EXPECT_EQ(Lines{}, tap.LinesOf([] {}));
}

} // namespace
