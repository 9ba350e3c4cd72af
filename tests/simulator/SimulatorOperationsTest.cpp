#include "simulator/operations/SimulatorOperations.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

std::string Advanced(Service& service, double seconds)
{
    BListC arguments(nullptr);
    arguments.AddDouble(seconds);
    const Answer answer = service.Core().Request(CSimulatorOperations::kAdvance, arguments);
    return answer.error.empty() ? TextOf(answer.value.get()) : answer.error;
}

TEST(SimulatorAdvance, AnswersWithTheTimeWhenTheStepsAreDone)
{
    Service service;

    EXPECT_EQ("0.0", service.Request("simulator_time", "[]"));
    EXPECT_EQ("0.02", Advanced(service, 0.02));
    EXPECT_EQ("60.02", Advanced(service, 60.0));
    EXPECT_EQ("60.02", service.Request("simulator_time", "[]"));
}

TEST(SimulatorAdvance, TakesEveryWholeNumberOfStepsForOne)
{
    Service service;
    double expected = 0.0;

    for (int steps = 0; steps <= 3000; steps += 97) {
        Advanced(service, steps * 0.02);
        expected += steps;
        EXPECT_DOUBLE_EQ(expected * CSimulation::kStepSeconds, service.World().Time()) << steps;
    }
}

TEST(SimulatorAdvance, RefusesWhatIsNotAWholeNumberOfSteps)
{
    const double infinity = std::numeric_limits<double>::infinity();
    Service service;

    for (const double seconds : {0.01, 0.03, 1.001, 59.99, 0.0201, 1e-5}) {
        EXPECT_NE(std::string::npos,
                  Advanced(service, seconds).find("not a whole number of steps of 0.02 s"))
            << seconds;
    }
    for (const double seconds : {-0.02, -1e-9, -infinity, infinity, std::nan("")}) {
        EXPECT_NE(std::string::npos, Advanced(service, seconds).find("not a time")) << seconds;
    }
    EXPECT_EQ(0.0, service.World().Time());
}

TEST(SimulatorAdvance, RefusesMoreThanAMinute)
{
    Service service;

    EXPECT_EQ("simulator_advance: 60.02 s is too long, at most 60 s at once",
              Advanced(service, 60.02));
    EXPECT_EQ("simulator_advance: 1e+300 s is too long, at most 60 s at once",
              Advanced(service, 1e300));
    EXPECT_EQ(0.0, service.World().Time());
}

TEST(SimulatorAdvance, IsRefusedWhereTimePassesByItself)
{
    CServiceCore core({SimulationOptions(), {}, {}, {}, {}});
    BListC arguments(nullptr);
    arguments.AddDouble(1.0);

    const Answer answer = core.Request(CSimulatorOperations::kAdvance, arguments);

    EXPECT_NE(std::string::npos, answer.error.find("--clock stepped")) << answer.error;
    EXPECT_EQ(0.0, core.World().Time());
}

} // namespace
