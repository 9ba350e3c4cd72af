#include "simulator/program/CommandLine.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/base/Version.h"

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

TEST(CommandLine, TellsWhatRepeatsTheDriveWithoutWhatItDoesNotDependOn)
{
    const std::string version = std::string("version ") + ProgramVersion() + ": ";
    EXPECT_EQ(version + "navigation-simulator --seed 1", Read({}).options.driveCommand);
    const Outcome outcome = Read({"--port", "0", "--http", "0", "--track", "a b.csv", "--record=r",
                                  "--start", "1.5,-2.5,90", "--ground", "field", "--seed", "42",
                                  "--scenario", "it's.json", "--log-level", "debug"});
    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    EXPECT_EQ(version + "navigation-simulator --scenario 'it'\\''s.json' --ground field "
                        "--start 1.5,-2.5,90 --seed 42",
              outcome.options.driveCommand);
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

TEST(CommandLine, TakesTargetsForSentences)
{
    EXPECT_TRUE(Read({}).options.nmea.targets.empty());
    const Outcome outcome = Read({"--nmea", "tcp:10110", "--nmea", "file:tcp:1", "--nmea-rate",
                                  "20", "--nmea-origin", "-33.5,-70.25,600"});

    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    const NmeaOptions& nmea = outcome.options.nmea;
    ASSERT_EQ(2u, nmea.targets.size());
    EXPECT_EQ(10110, nmea.targets[0].port.value_or(0));
    EXPECT_FALSE(nmea.targets[1].port.has_value());
    EXPECT_EQ("tcp:1", nmea.targets[1].path);
    EXPECT_EQ(20, nmea.rate);
    EXPECT_EQ(-33.5, nmea.origin.latitude);
    EXPECT_EQ(-70.25, nmea.origin.longitude);
    EXPECT_EQ(600.0, nmea.origin.height);
}

TEST(CommandLine, TakesAHarderWorld)
{
    const Outcome outcome = Read({"--terrain",
                                  "slope:-8.5",
                                  "--antenna",
                                  "0.5,-0.25,2.75",
                                  "--compensation",
                                  "off",
                                  "--receiver-rate",
                                  "5",
                                  "--receiver-latency",
                                  "0.3",
                                  "--tree-line",
                                  "-12.5",
                                  "--steering-deadband",
                                  "0.5",
                                  "--steering-rate-left",
                                  "15",
                                  "--steering-rate-right",
                                  "12",
                                  "--tyres",
                                  "dynamic"});

    ASSERT_FALSE(outcome.exitCode.has_value()) << outcome.errors;
    const SimulationOptions& world = outcome.options.simulation;
    EXPECT_EQ(ETerrain::Slope, world.terrain.kind);
    EXPECT_DOUBLE_EQ(Radians(-8.5), world.terrain.slope);
    EXPECT_EQ(0.5, world.mounting.antenna.ahead);
    EXPECT_EQ(-0.25, world.mounting.antenna.right);
    EXPECT_EQ(2.75, world.mounting.antenna.up);
    EXPECT_FALSE(world.mounting.compensatesLean);
    EXPECT_EQ(5, world.mounting.rate);
    EXPECT_TRUE(world.hasTyres);
    EXPECT_EQ(3, world.mounting.latency);
    EXPECT_EQ(-12.5, world.treeLine.value_or(0.0));
    EXPECT_DOUBLE_EQ(Radians(0.5), world.conditions.valve.deadband);
    EXPECT_DOUBLE_EQ(Radians(15.0), world.conditions.valve.rateLeft);
    EXPECT_DOUBLE_EQ(Radians(12.0), world.conditions.valve.rateRight);
    EXPECT_EQ(ETerrain::Rolling, Read({"--terrain", "rolling"}).options.simulation.terrain.kind);
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
             {{"--terrain", "hilly"}, {"--terrain", "hilly", "flat"}},
             {{"--terrain", "slope:"}, {"--terrain", "slope:"}},
             {{"--terrain", "slope:31"}, {"--terrain", "31", "30"}},
             {{"--terrain", "slope:nan"}, {"--terrain", "nan"}},
             {{"--antenna", "1,2"}, {"--antenna"}},
             {{"--antenna", "1,2,11"}, {"--antenna", "11"}},
             {{"--compensation", "maybe"}, {"--compensation", "maybe", "on"}},
             {{"--tyres", "flat"}, {"--tyres", "flat", "rigid"}},
             {{"--receiver-rate", "20"}, {"--receiver-rate", "20", "10"}},
             {{"--receiver-latency", "0.05"}, {"--receiver-latency", "0.05", "tenths"}},
             {{"--steering-deadband", "-1"}, {"--steering-deadband", "-1"}},
             {{"--steering-rate-left", "0"}, {"--steering-rate-left", "0"}},
             {{"--nmea", "tcp:"}, {"--nmea", "tcp:", "port", "path"}},
             {{"--nmea", "tcp:65536"}, {"--nmea", "tcp:65536"}},
             {{"--nmea", "tcp:-1"}, {"--nmea", "tcp:-1"}},
             {{"--nmea", "tcp:1x"}, {"--nmea", "tcp:1x"}},
             {{"--nmea", "file:"}, {"--nmea", "file:"}},
             {{"--nmea", "drive.nmea"}, {"--nmea", "drive.nmea"}},
             {{"--nmea-rate", "3"}, {"--nmea-rate", "3", "1, 2, 5, 10 or 20"}},
             {{"--nmea-rate", "10.5"}, {"--nmea-rate", "10.5"}},
             {{"--nmea-origin", "91,0,0"}, {"--nmea-origin", "latitude", "91"}},
             {{"--nmea-origin", "48,11"}, {"--nmea-origin"}},
             {{"--nmea-origin", "nan,0,0"}, {"--nmea-origin", "nan"}},
             {{"--colour"}, {"--colour"}},
             {{"5010"}, {"5010"}}}) {
        const Outcome outcome = Read(row.arguments);

        EXPECT_EQ(kExitWrongOptions, outcome.exitCode.value_or(kExitSuccess)) << row.arguments[0];
        for (const char* named : row.named) {
            EXPECT_NE(std::string::npos, outcome.errors.find(named))
                << "no \"" << named << "\" in: " << outcome.errors;
        }
    }
}

TEST(CommandLine, WritesHelpWithEveryOption)
{
    const Outcome outcome = Read({"--help"});

    EXPECT_EQ(kExitSuccess, outcome.exitCode.value_or(kExitWrongOptions));
    for (const char* option :
         {"--port",         "--http",        "--state",    "--track",     "--log-level",
          "--speed-factor", "--seed",        "--receiver", "--ground",    "--start",
          "--speed",        "--centre-bias", "--backlash", "--nmea",      "--nmea-rate",
          "--nmea-origin",  "--implement",   "--guide",    "--least-fix", "--version"}) {
        EXPECT_NE(std::string::npos, outcome.output.find(option)) << option;
    }
}

TEST(CommandLine, WritesTheVersion)
{
    const Outcome outcome = Read({"--version"});

    EXPECT_EQ(kExitSuccess, outcome.exitCode.value_or(kExitWrongOptions));
    EXPECT_EQ("navigation-simulator " + std::string(ProgramVersion()) + "\n", outcome.output);
}

} // namespace
