// What the live page answers, and what it refuses.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/NavigationAPI.h"
#include "simulator/http/EmbeddedFiles.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"
#include "tests/support/NetworkNamespace.h"

using nlohmann::json;

namespace {

const char* const kJson = "application/json";
constexpr std::size_t kMostBytes = 4 * 1024 * 1024;

TEST(Page, IsServedWithWhatKeepsItToItself)
{
    const RunningPage page;

    const HttpAnswer answer = Ask(page.Port(), {});

    EXPECT_EQ(200, answer.status);
    EXPECT_NE(std::string::npos, answer.body.find("<!DOCTYPE html>"));
    for (const char* header :
         {"Content-Type: text/html; charset=utf-8\r\n", "Cache-Control: no-store\r\n",
          "Content-Security-Policy: default-src 'self'; base-uri 'none'; form-action 'none'; "
          "frame-ancestors 'none'\r\n",
          "X-Content-Type-Options: nosniff\r\n", "Cross-Origin-Resource-Policy: same-origin\r\n",
          "Connection: close\r\n"})
        EXPECT_NE(std::string::npos, answer.head.find(header)) << header;
    EXPECT_EQ(std::string::npos, answer.head.find("Access-Control"));
}

TEST(Page, IsServedWithAllItsFilesByteForByte)
{
    const RunningPage page;
    ASSERT_FALSE(EmbeddedFiles().empty());

    for (const EmbeddedFile& file : EmbeddedFiles()) {
        const HttpAnswer answer = Ask(page.Port(), {"GET", "/" + file.name, "", {}, ""});

        EXPECT_EQ(200, answer.status) << file.name;
        EXPECT_EQ(file.content, answer.body) << file.name;
        EXPECT_NE(std::string::npos,
                  answer.head.find("Content-Type: " + ContentTypeOf(file.name) + "\r\n"))
            << file.name << answer.head;
    }
}

TEST(Page, IsServedOnBothLoopbackAddresses)
{
    const RunningPage page;
    HttpPeer peer(page.Port(), 0, true);

    peer.Send(BytesOf({"GET", "/", "[::1]:" + std::to_string(page.Port()), {}, ""}, page.Port()));

    EXPECT_TRUE(peer.ReadUntil("HTTP/1.1 200 OK"));
}

/// A request, and the status that it is answered with.
struct Row
{
    const char* name;
    HttpRequest request;
    int status;
};

std::vector<Row> RowsOf(std::uint16_t port)
{
    const std::string number = std::to_string(port);
    const std::string type = std::string("Content-Type: ") + kJson;
    const std::string own = "http://localhost:" + number;
    const std::string body = R"({"operation":"IsSteeringEngaged"})";
    return {
        {"other host", {"GET", "/", "kestrove.example:" + number, {}, ""}, 403},
        {"other port", {"GET", "/", "localhost:1", {}, ""}, 403},
        {"no port", {"GET", "/", "localhost", {}, ""}, 403},
        {"two hosts", {"GET", "/", "", {"Host: localhost:" + number}, ""}, 403},
        {"host by number", {"GET", "/", "127.0.0.1:" + number, {}, ""}, 200},
        {"own origin", {"GET", "/trail", "", {"Origin: " + own}, ""}, 200},
        {"other origin", {"GET", "/trail", "", {"Origin: http://localhost:1"}, ""}, 403},
        {"no origin", {"GET", "/trail", "", {"Origin: null"}, ""}, 403},
        {"secure origin", {"GET", "/", "", {"Origin: https://localhost:" + number}, ""}, 403},
        {"other site", {"GET", "/events", "", {"Sec-Fetch-Site: cross-site"}, ""}, 403},
        {"same site, other port", {"GET", "/trail", "", {"Sec-Fetch-Site: same-site"}, ""}, 403},
        {"link from elsewhere",
         {"GET", "/", "", {"Sec-Fetch-Site: cross-site", "Sec-Fetch-Mode: navigate"}, ""},
         200},
        {"command of another origin",
         {"POST", "/command", "", {type, "Origin: http://kestrove.example"}, body},
         403},
        {"wayline of another origin",
         {"POST", "/wayline", "", {type, "Origin: http://kestrove.example"}, R"({"text":""})"},
         403},
        {"wayline of a form",
         {"POST", "/wayline", "", {"Content-Type: text/plain"}, R"({"text":""})"},
         415},
        {"wayline without a text", {"POST", "/wayline", "", {type}, R"({"text":7})"}, 400},
        {"command of the page", {"POST", "/command", "", {type, "Origin: " + own}, body}, 200},
        {"no such page", {"GET", "/../main.cpp", "", {}, ""}, 404},
        {"post to no operation", {"POST", "/trail", "", {type}, body}, 404},
        {"put", {"PUT", "/command", "", {type}, body}, 405},
        {"head", {"HEAD", "/events", "", {}, ""}, 405},
        {"options", {"OPTIONS", "/command", "", {"Origin: " + own}, ""}, 405},
        {"form", {"POST", "/command", "", {"Content-Type: text/plain"}, body}, 415},
        {"no type", {"POST", "/command", "", {}, body}, 415},
        {"no length", {"POST", "/command", "", {type}, ""}, 411},
        {"chunks", {"POST", "/command", "", {type, "Transfer-Encoding: chunked"}, ""}, 411},
        {"huge", {"POST", "/command", "", {type, "Content-Length: 99999999999"}, ""}, 413},
        {"ranges", {"GET", "/", "", {"Range: bytes=0-3"}, ""}, 200},
    };
}

TEST(Requests, AreRefusedUnlessTheyComeFromThePage)
{
    const RunningPage page;

    for (const Row& row : RowsOf(page.Port())) {
        const HttpAnswer answer = Ask(page.Port(), row.request);

        EXPECT_EQ(row.status, answer.status) << row.name;
        EXPECT_NE(std::string::npos, answer.head.find("nosniff")) << row.name;
        const bool hasReason = row.status != 200 && row.request.method != "HEAD";
        EXPECT_EQ(hasReason, answer.body.find("{\"error\":") == 0) << row.name << answer.body;
    }
}

TEST(Requests, MayHaveABodyUpToTheLimit)
{
    const RunningPage page;
    const std::string start = R"({"operation":"IsSteeringEngaged","arguments":[)";
    const std::string whole = start + std::string(kMostBytes - start.size() - 2, ' ') + "]}";

    EXPECT_EQ(200, Post(page.Port(), "/command", kJson, whole).status);
    EXPECT_EQ(413, Post(page.Port(), "/command", kJson, whole + " ").status);
}

TEST(Requests, ThatDoNotComeWholeInTimeAreGivenUp)
{
    LivePageTimes times;
    times.firstByte = times.request = std::chrono::milliseconds(200);
    const RunningPage page(times);
    for (const char* start :
         {"", "GET / HT", "POST /command HTTP/1.1\r\nContent-Length: 5\r\n\r\n"}) {
        HttpPeer peer(page.Port());
        peer.Send(start);

        EXPECT_TRUE(peer.ReadToEnd(std::chrono::seconds(5))) << start;
    }
}

TEST(Requests, AreServedWhileOthersSaySoMuchAsNothing)
{
    LivePageTimes times;
    times.firstByte = std::chrono::milliseconds(300);
    const RunningPage page(times);
    std::vector<std::unique_ptr<HttpPeer>> silent;
    for (int count = 0; count < 40; ++count)
        silent.push_back(std::make_unique<HttpPeer>(page.Port()));

    EXPECT_EQ(200, Ask(page.Port(), {"GET", "/trail", "", {}, ""}).status);
}

/// A body of a command, and what it is answered with.
struct CommandRow
{
    const char* body;
    int status;
    const char* answer;
};

TEST(Commands, AreCarriedOutAsOnTheServicesLink)
{
    const RunningPage page;
    for (const CommandRow& row : std::vector<CommandRow>{
             {R"({"operation":"IsSteeringEngaged"})", 200, R"({"reasons":[],"result":0})"},
             {R"({"operation":"SetImplementWidth","arguments":[1,4.5]})", 200, R"("result":1)"},
             {R"({"operation":"GetImplementWidth","arguments":[1]})", 200, R"("result":4.5)"},
             {R"({"operation":"get_wayline","arguments":[]})", 200, R"("result":null)"},
             {R"({"operation":"GetTuningLimits","arguments":[0]})", 200, "[0.2,1.0,3.0]"},
             {R"({"operation":"set_wayline","arguments":[0,0,0,0,0,9.5,0]})", 200, ":1"},
             {R"({"operation":"calculate_headings","arguments":[[0,0,0,0,0,9,0]]})", 200, "[0.0]"},
             {R"({"operation":"calculate_headings","arguments":[[9]]})", 200, "[null]"},
             {R"({"operation":"EngageSteering","arguments":[true]})", 200,
              R"({"reasons":["EngageSteering refused: navigation is not active"],"result":0})"},
             {R"({"operation":"Nudge","arguments":[1]})", 409,
              R"({"error":"Nudge wants [int, int, double], not [int]"})"},
             {R"({"operation":"fly","arguments":[]})", 404,
              R"({"error":"there is no operation \"fly\""})"},
             {R"({"operation":"Nudge","arguments":[1,0,)", 400, "no JSON"},
             {R"(["Nudge"])", 400, "name of an operation"},
             {R"({"operation":7})", 400, "name of an operation"},
             {R"({"operation":"Nudge","arguments":{}})", 400, "no list"},
             {R"({"operation":"Nudge","arguments":[null]})", 400, "an argument is null"},
             {R"({"operation":"Nudge","arguments":[18446744073709551615]})", 400, "number"},
             {R"({"operation":"Nudge","arguments":[[[[[[[[[]]]]]]]]]})", 400,
              "more than 8 deep"}}) {
        const HttpAnswer answer = Post(page.Port(), "/command", kJson, row.body);

        EXPECT_EQ(row.status, answer.status) << row.body << answer.body;
        EXPECT_NE(std::string::npos, answer.body.find(row.answer)) << row.body << answer.body;
    }
}

