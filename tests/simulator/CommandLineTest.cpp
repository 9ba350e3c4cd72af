#include "simulator/CommandLine.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/Version.h"

namespace {

/// What became of a command line.
struct Outcome
{
    std::optional<EExitCode> exitCode;
    ProgramOptions options;
    std::string output;
    std::string errors;
};

Outcome Read(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "navigation-simulator");
    Outcome outcome;
    std::ostringstream output;
    std::ostringstream errors;
    outcome.exitCode = ReadCommandLine(static_cast<int>(arguments.size()), arguments.data(),
                                       outcome.options, output, errors);
    outcome.output = output.str();
    outcome.errors = errors.str();
    return outcome;
}

TEST(CommandLine, HasADefaultForEverything)
{
    const Outcome outcome = Read({});

    EXPECT_FALSE(outcome.exitCode.has_value());
    EXPECT_EQ(5010, outcome.options.port);
    EXPECT_FALSE(outcome.options.httpPort.has_value());
    EXPECT_EQ("", outcome.options.stateFile);
    EXPECT_EQ(ELogLevel::Warning, outcome.options.logLevel);
    EXPECT_EQ(1.0, outcome.options.speedFactor);
    EXPECT_EQ(EReceiver::Rtk, outcome.options.simulation.receiver);
    EXPECT_EQ(EGround::Firm, outcome.options.simulation.ground);
}

TEST(CommandLine, TakesEveryOption)
{
    const Outcome outcome =
        Read({"--port",      "0",     "--state",        "s.json", "--track",    "t.csv",
              "--log-level", "debug", "--speed-factor", "20",     "--seed",     "42",
              "--receiver",  "sbas",  "--ground",       "field",  "--start",    "1.5,-2.5,90",
              "--speed",     "-1.5",  "--centre-bias",  "1",      "--backlash", "0.5"});

    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    EXPECT_EQ(0, outcome.options.port);
    EXPECT_EQ("s.json", outcome.options.stateFile);
    EXPECT_EQ("t.csv", outcome.options.trackFile);
    EXPECT_EQ(ELogLevel::Debug, outcome.options.logLevel);
    EXPECT_EQ(20.0, outcome.options.speedFactor);
    const SimulationOptions& world = outcome.options.simulation;
    EXPECT_EQ(42u, world.seed);
    EXPECT_EQ(EReceiver::Sbas, world.receiver);
    EXPECT_EQ(EGround::Field, world.ground);
    EXPECT_EQ(1.5, world.startPose.position.x);
    EXPECT_EQ(-2.5, world.startPose.position.y);
    EXPECT_DOUBLE_EQ(kPi / 2.0, world.startPose.heading);
    EXPECT_EQ(-1.5, world.speed);
    EXPECT_DOUBLE_EQ(Radians(1.0), world.centreBias);
    EXPECT_DOUBLE_EQ(Radians(0.5), world.backlash);
}

TEST(CommandLine, TakesAPortForTheLivePage)
{
    const Outcome outcome = Read({"--http", "8010"});

    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    EXPECT_EQ(8010, outcome.options.httpPort.value_or(0));
}

TEST(CommandLine, TakesTheImplementAndWhatIsGuided)
{
    const Outcome trailed = Read({"--implement", "trailed:1.5,4", "--guide", "implement"});
    ASSERT_FALSE(trailed.exitCode.has_value()) << trailed.errors;
    EXPECT_EQ(1.5, trailed.options.simulation.implement.behind);
    EXPECT_EQ(4.0, trailed.options.simulation.implement.drawbar);
    EXPECT_EQ(EGuide::Implement, trailed.options.simulation.guide);
    EXPECT_EQ(ELeastFix::RtkFloat, trailed.options.simulation.leastFix);
    EXPECT_EQ(ELeastFix::Dgps, Read({"--least-fix", "dgps"}).options.simulation.leastFix);

    const Outcome carried = Read({"--implement", "carried:0"});
    EXPECT_EQ(0.0, carried.options.simulation.implement.behind);
    EXPECT_EQ(0.0, carried.options.simulation.implement.drawbar);
    EXPECT_EQ(EGuide::Machine, carried.options.simulation.guide);
}

