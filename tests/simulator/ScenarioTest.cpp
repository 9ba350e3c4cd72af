#include "simulator/service/Scenario.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/settings/JsonLines.h"
#include "tests/simulator/Directory.h"
#include "tests/simulator/Service.h"

namespace {

std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What is said of a scenario; empty when nothing is wrong.
std::string ProblemOf(const std::string& text)
{
    Scenario scenario;
    return ReadScenario(text, Service().Core().OperationNames(), scenario);
}

std::string OneEvent(const std::string& event)
{
    return "{\n \"scenario\": 1,\n \"events\": [\n" + event + "\n ]\n}";
}

/// A service in which a scenario happens.
class PlannedDrive
{
public:
    explicit PlannedDrive(const std::string& text, const SimulationOptions& world = IdealWorld(0.0))
        : m_service(world)
    {
        Scenario scenario;
        EXPECT_EQ("", ReadScenario(text, m_service.Core().OperationNames(), scenario));
        m_service.Core().StartScenario(scenario);
    }
    Service& operator*() { return m_service; }
    Service* operator->() { return &m_service; }

private:
    Service m_service;
};

TEST(Scenario, HappensAtItsTimes)
{
    PlannedDrive run(R"({"scenario": 1, "events": [
        {"at": 2, "fault": "gnss-outage", "for": 1.5},
        {"at": 1.0, "call": "SetVelocitySetPoint", "arguments": [2.5]},
        {"at": 0, "line": [0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]}]})");
    run->Advance(0.02);
    EXPECT_TRUE(run->World().HasLine());
    run->Advance(0.98);
    EXPECT_EQ(0.0, run->World().SpeedSetPoint());
    run->Advance(0.02);
    EXPECT_EQ(2.5, run->World().SpeedSetPoint());
    EXPECT_FALSE(run->World().Conditions().reception.isCovered);
    run->Advance(1.0);
    EXPECT_TRUE(run->World().Conditions().reception.isCovered);
    run->Advance(1.5);
    EXPECT_FALSE(run->World().Conditions().reception.isCovered);
}

