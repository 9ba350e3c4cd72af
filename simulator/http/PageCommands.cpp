#include "simulator/http/PageCommands.h"

#include <exception>
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

using nlohmann::json;

namespace {

PageAnswer Refused(int status, const std::string& reason)
{
    return {status, ErrorJson(reason)};
}

/// Reads a text of JSON, of which nothing that is nested deeper than a command may be is kept: such
/// a value could not even be copied, since that takes stack for each level.
///
/// @return what is discarded, when the text is no JSON or nested too deeply.
json JsonFrom(const std::string& body, bool& tooDeep)
{
    tooDeep = false;
    const auto keeps = [&tooDeep](int depth, json::parse_event_t, json&) {
        tooDeep = tooDeep || depth > kDeepestNesting;
        return !tooDeep;
    };
    json command = json::parse(body, keeps, false);
    return tooDeep ? json(json::value_t::discarded) : command;
}

/// What is wrong with a command; empty when nothing is.
std::string FormProblem(const json& command)
{
    if (command.is_discarded())
        return "the body is no JSON";
    if (!command.is_object() || !command.contains("operation") || !command["operation"].is_string())
        return "the body is no object with the name of an operation";
    if (command.contains("arguments") && !command["arguments"].is_array())
        return "the arguments are no list";
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

PageCommandsC::PageCommandsC(ServiceCoreC& core, LogTapC& log, LoopGateC& gate)
    : m_core(core), m_log(log), m_gate(gate)
{
    for (std::string& name : core.OperationNames())
        m_operations.insert(std::move(name));
}

PageAnswer PageCommandsC::Command(const std::string& body, const PeerHasGone& peerHasGone)
{
    bool tooDeep = false;
    const json command = JsonFrom(body, tooDeep);
    std::string problem = tooDeep ? NestingProblem() : FormProblem(command);
    if (!problem.empty())
        return Refused(400, problem);
    const std::string operation = command["operation"].get<std::string>();
    if (m_operations.count(operation) == 0)
        return Refused(404, "there is no operation \"" + Printable(operation) + "\"");
    const std::unique_ptr<BListC> arguments =
        ArgumentsFrom(command.value("arguments", json::array()), problem);
    return arguments ? Request(operation, *arguments, peerHasGone) : Refused(400, problem);
}

PageAnswer PageCommandsC::SetWayline(const std::string& body, const PeerHasGone& peerHasGone)
{
    bool tooDeep = false;
    const json form = JsonFrom(body, tooDeep);
    if (!form.is_object() || !form.contains("text") || !form["text"].is_string())
        return Refused(400, "the body is no object with the text of a wayline");
    const Kestrove::WaylinePtr wayline =
        WaylineFrom(WithoutLineEnd(form["text"].get<std::string>()));
    if (!wayline)
        return Refused(400, "the text is no wayline");
    const std::unique_ptr<BListC> listForm(wayline->ToBList());
    PageAnswer answer = Request("set_wayline", *listForm, peerHasGone);
    const json told = json::parse(answer.json);
    if (answer.status != 200 || told["result"] == 1)
        return answer;
    return Refused(400, told["reasons"].empty() ? "the service refuses the wayline"
                                                : told["reasons"][0].get<std::string>());
}

PageAnswer PageCommandsC::Request(const std::string& operation, const BListC& arguments,
                                  const PeerHasGone& peerHasGone)
{
    Answer answer;
    std::vector<std::string> reasons;
    bool isWanted = true;
    const bool done = m_gate.Run([&] {
        isWanted = !peerHasGone();
        if (isWanted)
            reasons = m_log.LinesOf([&] { answer = m_core.Request(operation, arguments); });
    });
    if (!done || !isWanted)
        return Refused(503, "the service does not answer");
    if (!answer.error.empty())
        return Refused(409, answer.error);
    return {200, JsonText({{"result", ReplyJson(answer.value.get())}, {"reasons", reasons}})};
}