TEST(Commands, MayNestWithoutEndAndAreRefused)
{
    const RunningPage page;
    const std::string deep = R"({"operation":"Nudge","arguments":)" + std::string(1000000, '[') +
                             std::string(1000000, ']') + "}";

    EXPECT_EQ(400, Post(page.Port(), "/command", kJson, deep).status);
}

TEST(Waylines, AreTakenFromTheirTextForm)
{
    const RunningPage page;
    for (const CommandRow& row :
         std::vector<CommandRow>{{"1 5.0 5.0 0.0 1.5\n", 200, R"({"reasons":[],"result":1})"},
                                 {"no wayline", 400, "the text is no wayline"},
                                 {"\n", 400, "the text is no wayline"},
                                 {"9 1.0", 400, "the text is no wayline"},
                                 {"0 1.0 1.0 0.0 1.0 1.0 0.0", 400, "set_wayline refused"},
                                 {"5 ", 400, ""}}) {
        const HttpAnswer answer = PostWayline(page.Port(), row.body);

        EXPECT_EQ(row.status, answer.status) << row.body << answer.body;
        EXPECT_NE(std::string::npos, answer.body.find(row.answer)) << row.body << answer.body;
    }
    EXPECT_NE(std::string::npos,
              Command(page.Port(), R"({"operation":"get_wayline"})").find("[1,5.0,5.0,0.0,1.5]"));
}

