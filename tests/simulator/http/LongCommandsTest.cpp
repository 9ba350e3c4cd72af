// Commands of the live page that take long, and what overtakes them.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/http/HttpServer.h"
#include "simulator/http/PageCommands.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

using nlohmann::json;

namespace {

const char* const kDisengage = R"({"operation":"DisengageSteering","arguments":[1]})";

/// The command to make a spline in bends the service's.
std::string LongSpline(int points)
{
    json arguments{3, points};
    for (int index = 0; index < points; ++index) {
        const double y = 0.5 * index;
        arguments.push_back(20.0 * std::sin(y / 60.0));
        arguments.push_back(y);
        arguments.push_back(0.0);
    }
    return json{{"operation", "set_wayline"}, {"arguments", arguments}}.dump();
}

TEST(LongCommands, AreAnsweredWithAllThatTheServiceReplies)
{
    const RunningPage page;
    ASSERT_EQ(R"({"reasons":[],"result":1})", Command(page.Port(), LongSpline(3000)));

    const json answer = json::parse(Command(page.Port(), R"({"operation":"get_wayline"})"));

    ASSERT_EQ(3u * 3000 + 2, answer["result"].size());
    EXPECT_EQ(3000, answer["result"][1]);
    EXPECT_EQ(1499.5, answer["result"][3u * 3000]);
}

TEST(LongCommands, AreOvertakenByTheEndOfSteering)
{
    const RunningPage page;
    const std::string spline = LongSpline(60000);
    auto answer = std::async(std::launch::async, [&] { return Command(page.Port(), spline); });

    while (answer.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        EXPECT_EQ(R"({"reasons":[],"result":1})", Command(page.Port(), kDisengage));
    }

    const std::string text = answer.get();
    EXPECT_NE(std::string::npos, text.find("steering was ended by hand meanwhile")) << text;
    EXPECT_EQ(R"({"text":""})", Ask(page.Port(), {"GET", "/wayline", "", {}, ""}).body);
}

/// Carries a command out as the one that came at a place among the others.
std::string Carried(CPageCommands& commands, const std::string& body, std::uint64_t arrival)
{
    PageCommand command = commands.ReadCommand(body);
    command.arrival = arrival;
    const auto outcome = std::make_shared<PageOutcome>();
    bool isDone = false;
    commands.CarryOut(
        command, outcome, [] { return true; }, [&] { isDone = true; });
    EXPECT_TRUE(isDone);
    return CPageCommands::Write(command, *outcome).json;
}

/// A service whose long work is done when a test lets its loop run, and what the page asks of it.
class CAskedService
{
public:
    CAskedService()
    {
        ServiceCoreOptions options;
        options.log = m_log.Sink();
        options.simulation.speed = 2.0;
        options.work = &m_queue;
        m_core = std::make_unique<CServiceCore>(std::move(options));
        m_commands = std::make_unique<CPageCommands>(*m_core, m_log);
    }