TEST(CommandLine, TakesAStartInThreeWords)
{
    const Outcome outcome = Read({"--start", "1", "-2", "270"});

    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    EXPECT_EQ(-2.0, outcome.options.simulation.startPose.position.y);
}

/// A command line that is wrong, and what the error text must name.
struct Wrong
{
    std::vector<const char*> arguments;
    std::vector<const char*> named;
};

TEST(CommandLine, NamesTheWrongValueAndWhatIsAllowed)
{
    for (const Wrong& row : std::vector<Wrong>{
             {{"--port", "65536"}, {"--port", "65536", "0 to 65535"}},
             {{"--port", "-1"}, {"--port", "-1", "0 to 65535"}},
             {{"--port", "abc"}, {"--port", "abc"}},
             {{"--http", "65536"}, {"--http", "65536", "0 to 65535"}},
             {{"--http", "page"}, {"--http", "page"}},
             {{"--http"}, {"--http"}},
             {{"--log-level", "loud"},
              {"--log-level: \"loud\" is not allowed, allowed is debug, error, info, warning"}},
             {{"--receiver", "gps"},
              {"--receiver: \"gps\" is not allowed, allowed is ideal, rtk, sbas"}},
             {{"--ground", "mud"}, {"--ground: \"mud\" is not allowed, allowed is field, firm"}},
             {{"--guide", "both"},
              {"--guide: \"both\" is not allowed, allowed is implement, machine"}},
             {{"--least-fix", "good"}, {"--least-fix: \"good\" is not allowed", "rtk-float"}},
             {{"--implement", "carried"}, {"--implement", "carried:BEHIND", "trailed:HITCH"}},
             {{"--implement", "carried:"}, {"--implement"}},
             {{"--implement", "carried:11"}, {"--implement", "0 to 10 m"}},
             {{"--implement", "carried:2m"}, {"--implement"}},
             {{"--implement", "trailed:1"}, {"--implement"}},
             {{"--implement", "trailed:1,0"}, {"--implement", "0.5 to 12 m"}},
             {{"--implement", "trailed:1,nan"}, {"--implement"}},
             {{"--implement", "trailed:1,4,5"}, {"--implement"}},
             {{"--state", ""}, {"--state: \"\" is not allowed, allowed is the name of a file"}},
             {{"--track="}, {"--track"}},
             {{"--track", ""}, {"--track: \"\" is not allowed, allowed is the name of a file"}},
             {{"--speed-factor", "0"}, {"--speed-factor", "0", "0.01 to 1000"}},
             {{"--speed-factor", "nan"}, {"--speed-factor", "nan", "0.01 to 1000"}},
             {{"--speed", "100"}, {"--speed", "100", "-5 to 15"}},
             {{"--seed", "-1"}, {"--seed", "-1"}},
             {{"--start", "1,2"}, {"--start", "3"}},
             {{"--start", "1,2,inf"}, {"--start", "inf"}},
             {{"--state"}, {"--state"}},
             {{"--colour"}, {"--colour"}},
             {{"5010"}, {"5010"}}}) {
        const Outcome outcome = Read(row.arguments);

        EXPECT_EQ(kExitWrongOptions, outcome.exitCode.value_or(kExitSuccess)) << row.arguments[0];
        for (const char* named : row.named)
            EXPECT_NE(std::string::npos, outcome.errors.find(named))
                << "no \"" << named << "\" in: " << outcome.errors;
    }
}

TEST(CommandLine, WritesHelpWithEveryOption)
{
    const Outcome outcome = Read({"--help"});

    EXPECT_EQ(kExitSuccess, outcome.exitCode.value_or(kExitWrongOptions));
    for (const char* option :
         {"--port", "--http", "--state", "--track", "--log-level", "--speed-factor", "--seed",
          "--receiver", "--ground", "--start", "--speed", "--centre-bias", "--backlash",
          "--implement", "--guide", "--least-fix", "--version"})
        EXPECT_NE(std::string::npos, outcome.output.find(option)) << option;
}

TEST(CommandLine, WritesTheVersion)
{
    const Outcome outcome = Read({"--version"});

    EXPECT_EQ(kExitSuccess, outcome.exitCode.value_or(kExitWrongOptions));
    EXPECT_EQ("navigation-simulator " + std::string(ProgramVersion()) + "\n", outcome.output);
}

} // namespace
