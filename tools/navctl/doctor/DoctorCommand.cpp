#include "tools/navctl/doctor/DoctorCommand.h"

#include <algorithm>

#include "tools/navctl/Names.h"
#include "tools/navctl/doctor/Engagement.h"
#include "tools/navctl/doctor/Finding.h"
#include "tools/navctl/doctor/LinkFinding.h"

namespace {

const char* const kStartService = "start the navigation service, for example: navigation-simulator";

CFinding SilenceFinding(CContext& context);

CFinding LookAtLink(CContext& context)
{
    CNavigationAPI& navigation = context.Navigation();
    if (navigation.IsLinkUp())
        return {"link", "connected to localhost port 5010"};
    const LinkErrorC error = navigation.LastError();
    const CLinkFailure failure = ConnectFailure(error);
    if (failure.code == kExitProtocolError)
        return SilenceFinding(context);
    const bool isRefused = error.code == ELinkError::Refused;
    return {"link", (isRefused ? "nothing listens: " : "cannot be reached: ") + error.text,
            kStartService, failure.code};
}

CFinding LookAtWayline(CNavigationAPI& navigation)
{
    const Kestrove::WaylinePtr wayline = navigation.GetWayline();
    if (wayline)
        return {"wayline", "there is one, kind " + KindName(wayline->Type())};
    const LinkErrorC error = navigation.LastError();
    if (error.code == ELinkError::NoValue) {
        return {"wayline", "there is none that is complete",
                "navctl wayline set FILE; or navctl start-wayline KIND and its waypoints",
                kExitRefused};
    }
    return LinkFinding(error);
}

CFinding NavigationFinding(bool isActive)
{
    if (isActive)
        return {"navigation", "active"};
    return {"navigation", "not active", "navctl start-navigation on", kExitRefused};
}

/// The first question was not answered, or with something else than a message.
CFinding SilenceFinding(CContext& context)
{
    const LinkErrorC error = context.Navigation().LastError(); // which goes with the client, below
    const std::string otherProgram = context.OtherProgram(error);
    return otherProgram.empty() ? LinkFinding(error) : OtherProgramFinding(otherProgram);
}

/// Looks at one thing after the other, up to the first that the next ones depend on.
Findings Examine(CContext& context)
{
    Findings findings{LookAtLink(context)};
    if (findings.back().IsObstacle())
        return findings;
    CNavigationAPI& navigation = context.Navigation();
    const bool isActive = navigation.IsNavigationActivated();
    if (context.HasLinkFailed()) {
        findings.push_back(SilenceFinding(context));
        return findings;
    }
    findings.push_back({"reply", "the service answers"});
    findings.push_back(LookAtWayline(navigation));
    if (findings.back().IsObstacle())
        return findings;
    findings.push_back(NavigationFinding(isActive));
    if (findings.back().IsObstacle())
        return findings;
    const bool isEngaged = navigation.IsSteeringEngaged();
    const LinkErrorC error = navigation.LastError();
    if (error.code == ELinkError::ServiceError) {
        findings.push_back({"steering", "the service does not tell whether it is engaged"});
    } else if (error.code != ELinkError::None) {
        findings.push_back(LinkFinding(error));
        return findings;
    }
    if (isEngaged) {
        findings.push_back({"steering", "engaged"});
        return findings;
    }
    const Findings obstacles = FindEngageObstacles(context);
    findings.insert(findings.end(), obstacles.begin(), obstacles.end());
    if (obstacles.empty())
        findings.push_back({"steering", "ready; to engage: navctl engage-steering"});
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
    if (!hasColours)
        return word;
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
        if (finding.IsObstacle())
            text += "\n     next:      " + finding.nextStep;
    }
    return text;
}

Json JsonOf(const Findings& findings)
{
    Json list = Json::array();
    for (const CFinding& finding : findings) {
        Json entry{
            {"subject", finding.subject}, {"ok", !finding.IsObstacle()}, {"text", finding.text}};
        if (finding.IsObstacle())
            entry["next_step"] = finding.nextStep;
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
            context.Print(JsonOf(findings), output.Fitted(TextOf(findings, output.HasColours())));
            context.Finish(WorstOf(findings));
        });
}
