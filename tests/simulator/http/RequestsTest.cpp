// What the live page answers, and what it refuses.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/NavigationAPI.h"
#include "simulator/http/EmbeddedFiles.h"
#include "simulator/http/HttpServer.h"
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
         {"Content-Type: text/html; charset=utf-8\r\n", "Cache-Control: no-cache\r\n",
          "Content-Security-Policy: default-src 'self'; base-uri 'none'; form-action 'none'; "
          "frame-ancestors 'none'\r\n",
          "X-Content-Type-Options: nosniff\r\n", "Cross-Origin-Resource-Policy: same-origin\r\n",
          "Connection: close\r\n"}) {
        EXPECT_NE(std::string::npos, answer.head.find(header)) << header;
    }
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

/// The value of a header; empty without it.
std::string HeaderOf(const HttpAnswer& answer, const std::string& name)
{
    const std::size_t begin = answer.head.find("\r\n" + name + ": ");
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t value = begin + name.size() + 4;
    return answer.head.substr(value, answer.head.find("\r\n", value) - value);
}

HttpAnswer AskForScript(const RunningPage& page, const std::vector<std::string>& headers)
{
    return Ask(page.Port(), {"GET", "/page.js", "", headers, ""});
}

TEST(Page, IsCompressedForWhoTakesThatAlone)
{
    const RunningPage page;
    const struct
    {
        const char* accepted;
        bool isCompressed;
    } rows[] = {{"gzip, deflate, br", true},
                {"br;q=1.0, GZip;q=0.8", true},
                {"*", true},
                {"gzip;q=0", false},
                {"gzip;q=0.000, *", false},
                {"identity", false},
                {"xgzip", false},
                {"*;q=0", false}};
    std::vector<EmbeddedFile> files = EmbeddedFiles();
    const auto script = std::find_if(files.begin(), files.end(), [](const EmbeddedFile& file) {
        return file.name == "page.js";
    });
    ASSERT_NE(files.end(), script);
    EXPECT_LT(script->compressed.size(), script->content.size() / 2);

    for (const auto& row : rows) {
        const HttpAnswer answer =
            AskForScript(page, {std::string("Accept-Encoding: ") + row.accepted});

        EXPECT_EQ(row.isCompressed ? "gzip" : "", HeaderOf(answer, "Content-Encoding"))
            << row.accepted;
        EXPECT_EQ(row.isCompressed ? script->compressed : script->content, answer.body)
            << row.accepted;
        EXPECT_EQ("Accept-Encoding", HeaderOf(answer, "Vary")) << row.accepted;
    }
}

TEST(Page, IsNotSentAgainToWhoHasIt)
{
    const RunningPage page;
    const std::string plain = HeaderOf(AskForScript(page, {}), "ETag");
    const std::string gzip = HeaderOf(AskForScript(page, {"Accept-Encoding: gzip"}), "ETag");
    ASSERT_NE(plain, gzip);
    ASSERT_EQ('"', plain.front());

    const struct
    {
        std::vector<std::string> headers;
        int status;
    } rows[] = {{{"If-None-Match: " + plain}, 304},
                {{"If-None-Match: \"other\", W/" + plain}, 304},
                {{"If-None-Match: *"}, 304},
                {{"If-None-Match: " + gzip}, 200},
                {{"If-None-Match: \"other\""}, 200},
                {{"If-None-Match: " + gzip, "Accept-Encoding: gzip"}, 304},
                {{"If-None-Match: " + plain, "Accept-Encoding: gzip"}, 200}};
    for (const auto& row : rows) {
        const HttpAnswer answer = AskForScript(page, row.headers);

        EXPECT_EQ(row.status, answer.status) << row.headers.front();
        EXPECT_EQ(row.status == 304, answer.body.empty()) << row.headers.front();
        EXPECT_EQ("no-cache", HeaderOf(answer, "Cache-Control")) << row.headers.front();
    }
}

TEST(Page, KeepsWhatIsOfNowOutOfEveryStore)
{
    const RunningPage page;
    for (const char* path : {"/trail", "/wayline", "/nothing"}) {
        EXPECT_EQ("no-store",
                  HeaderOf(Ask(page.Port(), {"GET", path, "", {}, ""}), "Cache-Control"))
            << path;
    }
}

