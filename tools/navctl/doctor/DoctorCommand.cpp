#include "tools/navctl/doctor/DoctorCommand.h"

#include <algorithm>

#include "tools/navctl/doctor/Engagement.h"
#include "tools/navctl/doctor/Finding.h"
#include "tools/navctl/doctor/LinkFinding.h"
#include "tools/navctl/doctor/WaylineFinding.h"
#include "tools/navctl/operations/OperationRun.h"

namespace {

const char* const kStartService = "start the navigation service, for example: navigation-simulator";

CFinding SilenceFinding(CContext& context);

CFinding LookAtLink(CContext& context)
{
    CNavigationAPI& navigation = context.Navigation();
    if (navigation.IsLinkUp()) {
        return {"link", "connected to localhost port 5010"};
    }
    const LinkErrorC error = navigation.LastError();
    const CLinkFailure failure = ConnectFailure(error);
    if (failure.code == kExitProtocolError) {
        return SilenceFinding(context);
    }
    const bool isRefused = error.code == ELinkError::Refused;
    return {"link", (isRefused ? "nothing listens: " : "cannot be reached: ") + error.text,
            kStartService, failure.code};
}

COutcome Ask(CContext& context, const char* command)
{
    const COperation& operation = FindOperation(command);
    return Call(context.Navigation(), operation.serviceName, operation.exchange, {});
}

CFinding OtherFormFinding(const char* command)
{
    return OtherProgramFinding("what listens there is no navigation service: " +
                               OtherFormText(FindOperation(command)));
}

CFinding LookAtWayline(CContext& context)
{
    const COutcome wayline = Ask(context, "get-wayline");
    if (wayline.kind == EOutcome::Value) {
        return {"wayline", "there is one, kind " + wayline.value["kind"].get<std::string>()};
    }
    if (wayline.kind == EOutcome::OtherForm) {
        return OtherFormFinding("get-wayline");
    }
    const LinkErrorC error = context.Navigation().LastError();
    if (error.code == ELinkError::NoValue) {
        return NoWaylineFinding(context);
    }
    return LinkFinding(error);
}

CFinding NavigationFinding(bool isActive)
{
    if (isActive) {
        return {"navigation", "active"};
    }
    return {"navigation", "not active", "navctl start-navigation on", kExitRefused};
}

/// The first question was not answered, or with something else than a message.
CFinding SilenceFinding(CContext& context)
{
    const LinkErrorC error = context.Navigation().LastError(); // which goes with the client, below
    const std::string otherProgram = context.OtherProgram(error);
    return otherProgram.empty() ? LinkFinding(error) : OtherProgramFinding(otherProgram);
}

/// Adds whether it is engaged, and if not, what stands in the way.
void LookAtSteering(CContext& context, Findings& findings)
{
    const COutcome isEngaged = Ask(context, "is-steering-engaged");
    const LinkErrorC error = context.Navigation().LastError();
    if (isEngaged.kind == EOutcome::OtherForm) {
        return findings.push_back(OtherFormFinding("is-steering-engaged"));
    }
    if (error.code == ELinkError::ServiceError) {
        findings.push_back({"steering", "the service does not tell whether it is engaged"});
    } else if (isEngaged.kind == EOutcome::NoAnswer) {
        return findings.push_back(LinkFinding(error));
    } else if (isEngaged.value.get<bool>()) {
        const COutcome isSlowAllowed = Ask(context, "get-low-speed-engage-enabled");
        const bool isWithoutLimit =
            isSlowAllowed.kind == EOutcome::Value && isSlowAllowed.value.get<bool>();
        return findings.push_back(
            {"steering", isWithoutLimit ? "engaged, at low speed without limit" : "engaged"});
    }
    const Findings obstacles = FindEngageObstacles(context);
    findings.insert(findings.end(), obstacles.begin(), obstacles.end());
    if (obstacles.empty()) {
        findings.push_back({"steering", "ready; to engage: navctl engage-steering"});
    }
}

/// Looks at one thing after the other, up to the first that the next ones depend on.
Findings Examine(CContext& context)
{
    Findings findings{LookAtLink(context)};
    if (findings.back().IsObstacle()) {
        return findings;
    }
    const COutcome isActive = Ask(context, "is-navigation-activated");
    if (isActive.kind != EOutcome::Value) {
        findings.push_back(isActive.kind == EOutcome::OtherForm
                               ? OtherFormFinding("is-navigation-activated")
                               : SilenceFinding(context));
        return findings;
    }
    findings.push_back({"reply", "the service answers"});
    findings.push_back(LookAtWayline(context));
    if (findings.back().IsObstacle()) {
        return findings;
    }
    findings.push_back(NavigationFinding(isActive.value.get<bool>()));
    if (!findings.back().IsObstacle()) {
        LookAtSteering(context, findings);
    }
    return findings;
}

EExitCode WorstOf(const Findings& findings)
{
    const auto found = std::find_if(findings.begin(), findings.end(),
                                    [](const CFinding& each) { return each.IsObstacle(); });
    return found == findings.end() ? kExitDone : found->code;
}

std::string Mark(bool isObstacle, bool hasColours)
{
    std::string word = isObstacle ? "[no]" : "[ok]";
    if (!hasColours) {
        return word;
    }
    return (isObstacle ? "\033[31m" : "\033[32m") + word + "\033[0m";
}

std::string TextOf(const Findings& findings, bool hasColours)
{
    std::string text;
    for (const CFinding& finding : findings) {
        std::string subject = finding.subject;
        subject.resize(std::max<std::size_t>(subject.size(), 10), ' ');
        // The service's words may hold anything.
        text += (text.empty() ? "" : "\n") + Mark(finding.IsObstacle(), hasColours) + " " +
                subject + " " + Printable(finding.text);
        if (finding.IsObstacle()) {
            text += "\n     next:      " + finding.nextStep;
        }
    }
    return text;
}

Json JsonOf(const Findings& findings)
{
    Json list = Json::array();
    for (const CFinding& finding : findings) {
        Json entry{
            {"subject", finding.subject}, {"ok", !finding.IsObstacle()}, {"text", finding.text}};
        if (finding.IsObstacle()) {
            entry["next_step"] = finding.nextStep;
        }
        list.push_back(entry);
    }
    return {{"ready", WorstOf(findings) == kExitDone}, {"findings", list}};
}

} // namespace

void AddDoctorCommand(CLI::App& app, CContext& context)
{
    app.add_subcommand("doctor",
                       "Tells what stands between you and an engaged machine, and what to do next")
        ->callback([&context] {
            const Findings findings = Examine(context);
            COutput& output = context.Output();
            context.Print(JsonOf(findings), TextOf(findings, output.HasColours()));
            context.Finish(WorstOf(findings));
        });
}
