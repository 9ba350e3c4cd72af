#include "simulator/settings/KeptSettings.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"

namespace {

/// A setting that can be kept.
struct KeptRow
{
    const char* setter;
    const char* kept;    ///< arguments that ask to keep the value
    const char* notKept; ///< others that do not
    const char* getter;
    const char* arguments;
    const char* name; ///< in the state file
    KeptValue value;
    const char* reply;
};

const std::vector<KeptRow> kKeptRows{
    {"set_reverse_engage_enabled", "[1, 1]", "[0, 0]", "get_reverse_engage_enabled", "[1]",
     "reverse_engage_enabled", true, "1"},
    {"set_reverse_engage_allowed", "[1, 1]", "[0, 0]", "get_reverse_engage_allowed", "[1]",
     "reverse_engage_allowed", true, "1"},
    {"set_low_speed_engage_allowed", "[1, 1]", "[0, 0]", "get_low_speed_engage_allowed", "[1]",
     "low_speed_engage_allowed", true, "1"},
    {"set_low_speed_engage_timeout", "[7.5, 1]", "[8.5, 0]", "get_low_speed_engage_timeout", "[1]",
     "low_speed_engage_timeout", 7.5, "7.5"},
    {"set_lookahead_time", "[2.5, 1]", "[3.5, 0]", "get_lookahead_time", "[1]", "lookahead_time",
     2.5, "2.5"},
    {"set_tuning_parameter", "[0, 0.75, 1]", "[0, 0.875, 0]", "get_tuning_parameter", "[0]",
     "sensitivity", 0.75, "0.75"},
    {"set_tuning_parameter", "[1, 0.75, 1]", "[1, 0.875, 0]", "get_tuning_parameter", "[1]",
     "aggressiveness", 0.75, "0.75"},
    {"set_tuning_parameter", "[2, 0.75, 1]", "[2, 0.875, 0]", "get_tuning_parameter", "[2]",
     "overshoot", 0.75, "0.75"},
    {"set_tuning_parameter", "[3, 0.75, 1]", "[3, 0.875, 0]", "get_tuning_parameter", "[3]",
     "speed_adjust", 0.75, "0.75"},
};

TEST(KeptSettings, KeepWhatAClientAskedToKeep)
{
    for (const KeptRow& row : kKeptRows) {
        Service service;

        service.Notify(row.setter, row.kept);

        EXPECT_EQ((KeptValues{{row.name, row.value}}), service.Kept()) << row.name;
        EXPECT_EQ(row.reply, service.Request(row.getter, row.arguments)) << row.name;
    }
}

TEST(KeptSettings, DoNotKeepWhatNobodyAskedToKeep)
{
    for (const KeptRow& row : kKeptRows) {
        Service service;
        service.Notify(row.setter, row.kept);

        service.Notify(row.setter, row.notKept);
        service.Request("ReinitialiseNavigation", "[1]");

        EXPECT_EQ((KeptValues{{row.name, row.value}}), service.Kept()) << row.name;
        EXPECT_NE(row.reply, service.Request(row.getter, row.arguments)) << row.name;
    }
}

TEST(KeptSettings, AreNotKeptAnewWhenTheyDoNotChange)
{
    for (const KeptRow& row : kKeptRows) {
        Service service;
        service.Notify(row.setter, row.kept);
        ASSERT_EQ(1, service.TimesKept()) << row.name;

        service.Notify(row.setter, row.kept);
        service.Notify(row.setter, row.notKept);
        service.Notify(row.setter, row.kept);

        EXPECT_EQ(1, service.TimesKept()) << row.name;
    }
}

TEST(KeptSettings, AreTheSettingsOfTheNextRun)
{
    for (const KeptRow& row : kKeptRows) {
        Service next(IdealWorld(0.0), {{row.name, row.value}});

        EXPECT_EQ(row.reply, next.Request(row.getter, row.arguments)) << row.name;
        EXPECT_EQ("", next.Log()) << row.name;
    }
}

TEST(KeptSettings, StayKeptWhenAnotherOneIsAdded)
{
    Service service(IdealWorld(0.0), {{"sensitivity", 0.75}});

    service.Notify("set_lookahead_time", "[2.5, 1]");

    EXPECT_EQ((KeptValues{{"lookahead_time", 2.5}, {"sensitivity", 0.75}}), service.Kept());
}

TEST(KeptSettings, KeepNoValueThatWasRefused)
{
    for (const char* arguments : {"[-1.0, 1]", "[nan, 1]", "[inf, 1]"}) {
        Service service;

        service.Notify("set_low_speed_engage_timeout", arguments);

        EXPECT_TRUE(service.Kept().empty()) << arguments;
        EXPECT_EQ(0u, service.Log().find("set_low_speed_engage_timeout refused: "))
            << service.Log();
    }
}

TEST(KeptSettings, KeepTheValueThatATuningParameterWasClampedTo)
{
    Service service;

    service.Notify("set_tuning_parameter", "[0, 1000.0, 1]");

    const double taken = service.World().Tuning().Get(ETuning::Sensitivity);
    EXPECT_EQ((KeptValues{{"sensitivity", taken}}), service.Kept());
}

TEST(KeptSettings, KeepATuningParameterWithTheLimitsThatItWasSetIn)
{
    Service service;
    service.Notify("SetTuningLimits", "[0, 0.1, 1.0, 10.0]");

    service.Notify("set_tuning_parameter", "[0, 8.0, 1]");

    Service next(IdealWorld(0.0), service.Kept());
    EXPECT_EQ("8.0", next.Request("get_tuning_parameter", "[0]"));
    EXPECT_EQ("[0.1, 1.0, 10.0]", next.Request("GetTuningLimits", "[0]"));
    EXPECT_EQ("", next.Log());
}

TEST(KeptSettings, ForgetLimitsThatAreThoseOfTheStartAgain)
{
    Service service;
    service.Notify("SetTuningLimits", "[0, 0.1, 1.0, 10.0]");
    service.Notify("set_tuning_parameter", "[0, 8.0, 1]");
    service.Request("ReinitialiseNavigation", "[1]");

    service.Notify("set_tuning_parameter", "[0, 2.0, 1]");

    EXPECT_EQ((KeptValues{{"sensitivity", 2.0}}), service.Kept());
}

TEST(KeptSettings, RefuseLimitsThatAreNone)
{
    CSimulation simulation(IdealWorld(0.0));

    const COutcome outcome = CKeptSettings({{"overshoot_lowest", 2.0}}, {}).ApplyTo(simulation);

    EXPECT_EQ("the limits of \"overshoot\": the tuning limits 2, 1, 3 are not three finite numbers "
              "in ascending order from 0",
              outcome.Reason());
}

TEST(KeptSettings, RefuseWhatIsNoSetting)
{
    for (const auto& [name, value] :
         std::vector<std::pair<std::string, KeptValue>>{{"implement_width", 3.0},
                                                        {"lookahead_time", -1.0},
                                                        {"lookahead_time", true},
                                                        {"reverse_engage_enabled", 0.5},
                                                        {"reverse_engage_allowed", 1.0},
                                                        {"low_speed_engage_timeout", -1.0},
                                                        {"sensitivity", 50.0},
                                                        {"overshoot", 1e308},
                                                        {"speed_adjust", -0.5},
                                                        {"aggressiveness", false},
                                                        {"aggressiveness_highest", true},
                                                        {"aggressiveness_width", 1.0},
                                                        {"\x1b[31m\n\x7f", 1.0}}) {
        CSimulation simulation(IdealWorld(0.0));

        const COutcome outcome = CKeptSettings({{name, value}}, {}).ApplyTo(simulation);

        EXPECT_FALSE(outcome) << name;
        EXPECT_EQ(0u, outcome.Reason().find("\"" + Printable(name) + "\": ")) << outcome.Reason();
    }
}

} // namespace
