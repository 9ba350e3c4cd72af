#include "simulator/operations/TuningOperations.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

TEST(TuningOperations, GiveBackWhatWasSet)
{
    Service service;

    service.Notify("set_tuning_parameter", "[1, 0.75, 0]");
    service.Notify("SetTuningLimits", "[2, 0.125, 0.5, 0.875]");
    service.Notify("SetVelocitySetPoint", "[3.5]");
    service.Notify("SetCurveFilterSize", "[1, 7]");

    EXPECT_EQ("0.75", service.Request("get_tuning_parameter", "[1]"));
    EXPECT_EQ("[0.125, 0.5, 0.875]", service.Request("GetTuningLimits", "[2]"));
    EXPECT_EQ("[3.5]", service.Request("GetVelocitySetPoint", "[]"));
    EXPECT_EQ("7", service.Request("GetCurveFilterSize", "[1]"));
}

TEST(TuningOperations, ClampAValueToItsLimits)
{
    for (int parameter = 0; parameter < 4; ++parameter) {
        Service service;
        const std::string number = std::to_string(parameter);
        service.Notify("SetTuningLimits", "[" + number + ", 0.25, 0.5, 0.75]");

        service.Notify("set_tuning_parameter", "[" + number + ", 0.9, 0]");
        EXPECT_EQ("0.75", service.Request("get_tuning_parameter", "[" + number + "]"));

        service.Notify("set_tuning_parameter", "[" + number + ", -0.9, 0]");
        EXPECT_EQ("0.25", service.Request("get_tuning_parameter", "[" + number + "]"));
    }
}

TEST(TuningOperations, StartInTheMiddleOfTheLimits)
{
    for (const char* parameter : {"[0]", "[1]", "[2]", "[3]"}) {
        Service service;
        const auto limits = ListFrom(service.Request("GetTuningLimits", parameter));

        EXPECT_LT(limits->GetDouble(0), limits->GetDouble(1)) << parameter;
        EXPECT_LT(limits->GetDouble(1), limits->GetDouble(2)) << parameter;
        BAtomC start(limits->GetDouble(1));
        EXPECT_EQ(TextOf(&start), service.Request("get_tuning_parameter", parameter));
    }
}

/// A call that cannot be carried out, and a getter that shows that it was not.
struct Impossible
{
    const char* setter;
    const char* arguments;
    const char* getter;
    const char* getterArguments;
    const char* logged;
};

TEST(TuningOperations, LeaveThePresentValueForAnImpossibleOne)
{
    for (const Impossible& row : std::vector<Impossible>{
             {"set_tuning_parameter", "[0, nan, 1]", "get_tuning_parameter", "[0]", "nan"},
             {"set_tuning_parameter", "[4, 1.0, 0]", "get_tuning_parameter", "[0]", "4 is no"},
             {"set_tuning_parameter", "[-1, 1.0, 0]", "get_tuning_parameter", "[0]", "-1 is no"},
             {"SetTuningLimits", "[0, 3.0, 2.0, 1.0]", "GetTuningLimits", "[0]", "3"},
             {"SetTuningLimits", "[0, 0.0, nan, 1.0]", "GetTuningLimits", "[0]", "nan"},
             {"SetTuningLimits", "[9, 0.0, 0.5, 1.0]", "GetTuningLimits", "[0]", "9 is no"},
             {"SetVelocitySetPoint", "[nan]", "GetVelocitySetPoint", "[]", "nan"},
             {"SetVelocitySetPoint", "[1000.0]", "GetVelocitySetPoint", "[]", "1000"},
             {"SetCurveFilterSize", "[1, 0]", "GetCurveFilterSize", "[1]", "0"},
             {"SetCurveFilterSize", "[1, -5]", "GetCurveFilterSize", "[1]", "-5"},
             {"set_lookahead_time", "[0.0, 1]", "get_lookahead_time", "[1]", "0"},
             {"set_lookahead_time", "[nan, 1]", "get_lookahead_time", "[1]", "nan"},
             {"set_low_speed_engage_timeout", "[-2.5, 1]", "get_low_speed_engage_timeout", "[1]",
              "-2.5"}}) {
        Service service;
        const std::string before = service.Request(row.getter, row.getterArguments);

        service.Notify(row.setter, row.arguments);

        EXPECT_EQ(before, service.Request(row.getter, row.getterArguments))
            << row.setter << row.arguments;
        EXPECT_NE(std::string::npos, service.Log().find(row.setter)) << service.Log();
        EXPECT_NE(std::string::npos, service.Log().find(row.logged)) << service.Log();
        EXPECT_TRUE(service.Kept().empty()) << row.setter << row.arguments;
    }
}

TEST(TuningOperations, AnswerNothingForAParameterThatThereIsNot)
{
    for (const char* getter : {"get_tuning_parameter", "GetTuningLimits"}) {
        for (const char* number : {"4", "-1", "2147483647"}) {
            Service service;

            EXPECT_EQ("nil", service.Request(getter, "[" + std::string(number) + "]")) << getter;

            EXPECT_EQ(std::string(getter) + " refused: " + number +
                          " is no tuning parameter, allowed is 0 to 3\n",
                      service.Log());
        }
    }
}

TEST(TuningOperations, SmoothASetCurveAnew)
{
    Service service;
    std::string form = "[4, 40";
    for (int i = 0; i < 40; ++i) {
        form += (i % 2 == 0 ? ", 0.1, " : ", -0.1, ") + std::to_string(i) + ".0, 0.0";
    }
    service.Notify("SetCurveFilterSize", "[1, 1]");
    ASSERT_EQ("1", service.Request("set_wayline", form + "]"));
    const double length = service.World().LineLength();

    service.Notify("SetCurveFilterSize", "[1, 21]");

    EXPECT_LT(service.World().LineLength(), length - 0.3);
    EXPECT_EQ("", service.Log());
}

TEST(TuningOperations, TheVelocitySetPointIsTheSpeedThatTheMachineTakesUp)
{
    Service service(0.0);

    service.Notify("SetVelocitySetPoint", "[2.0]");
    service.Advance(20.0);

    EXPECT_NEAR(2.0, service.World().Speed(), 0.05);
}

} // namespace
