#include "simulator/http/PageCommands.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/aside/LongWork.h"
#include "simulator/http/PageValues.h"
#include "simulator/operations/Reply.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/settings/JsonReader.h"

using nlohmann::json;

namespace {

// Of a command: each takes many times the bytes that it has in the text.
constexpr std::size_t kMostValues = 1000000;
const char* const kEngage = "EngageSteering";

PageCommand Refused(int status, const std::string& reason)
{
    PageCommand command;
    command.refusal = {status, ErrorJson(reason)};
    return command;
}

/// Reads a text of JSON, of which nothing is kept that is nested deeper than a command may be, or
/// has more values: what is nested deeply could not even be copied, since that takes stack for each
/// level. Nor is anything kept of a text with an object that has a name twice, and so might mean
/// either value.
///
/// @param problem receives what there is too much of, if anything.
/// @return what is discarded, when the text is no JSON or there is too much of it.
json JsonFrom(const std::string& body, std::string& problem)
{
    using EExcess = JsonDocument::EExcess;
    JsonDocument read = ReadJson(body, {kMostValues, kDeepestNesting});
    if (read.twice) {
        problem = "\"" + Printable(*read.twice) + "\" is there twice";
    } else if (read.excess == EExcess::Nesting) {
        problem = NestingProblem();
    } else if (read.excess == EExcess::Values) {
        problem = "the body has more than " + std::to_string(kMostValues) + " values";
    }
    return problem.empty() ? std::move(read.value) : json(json::value_t::discarded);
}

/// What is wrong with a command; empty when nothing is.
std::string FormProblem(const json& command)
{
    if (command.is_discarded()) {
        return "the body is no JSON";
    }
    if (!command.is_object() || !command.contains("operation") ||
        !command["operation"].is_string()) {
        return "the body is no object with the name of an operation";
    }
    if (command.contains("arguments") && !command["arguments"].is_array()) {
        return "the arguments are no list";
    }
    return {};
}

/// Reads a text form, whatever it is.
Kestrove::WaylinePtr WaylineFrom(const std::string& text)
{
    try {
        return Kestrove::CWayline::FromString(text);
    } catch (const std::exception&) {
        return {};
    }
}

std::string WithoutLineEnd(std::string text)
{
    text.erase(text.find_last_not_of("\r\n") + 1);
    return text;
}

} // namespace

CPageCommands::CPageCommands(CServiceCore& core, CLogTap& log) : m_core(core), m_log(log)
{
    for (std::string& name : core.OperationNames()) {
        m_operations.insert(std::move(name));
    }
    // Everything waits for it, which is for the clients of the service to agree on.
    m_operations.erase(CSimulatorOperations::kAdvance);
}

PageCommand CPageCommands::ReadCommand(const std::string& body) const
{
    std::string problem;
    const json form = JsonFrom(body, problem);
    if (problem.empty()) {
        problem = FormProblem(form);
    }
    if (!problem.empty()) {
        return Refused(400, problem);
    }
    PageCommand command;
    command.operation = form["operation"].get<std::string>();
    if (m_operations.count(command.operation) == 0) {
        return Refused(404, "there is no operation \"" + Printable(command.operation) + "\"");
    }
    static const json none = json::array();
    const auto arguments = form.find("arguments");
    command.arguments = ArgumentsFrom(arguments != form.end() ? *arguments : none, problem);
    return command.arguments ? std::move(command) : Refused(400, problem);
}

PageCommand CPageCommands::ReadWayline(const std::string& body)
{
    std::string problem;
    const json form = JsonFrom(body, problem);
    if (!problem.empty()) {
        return Refused(400, problem);
    }
    if (!form.is_object() || !form.contains("text") || !form["text"].is_string()) {
        return Refused(400, "the body is no object with the text of a wayline");
    }
    const Kestrove::WaylinePtr wayline =
        WaylineFrom(WithoutLineEnd(form["text"].get<std::string>()));
    if (!wayline) {
        return Refused(400, "the text is no wayline");
    }
    PageCommand command;
    command.operation = "set_wayline";
    command.arguments.reset(wayline->ToBList());
    command.isWayline = true;
    return command;
}

bool CPageCommands::IsOvertaken(const PageCommand& command, PageOutcome& outcome)
{
    if (command.operation == kDisengage) {
        m_disengaged = std::max(m_disengaged, command.arrival);
    }
    if (command.operation != kEngage || command.arrival > m_disengaged) {
        return false;
    }
    outcome.answer.value = ToValue(false);
    outcome.reasons = {std::string(kEngage) + " overtaken: steering was ended by hand after it"};
    return true;
}

void CPageCommands::CarryOut(PageCommand& command, const std::shared_ptr<PageOutcome>& outcome,
                             std::function<bool()> isWanted, std::function<void()> done)
{
    if (IsOvertaken(command, *outcome)) {
        done();
        return;
    }
    bool isDone = false;
    outcome->reasons = m_log.LinesOf([&] {
        isDone = m_core.Try(ECall::Request, command.operation, *command.arguments, outcome->answer);
    });
    outcome->isTooMuch = !isDone && *m_queued == kMostQueued;
    if (isDone || outcome->isTooMuch) {
        done();
    } else {
        Queue(command, outcome, std::move(isWanted), std::move(done));
    }
}

void CPageCommands::Queue(PageCommand& command, const std::shared_ptr<PageOutcome>& outcome,
                          std::function<bool()> isWanted, std::function<void()> done)
{
    ++*m_queued;
    m_core.Queue(
        ECall::Request, command.operation, std::move(command.arguments),
        [outcome, queued = m_queued, done = std::move(done)](Answer answer) {
            --*queued;
            outcome->answer = std::move(answer);
            done();
        },
        [&log = m_log, outcome, isWanted = std::move(isWanted), hasBegun = false]() mutable {
            if (!hasBegun && !isWanted()) {
                throw CWorkEnded("nobody waits for it");
            }
            hasBegun = true;
            return log.TakeInto(outcome->reasons);
        },
        CWorkQueue::EAsker::Page);
}

PageAnswer CPageCommands::Write(const PageCommand& command, const PageOutcome& outcome)
{
    if (outcome.isTooMuch) {
        return {503, ErrorJson("too much is asked at once")};
    }
    const std::string& error = outcome.answer.error;
    if (!error.empty()) {
        return {409, ErrorJson(error)};
    }
    const std::shared_ptr<const std::string>& bytes = outcome.answer.bytes;
    const json result = bytes ? json::from_msgpack(*bytes) : ReplyJson(outcome.answer.value.get());
    if (command.isWayline && result != 1) {
        return {400, ErrorJson(outcome.reasons.empty() ? "the service refuses the wayline"
                                                       : outcome.reasons.front())};
    }
    return {200, JsonText({{"result", result}, {"reasons", outcome.reasons}})};
}