TEST(Trail, TellsWhereTheMachineHasBeen)
{
    RunningPage page;
    page.Advance(1.05);

    const json trail = json::parse(Ask(page.Port(), {"GET", "/trail", "", {}, ""}).body);

    EXPECT_EQ(0.1, trail["interval"]);
    EXPECT_NEAR(1.0, trail["end"].get<double>(), 1e-9);
    ASSERT_EQ(10u, trail["points"].size());
    EXPECT_NEAR(2.0, trail["points"][9][1].get<double>(), 0.2);
}

TEST(LivePage, DoesNotShareItsPort)
{
    const RunningPage first;
    asio::io_context loop;
    LogTapC log({});
    TrailC trail;
    ServiceLinkC link(loop, {});
    LivePageC second(loop, link.Core(), trail, log);

    EXPECT_EQ("port " + std::to_string(first.Port()) + " is already in use",
              second.Listen(first.Port()));
}

TEST(LivePage, RefusesCommandsOfAServiceThatDoesNotAnswer)
{
    LivePageTimes times;
    times.command = std::chrono::milliseconds(100);
    RunningPage page(times);
    HttpAnswer answer;

    page.OnLoop([&](ServiceCoreC&) {
        answer = Post(page.Port(), "/command", kJson, R"({"operation":"IsSteeringEngaged"})");
    });

    EXPECT_EQ(503, answer.status);
    EXPECT_NE("", Command(page.Port(), R"({"operation":"IsSteeringEngaged"})"));
}

TEST(LivePage, DropsCommandsOfThoseWhoHaveGoneBeforeTheirTurn)
{
    RunningPage page;
    const int before = CountsOfThisProcess().descriptors;
    const std::string body = R"({"operation":"SetImplementWidth","arguments":[1,4.5]})";

    page.OnLoop([&](ServiceCoreC&) {
        HttpPeer peer(page.Port());
        peer.Send(BytesOf({"POST", "/command", "", {std::string("Content-Type: ") + kJson}, body},
                          page.Port()));
        EXPECT_TRUE(WaitUntil([&] { return CountsOfThisProcess().descriptors == before + 2; }));
    });

    EXPECT_TRUE(WaitUntil([&] { return CountsOfThisProcess().descriptors == before; }));
    EXPECT_EQ(R"({"reasons":[],"result":3.0})",
              Command(page.Port(), R"({"operation":"GetImplementWidth","arguments":[1]})"));
}

/// What a client of the library hears of a command that the page gives; a problem, or nothing.
std::string ClientHearsOfACommand()
{
    const RunningPage page({}, 5010);
    CNavigationAPI navigation;
    double shift = 0.0;
    navigation.SetOffsetCallback(
        Core::Functors::MakeFunctor([&shift](double told) { shift = told; }));
    if (navigation.GetImplementWidth() != 3.0)
        return "the client does not reach the service";
    const std::string answer =
        Command(page.Port(), R"({"operation":"Nudge","arguments":[1,0,0.25]})");
    const bool heard = WaitUntil([&] {
        navigation.CheckCallbacks();
        return shift == 0.25;
    });
    return heard ? "" : "nothing heard after " + answer;
}

TEST(LivePage, HasItsCommandsHeardByClientsOfTheLibrary)
{
    const CIsolatedOutcome outcome =
        InNetworkOfItsOwn(32768, 60999, [] { return ClientHearsOfACommand(); });
    if (!outcome.isAllowed)
        GTEST_SKIP() << "the system allows no network namespace";

    EXPECT_EQ("", outcome.problem);
}

} // namespace