    /// Has a command carried out.
    ///
    /// @return receives its answer, when there is one.
    std::shared_ptr<PageAnswer> Ask(const std::string& body)
    {
        const auto command = std::make_shared<PageCommand>(m_commands->ReadCommand(body));
        const auto outcome = std::make_shared<PageOutcome>();
        auto answer = std::make_shared<PageAnswer>(PageAnswer{0, ""});
        m_commands->CarryOut(
            *command, outcome, [] { return true; },
            [=] { *answer = CPageCommands::Write(*command, *outcome); });
        return answer;
    }
    void Finish()
    {
        while (m_queue.Waiting() != 0) {
            m_loop.run_one();
        }
    }
    CServiceCore& Core() { return *m_core; }

private:
    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_stays =
        asio::make_work_guard(m_loop);
    CLogTap m_log{{}};
    CWorkQueue m_queue{m_loop};
    std::unique_ptr<CServiceCore> m_core;
    std::unique_ptr<CPageCommands> m_commands;
};

TEST(LongCommands, AreRefusedWhileTooManyWait)
{
    const std::string take = R"({"operation":"get_wayline"})";
    CAskedService service;
    const auto set = service.Ask(LongSpline(3000));
    service.Finish();
    ASSERT_EQ(200, set->status) << set->json;
    for (int round = 0; round < 2; ++round) {
        std::vector<std::shared_ptr<PageAnswer>> answers;
        for (int count = 0; count < CPageCommands::kMostQueued; ++count) {
            answers.push_back(service.Ask(take));
        }
        const auto more = service.Ask(take);
        const auto quick = service.Ask(kDisengage);

        EXPECT_EQ(503, more->status);
        EXPECT_EQ(R"({"error":"too much is asked at once"})", more->json);
        EXPECT_EQ(R"({"reasons":[],"result":1})", quick->json);
        EXPECT_EQ(0, answers.front()->status);
        service.Finish();
        for (const auto& answer : answers) {
            EXPECT_EQ(200, answer->status) << answer->json.substr(0, 100);
        }
    }
}

TEST(LongCommands, LetTheServicesClientsHaveTheirTurnsBetweenThem)
{
    CAskedService service;
    service.Ask(LongSpline(3000));
    service.Finish();
    std::vector<std::shared_ptr<PageAnswer>> answers;
    for (int count = 0; count < 4; ++count) {
        answers.push_back(service.Ask(R"({"operation":"get_wayline"})"));
    }
    std::vector<int> before;
    for (int client = 0; client < 2; ++client) {
        service.Core().Queue(
            ECall::Request, "get_wayline", std::make_unique<BListC>(nullptr), [&](const Answer&) {
                before.push_back(static_cast<int>(
                    std::count_if(answers.begin(), answers.end(),
                                  [](const auto& answer) { return answer->status != 0; })));
            });
    }
    service.Finish();
    EXPECT_EQ((std::vector<int>{1, 1}), before);
}

TEST(Engaging, IsNotCarriedOutAfterTheDisengagingThatCameBehindIt)
{
    CLogTap log({});
    ServiceCoreOptions options;
    options.log = log.Sink();
    options.simulation.speed = 2.0;
    CServiceCore core(std::move(options));
    core.Advance(0.5);
    CPageCommands commands(core, log);
    const std::string engage = R"({"operation":"EngageSteering","arguments":[1]})";
    Carried(commands, R"({"operation":"set_wayline","arguments":[0,0.5,0,0,0.5,100,0]})", 1);
    Carried(commands, R"({"operation":"StartNavigation","arguments":[1,0]})", 2);

    Carried(commands, kDisengage, 4);
    const std::string overtaken = Carried(commands, engage, 3);

    EXPECT_NE(std::string::npos, overtaken.find(R"("result":0)")) << overtaken;
    EXPECT_NE(std::string::npos, overtaken.find("steering was ended by hand after it"));
    EXPECT_FALSE(core.World().Engaged());
    EXPECT_EQ(R"({"reasons":[],"result":1})", Carried(commands, engage, 5));
    EXPECT_TRUE(core.World().Engaged());
}

TEST(Disengaging, IsNotCutOffByThoseWhoComeAfterIt)
{
    const std::string type = "Content-Type: application/json";
    RunningPage page;
    HttpPeer disengaging(page.Port());
    std::vector<std::unique_ptr<HttpPeer>> others;

    page.OnLoop([&](CServiceCore&) {
        disengaging.Send(BytesOf({"POST",
                                  "/command",
                                  "",
                                  {type},
                                  R"({"operation":"DisengageSteering","arguments":[1]})"},
                                 page.Port()));
        for (std::size_t count = 0; count < HttpLimits().connections + 50; ++count) {
            others.push_back(std::make_unique<HttpPeer>(page.Port()));
            others.back()->Send(
                BytesOf({"POST", "/command", "", {type}, R"({"operation":"IsSteeringEngaged"})"},
                        page.Port()));
        }
    });

    EXPECT_TRUE(IsAnswered(disengaging, R"({"reasons":[],"result":1})"));
    for (const auto& other : others) {
        EXPECT_TRUE(IsAnswered(*other, R"({"reasons":[],"result":0})"));
    }
}

} // namespace
