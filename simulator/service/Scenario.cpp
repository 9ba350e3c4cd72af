#include "simulator/service/Scenario.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <utility>

#include "simulator/base/Descriptor.h"
#include "simulator/base/NumberText.h"
#include "simulator/operations/Argument.h"
#include "simulator/operations/SimulatorOperations.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/settings/JsonLines.h"
#include "simulator/settings/JsonReader.h"

using nlohmann::json;

namespace {

constexpr std::size_t kLongestText = 1024 * 1024;
constexpr JsonLimits kLimits{200'000, 8};
constexpr std::size_t kMostEvents = 10'000;
/// More would hold up the loop: a scenario's calls are made on the spot, so that it repeats.
constexpr std::size_t kMostValuesOfACall = 3000;
constexpr double kLatest = 1e6;
constexpr int kVersion = 1;

/// What is wrong with a scenario, and where.
class ScenarioProblem
{
public:
    ScenarioProblem(std::string place, std::string what)
        : m_place(std::move(place)), m_what(std::move(what))
    {
    }
    const std::string& Place() const { return m_place; }
    const std::string& What() const { return m_what; }

private:
    std::string m_place;
    std::string m_what;
};

std::string Quoted(const std::string& text)
{
    constexpr std::size_t longest = 60;
    return '"' + Printable(text.size() > longest ? text.substr(0, longest) + "..." : text) + '"';
}

/// The value as it stands there, for the words of an error.
std::string Shown(const json& value)
{
    constexpr std::size_t longest = 60;
    const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    return Printable(text.size() > longest ? text.substr(0, longest) + "..." : text);
}

/// An object of which every name is used or complained of.
class CMembers
{
public:
    CMembers(const json& object, std::string place, std::vector<const char*> allowed)
        : m_object(object), m_place(std::move(place))
    {
        if (!object.is_object()) {
            throw ScenarioProblem(m_place, Shown(object) + " is not an object");
        }
        for (const auto& member : object.items()) {
            const auto isIt = [&member](const char* name) { return member.key() == name; };
            if (std::none_of(allowed.begin(), allowed.end(), isIt)) {
                std::string names;
                for (const char* name : allowed) {
                    names += (names.empty() ? "" : ", ") + std::string(name);
                }
                throw ScenarioProblem(m_place, "there is no name " + Quoted(member.key()) +
                                                   " here, allowed is " + names);
            }
        }
    }

    bool Has(const char* name) const { return m_object.contains(name); }
    std::string PlaceOf(const char* name) const { return m_place + '/' + name; }
    const json& At(const char* name) const
    {
        if (!Has(name)) {
            throw ScenarioProblem(m_place, Quoted(name) + " is missing");
        }
        return m_object.at(name);
    }
    double Number(const char* name, double lowest, double highest) const
    {
        const json& value = At(name);
        const double number = value.is_number() ? value.get<double>() : lowest - 1.0;
        if (!(number >= lowest && number <= highest)) {
            throw ScenarioProblem(PlaceOf(name), Quoted(name) + " is " + Shown(value) +
                                                     ", allowed is " + NumberText(lowest) + " to " +
                                                     NumberText(highest));
        }
        return number;
    }
    std::string Text(const char* name) const
    {
        const json& value = At(name);
        if (!value.is_string()) {
            throw ScenarioProblem(PlaceOf(name),
                                  Quoted(name) + " is " + Shown(value) + ", which is not a text");
        }
        return value.get<std::string>();
    }
    const json& List(const char* name) const
    {
        const json& value = At(name);
        if (!value.is_array()) {
            throw ScenarioProblem(PlaceOf(name),
                                  Quoted(name) + " is " + Shown(value) + ", which is not a list");
        }
        return value;
    }

private:
    const json& m_object;
    std::string m_place;
};

/// Adds a value to an argument list.
void AddArgument(BListC& list, const json& value, const std::string& place, std::size_t& count)
{
    if (++count > kMostValuesOfACall) {
        throw ScenarioProblem(place, "there are more than " + std::to_string(kMostValuesOfACall) +
                                         " values for one call");
    }
    if (value.is_array()) {
        auto nested = std::make_unique<BListC>(&list);
        for (const json& element : value) {
            AddArgument(*nested, element, place, count);
        }
        list.Add(nested.release());
    } else if (value.is_number_float()) {
        list.AddDouble(value.get<double>());
    } else if (value.is_number_unsigned() &&
               value.get<std::uint64_t>() >
                   static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        throw ScenarioProblem(place, Shown(value) + " is too large");
    } else if (value.is_number()) {
        list.AddInt64(value.get<std::int64_t>());
    } else if (value.is_string()) {
        list.AddString(value.get<std::string>());
    } else {
        throw ScenarioProblem(place,
                              Shown(value) + " is neither a number nor a text nor a list of them");
    }
}

ScenarioCall CallOf(const std::string& operation, const json& arguments, const std::string& place)
{
    const auto list = std::make_shared<BListC>(nullptr);
    std::size_t count = 0;
    for (const json& value : arguments) {
        AddArgument(*list, value, place, count);
    }
    return {operation, list};
}

ScenarioFault FaultOf(const CMembers& members)
{
    ScenarioFault fault{members.Text("fault"), "on"};
    if (members.Has("value")) {
        const json& value = members.At("value");
        if (value.is_number()) {
            fault.value = value.get<double>();
        } else {
            fault.value = members.Text("value");
        }
    }
    if (members.Has("for")) {
        fault.seconds = members.Number("for", 0.0, CFaults::kLongestSeconds);
    }
    const std::string problem = CFaults::Problem(fault.name, fault.value, fault.seconds);
    if (!problem.empty()) {
        throw ScenarioProblem(members.PlaceOf(members.Has("value") ? "value" : "fault"),
                              Printable(problem));
    }
    return fault;
}

ScenarioCall OperationOf(const CMembers& members, const std::vector<std::string>& operations)
{
    const std::string name = members.Text("call");
    if (std::find(operations.begin(), operations.end(), name) == operations.end()) {
        throw ScenarioProblem(members.PlaceOf("call"), "there is no operation " + Quoted(name));
    }
    if (name == CSimulatorOperations::kAdvance) {
        throw ScenarioProblem(members.PlaceOf("call"), name + " cannot be called by a scenario");
    }
    static const json none = json::array();
    return CallOf(name, members.Has("arguments") ? members.List("arguments") : none,
                  members.PlaceOf("arguments"));
}

/// The event of an object.
ScenarioEvent EventOf(const json& object, const std::string& place,
                      const std::vector<std::string>& operations)
{
    const CMembers all(object, place, {"at", "fault", "value", "for", "call", "arguments", "line"});
    const int kinds =
        (all.Has("fault") ? 1 : 0) + (all.Has("call") ? 1 : 0) + (all.Has("line") ? 1 : 0);
    if (kinds != 1) {
        throw ScenarioProblem(place, "an event has one of fault, call and line");
    }
    ScenarioEvent event;
    event.at = all.Number("at", 0.0, kLatest);
    if (all.Has("fault")) {
        event.what = FaultOf(CMembers(object, place, {"at", "fault", "value", "for"}));
    } else if (all.Has("call")) {
        event.what = OperationOf(CMembers(object, place, {"at", "call", "arguments"}), operations);
    } else {
        const CMembers line(object, place, {"at", "line"});
        event.what = CallOf("set_wayline", line.List("line"), line.PlaceOf("line"));
    }
    return event;
}

Scenario ScenarioOf(const json& root, const std::vector<std::string>& operations,
                    const JsonLines& lines)
{
    const CMembers members(root, "", {"scenario", "name", "events"});
    if (!members.At("scenario").is_number_integer() || members.At("scenario") != kVersion) {
        throw ScenarioProblem(members.PlaceOf("scenario"),
                              "\"scenario\" is " + Shown(members.At("scenario")) +
                                  ", allowed is 1, the version of the form");
    }
    if (members.Has("name")) {
        members.Text("name");
    }
    const json& list = members.List("events");
    if (list.size() > kMostEvents) {
        throw ScenarioProblem(members.PlaceOf("events"),
                              "there are more than " + std::to_string(kMostEvents) + " events");
    }
    Scenario scenario;
    for (const json& object : list) {
        const std::string place = "/events/" + std::to_string(scenario.events.size());
        scenario.events.push_back(EventOf(object, place, operations));
        scenario.events.back().line = lines.LineOf(place);
    }
    std::stable_sort(
        scenario.events.begin(), scenario.events.end(),
        [](const ScenarioEvent& one, const ScenarioEvent& other) { return one.at < other.at; });
    return scenario;
}

std::string OnLine(std::size_t line, const std::string& what)
{
    return "line " + std::to_string(line) + ": " + what;
}

} // namespace

std::string ReadScenario(const std::string& text, const std::vector<std::string>& operations,
                         Scenario& scenario)
{
    if (text.size() > kLongestText) {
        return "it is longer than 1 MiB";
    }
    const JsonDocument document = ReadJson(text, kLimits);
    if (document.excess != JsonDocument::EExcess::None) {
        return "it has too many values, or they are nested too deeply";
    }
    const JsonLines lines = FindJsonLines(text);
    if (document.value.is_discarded()) {
        return OnLine(std::max<std::size_t>(lines.fault, 1), "this is not JSON");
    }
    if (document.twice) {
        return OnLine(lines.twice, "the name " + Quoted(*document.twice) + " stands there twice");
    }
    try {
        scenario = ScenarioOf(document.value, operations, lines);
    } catch (const ScenarioProblem& problem) {
        return OnLine(lines.LineOf(problem.Place()), problem.What());
    }
    return {};
}

std::string ReadScenarioFile(const std::string& path, const std::vector<std::string>& operations,
                             Scenario& scenario)
{
    const std::string failed = "scenario " + Printable(path) + ": ";
    std::FILE* const file = std::fopen(path.c_str(), "re");
    if (file == nullptr) {
        return failed + SystemReason(errno);
    }
    std::string text(kLongestText + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    const int error = std::ferror(file) != 0 ? errno : 0;
    std::fclose(file);
    if (error != 0) {
        return failed + SystemReason(error);
    }
    const std::string problem = ReadScenario(text, operations, scenario);
    return problem.empty() ? std::string() : failed + problem;
}

void CScenarioRun::Start(Scenario scenario, Doer doer)
{
    m_scenario = std::move(scenario);
    m_doer = std::move(doer);
    m_next = 0;
}

std::vector<std::string> CScenarioRun::Look(double now)
{
    constexpr double tolerance = 1e-6;
    std::vector<std::string> refused;
    while (m_next < m_scenario.events.size() && m_scenario.events[m_next].at <= now + tolerance) {
        const ScenarioEvent& event = m_scenario.events[m_next++];
        const std::string problem = m_doer(event);
        if (!problem.empty()) {
            refused.push_back("scenario, " + OnLine(event.line, problem));
        }
    }
    return refused;
}