TEST(Scenario, LogsWhatIsRefusedWithItsLineAndGoesOn)
{
    PlannedDrive run(OneEvent(R"({"at": 0, "call": "SetVelocitySetPoint", "arguments": ["fast"]},
{"at": 0, "call": "SetVelocitySetPoint", "arguments": [1.5]})"));
    run->Advance(0.1);
    EXPECT_NE(std::string::npos,
              run->Log().find("scenario, line 4: SetVelocitySetPoint wants [double], not [text]"))
        << run->Log();
    EXPECT_EQ(1.5, run->World().SpeedSetPoint());
}

TEST(Scenario, IsRefusedWithLineAndName)
{
    const struct
    {
        const char* event;
        const char* said;
    } rows[] = {
        {R"({"fault": "gnss-outage"})", "line 4: \"at\" is missing"},
        {R"({"at": -1, "fault": "gnss-outage"})", "line 4: \"at\" is -1, allowed is 0 to 1"},
        {"{\"at\": 1,\n \"fault\": \"gnss-outage\",\n \"for\": \"long\"}",
         "line 6: \"for\" is \"long\", allowed is 0 to 86400"},
        {"{\"at\": 1,\n\n \"fault\": \"flood\"}",
         "line 6: there is no fault \"flood\", allowed is"},
        {"{\"at\": 1, \"fault\": \"slope\",\n \"value\": 31}",
         "line 5: 31 is not allowed for slope, allowed is -30 to 30 degrees, off"},
        {R"({"at": 1, "fault": "slope"})", "line 4: \"on\" is not allowed for slope"},
        {R"({"at": 1, "fault": "slope", "value": [1]})",
         "line 4: \"value\" is [1], which is not a"},
        {R"({"at": 1, "call": "Fly"})", "line 4: there is no operation \"Fly\""},
        {R"({"at": 1, "call": "simulator_advance", "arguments": [1.0]})",
         "line 4: simulator_advance cannot be called by a scenario"},
        {R"({"at": 1, "call": "StopNavigation", "arguments": 1})",
         "line 4: \"arguments\" is 1, which is not a list"},
        {R"({"at": 1, "call": "StopNavigation", "arguments": [{}]})",
         "line 4: {} is neither a number nor a text nor a list of them"},
        {R"({"at": 1, "call": "StopNavigation", "for": 1})",
         "line 4: there is no name \"for\" here, allowed is at, call, arguments"},
        {R"({"at": 1, "fault": "gnss-outage", "line": []})",
         "line 4: an event has one of fault, call and line"},
        {R"({"at": 1})", "line 4: an event has one of fault, call and line"},
        {R"({"at": 1, "colour": 1})", "line 4: there is no name \"colour\" here, allowed is at, f"},
        {R"(7)", "line 3: 7 is not an object"},
        {R"({"at": 1,)", "line 5: this is not JSON"},
        {"{\"at\": 1,\n\"at\": 2, \"fault\": \"gnss-outage\"}",
         "line 5: the name \"at\" stands there twice"},
    };
    for (const auto& row : rows) {
        const std::string problem = ProblemOf(OneEvent(row.event));
        EXPECT_EQ(0u, problem.find(row.said)) << problem << "\nfor " << row.event;
    }
}

TEST(Scenario, IsRefusedWhereItIsNoScenarioAtAll)
{
    EXPECT_EQ("line 1: this is not JSON", ProblemOf(""));
    EXPECT_EQ("line 1: [] is not an object", ProblemOf("[]"));
    EXPECT_EQ("line 1: \"scenario\" is missing", ProblemOf("{\"events\": []}"));
    EXPECT_EQ("line 2: \"scenario\" is 2, allowed is 1, the version of the form",
              ProblemOf("{\n\"scenario\": 2, \"events\": []}"));
    EXPECT_EQ("line 1: \"events\" is missing", ProblemOf("{\"scenario\": 1}"));
    EXPECT_EQ("", ProblemOf("{\"scenario\": 1, \"events\": []}"));
}

TEST(Scenario, IsBounded)
{
    EXPECT_EQ("it is longer than 1 MiB", ProblemOf(std::string(1024 * 1024 + 1, ' ')));
    EXPECT_EQ("it has too many values, or they are nested too deeply",
              ProblemOf(std::string(100'000, '[')));
    std::string numbers = "0";
    for (int i = 0; i < 3000; ++i) {
        numbers += ",0";
    }
    EXPECT_EQ("line 4: there are more than 3000 values for one call",
              ProblemOf(OneEvent("{\"at\": 0, \"line\": [" + numbers + "]}")));
    std::string events = R"({"at": 0, "fault": "gnss-outage"})";
    std::string many = events;
    for (int i = 0; i < 10'000; ++i) {
        many += "," + events;
    }
    EXPECT_EQ("line 3: there are more than 10000 events", ProblemOf(OneEvent(many)));
}

TEST(Scenario, FileIsNamedWhereItCannotBeRead)
{
    const Directory directory;
    Scenario scenario;
    EXPECT_EQ("scenario " + directory.File("none.json") + ": No such file or directory",
              ReadScenarioFile(directory.File("none.json"), {}, scenario));
    std::ofstream(directory.File("bad.json")) << "{\n\n]";
    EXPECT_EQ("scenario " + directory.File("bad.json") + ": line 3: this is not JSON",
              ReadScenarioFile(directory.File("bad.json"), {}, scenario));
}

TEST(ScenarioSchema, HasTheFormAndTheFaultsThatAreTaken)
{
    const auto schema = nlohmann::json::parse(ReadText("docs/scenario.schema.json"));
    const auto& forms = schema["$defs"]["fault"]["oneOf"];
    ASSERT_EQ(FaultKinds().size(), forms.size());
    for (std::size_t i = 0; i < forms.size(); ++i) {
        const FaultKind& kind = FaultKinds()[i];
        const auto& properties = forms[i]["properties"];
        EXPECT_EQ(kind.name, properties["fault"]["const"]);
        std::set<std::string> words(kind.words.begin(), kind.words.end());
        words.insert(CFaults::kOff);
        if (kind.words.empty()) {
            const auto& number = properties["value"]["anyOf"][0];
            EXPECT_EQ(kind.lowest, number["minimum"]) << kind.name;
            EXPECT_EQ(kind.highest, number["maximum"]) << kind.name;
        } else {
            EXPECT_EQ(words, properties["value"]["enum"].get<std::set<std::string>>()) << kind.name;
        }
    }
}

/// How far the machine is from the middle of a swath.
double Beside(const CSimulation& world, double east)
{
    return std::abs(world.TruePose().position.x - east);
}

TEST(ScenarioExample, DrivesThreeSwathsWithTurnsAndAnOutage)
{
    SimulationOptions world;
    PlannedDrive run(ReadText("examples/scenarios/three-swaths.json"), world);
    const struct
    {
        double until;
        int pass;
        double east;
    } swaths[] = {{41.0, 0, 0.0}, {91.0, 1, 10.0}, {139.0, 2, 20.0}};
    for (const auto& swath : swaths) {
        run->Advance(swath.until - run->World().Time());
        EXPECT_TRUE(run->World().Engaged()) << run->Log();
        EXPECT_EQ(swath.pass, run->World().Status().pass);
        EXPECT_LT(Beside(run->World(), swath.east), 0.05) << swath.pass;
    }
    EXPECT_EQ("", run->Log());
}

TEST(ScenarioExample, RepeatsToTheLastBit)
{
    const std::string text = ReadText("examples/scenarios/three-swaths.json");
    SimulationOptions world;
    world.ground = EGround::Field;
    PlannedDrive one(text, world);
    PlannedDrive other(text, world);
    for (int second = 0; second < 120; ++second) {
        one->Advance(1.0);
        for (int step = 0; step < 50; ++step) {
            other->Advance(0.02);
        }
        ASSERT_EQ(one->World().TruePose().position.x, other->World().TruePose().position.x);
        ASSERT_EQ(one->World().MeasuredPose().heading, other->World().MeasuredPose().heading);
    }
}

} // namespace