TEST(Page, TrailNamesTheRunOfTheService)
{
    const auto runOf = [](const RunningPage& page) {
        return json::parse(Ask(page.Port(), {"GET", "/trail", "", {}, ""}).body)["run"]
            .get<std::string>();
    };
    const RunningPage page;
    const RunningPage other;

    EXPECT_EQ(runOf(page), runOf(page));
    EXPECT_NE(runOf(page), runOf(other));
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
        {"get of what takes commands", {"GET", "/command", "", {}, ""}, 405},
        {"put", {"PUT", "/command", "", {type}, body}, 405},
        {"head", {"HEAD", "/events", "", {}, ""}, 405},
        {"options", {"OPTIONS", "/command", "", {"Origin: " + own}, ""}, 405},
        {"form", {"POST", "/command", "", {"Content-Type: text/plain"}, body}, 415},
        {"no type", {"POST", "/command", "", {}, body}, 415},
        {"no length", {"POST", "/command", "", {type}, ""}, 411},
        {"chunks", {"POST", "/command", "", {type, "Transfer-Encoding: chunked"}, ""}, 411},
        {"huge", {"POST", "/command", "", {type, "Content-Length: 99999999999"}, ""}, 413},
        {"unknown method", {"FLY", "/", "", {}, ""}, 405},
        {"empty origin", {"GET", "/trail", "", {"Origin:"}, ""}, 403},
        {"two origins", {"GET", "/trail", "", {"Origin: " + own, "Origin: " + own}, ""}, 403},
        {"empty site", {"GET", "/trail", "", {"Sec-Fetch-Site:"}, ""}, 403},
        {"two sites",
         {"GET", "/trail", "", {"Sec-Fetch-Site: same-origin", "Sec-Fetch-Site: cross-site"}, ""},
         403},
        {"two modes",
         {"GET",
          "/",
          "",
          {"Sec-Fetch-Site: cross-site", "Sec-Fetch-Mode: navigate", "Sec-Fetch-Mode: cors"},
          ""},
         403},
        {"two types", {"POST", "/command", "", {type, "Content-Type: text/plain"}, body}, 400},
        {"two lengths", {"POST", "/command", "", {type, "Content-Length: 5"}, body}, 400},
        {"two equal lengths",
         {"POST", "/command", "", {type, "Content-Length: " + std::to_string(body.size())}, body},
         400},
        {"length and chunks",
         {"POST", "/command", "", {type, "Transfer-Encoding: chunked"}, body},
         400},
        {"other coding", {"POST", "/command", "", {type, "Transfer-Encoding: gzip"}, ""}, 411},
        {"negative length", {"POST", "/command", "", {type, "Content-Length: -1"}, ""}, 400},
        {"length of letters", {"POST", "/command", "", {type, "Content-Length: 0x5"}, ""}, 400},
        {"blank in a name", {"GET", "/", "", {"Origin : " + own}, ""}, 400},
        {"long head", {"GET", "/", "", {"X: " + std::string(70000, 'x')}, ""}, 431},
        {"query", {"GET", "/?reload", "", {}, ""}, 200},
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

TEST(Requests, OfAnUnknownMethodHearWhichThereAre)
{
    const RunningPage page;

    const HttpAnswer answer = Ask(page.Port(), {"FLY", "/", "", {}, ""});

    EXPECT_EQ(405, answer.status);
    EXPECT_NE(std::string::npos, answer.head.find("Allow: GET, POST\r\n"));
}

TEST(Requests, MayComeByteForByteAndHalfClosed)
{
    const RunningPage page;
    HttpPeer peer(page.Port());
    for (const char byte : BytesOf({"GET", "/page.js", "", {}, ""}, page.Port())) {
        peer.Send(std::string(1, byte));
    }
    peer.EndSending();

    EXPECT_TRUE(peer.ReadToEnd());
    EXPECT_EQ(0u, peer.Read().find("HTTP/1.1 200 OK"));
    EXPECT_NE(std::string::npos, peer.Read().find("--followed"));
}

TEST(Requests, AreOneAConnection)
{
    const RunningPage page;
    HttpPeer peer(page.Port());
    const std::string request = BytesOf({"GET", "/icon.svg", "", {}, ""}, page.Port());
    peer.Send(request + request + request);

    EXPECT_TRUE(peer.ReadToEnd());
    EXPECT_EQ(0u, peer.Read().find("HTTP/1.1 200 OK"));
    EXPECT_EQ(std::string::npos, peer.Read().find("HTTP/1.1", 1));
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
    for (int count = 0; count < 40; ++count) {
        silent.push_back(std::make_unique<HttpPeer>(page.Port()));
    }

    EXPECT_EQ(200, Ask(page.Port(), {"GET", "/trail", "", {}, ""}).status);
}

/// Connections that say something and then nothing more.
std::vector<std::unique_ptr<HttpPeer>> PeersThatSay(const std::string& text, std::size_t count,
                                                    std::uint16_t port)
{
    std::vector<std::unique_ptr<HttpPeer>> peers;
    for (std::size_t number = 0; number < count; ++number) {
        peers.push_back(std::make_unique<HttpPeer>(port));
        peers.back()->Send(text);
    }
    return peers;
}

TEST(Requests, AreServedWhenConnectionsHaveRunOut)
{
    const RunningPage page;
    const auto stuck =
        PeersThatSay("GET / HTTP/1.1\r\n", HttpLimits().connections + 50, page.Port());

    EXPECT_EQ(R"({"reasons":[],"result":1})",
              Command(page.Port(), R"({"operation":"DisengageSteering","arguments":[1]})"));
    EXPECT_TRUE(stuck.front()->ReadToEnd()) << "the oldest is still there";
    EXPECT_FALSE(stuck.back()->ReadToEnd(std::chrono::milliseconds(0)));
}

TEST(Requests, OfWhichMuchHasComeGiveWayToOthers)
{
    const RunningPage page;
    const std::string head =
        "POST /command HTTP/1.1\r\nHost: localhost:" + std::to_string(page.Port()) +
        "\r\nContent-Type: application/json\r\nContent-Length: 4194304\r\n\r\n";
    const auto greedy = PeersThatSay(head + std::string(4000000, ' '), 12, page.Port());

    EXPECT_TRUE(WaitUntil([&] {
        return std::any_of(greedy.begin(), greedy.end(), [](const auto& peer) {
            return peer->ReadToEnd(std::chrono::milliseconds(5));
        });
    }));
    EXPECT_EQ(R"({"reasons":[],"result":0})",
              Command(page.Port(), R"({"operation":"IsSteeringEngaged"})"));
}

TEST(Answers, ThatArePartlyTakenAreGivenUp)
{
    LivePageTimes times;
    times.answer = std::chrono::milliseconds(300);
    RunningPage page(times);
    page.OnLoop([](CServiceCore& core) {
        constexpr int kPoints = 50000;
        BListC line(nullptr);
        line.AddInt(Kestrove::EWaylineTypeABCurve);
        line.AddInt(kPoints);
        for (int number = 0; number < kPoints; ++number) {
            line.AddDouble(number);
            line.AddDouble(0.0);
            line.AddDouble(0.0);
        }
        EXPECT_EQ("", core.Request("set_wayline", line).error);
    });
    const int before = CountsOfThisProcess().descriptors;
    HttpPeer peer(page.Port(), 4096);
    peer.Send(BytesOf({"GET", "/wayline", "", {}, ""}, page.Port()));
    ASSERT_TRUE(peer.ReadUntil("200 OK"));

    EXPECT_TRUE(WaitUntil([&] { return CountsOfThisProcess().descriptors == before + 1; }));
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
             {R"({"operation":"Nudge","operation":"fly"})", 400, R"(\"operation\" is there twice)"},
             {R"({"arguments":[],"operation":"Nudge","arguments":[1,0,1.0]})", 400,
              "is there twice"},
             {R"({"operation":"Nudge","\u006fperation":"fly"})", 400, "is there twice"},
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

// It would take minutes if each object were looked at again for each that follows.
TEST(Commands, MayBeListsOfAsManyObjectsAsFitAndAreRefused)
{
    const RunningPage page;
    std::string body = R"({"operation":"Nudge","arguments":[{})";
    while (body.size() < (std::size_t{4} << 20U) - 5) {
        body += ",{}";
    }
    body += "]}";

    const HttpAnswer answer = Post(page.Port(), "/command", kJson, body);

    EXPECT_EQ(400, answer.status);
    EXPECT_NE(std::string::npos, answer.body.find("more than 1000000 values")) << answer.body;
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
    CLogTap log({});
    CTrail trail;
    CServiceLink link(loop, {});
    CLivePage second(loop, link.Core(), trail, log);

    EXPECT_EQ("port " + std::to_string(first.Port()) + " is already in use",
              second.Listen(first.Port()));
}

TEST(LivePage, RefusesCommandsOfAServiceThatDoesNotAnswer)
{
    LivePageTimes times;
    times.command = std::chrono::milliseconds(100);
    RunningPage page(times);
    HttpAnswer answer;

    page.OnLoop([&](CServiceCore&) {
        answer = Post(page.Port(), "/command", kJson, R"({"operation":"IsSteeringEngaged"})");
    });

    EXPECT_EQ(503, answer.status);
    EXPECT_EQ(R"({"reasons":[],"result":0})",
              Command(page.Port(), R"({"operation":"IsSteeringEngaged"})"));
}

TEST(LivePage, DropsCommandsOfThoseWhoHaveGoneBeforeTheirTurn)
{
    RunningPage page;
    const int before = CountsOfThisProcess().descriptors;
    const std::string body = R"({"operation":"SetImplementWidth","arguments":[1,4.5]})";

    page.OnLoop([&](CServiceCore&) {
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
    if (navigation.GetImplementWidth() != 3.0) {
        return "the client does not reach the service";
    }
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
    if (!outcome.isAllowed) {
        GTEST_SKIP() << "the system allows no network namespace";
    }

    EXPECT_EQ("", outcome.problem);
}

} // namespace
