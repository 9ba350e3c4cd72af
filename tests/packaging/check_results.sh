#!/bin/sh
# Checks that the compiler warns where an application drops a result that it must look at, each that
# stands below once, and that it says nothing of operations that are called for what they do.
#
# usage: check_results.sh COMPILER INCLUDE-DIRECTORY
set -eu
compiler=$1 include=$2

says() { # the warnings about a program whose body is on standard input
    {
        cat <<'CODE'
#include <api/NavigationAPI.h>
#include <api/Subscription.h>
#include <testing/ScriptedService.h>
void Use(CNavigationAPI& navigation, BListC& list, BEncoderC& encoder,
         Kestrove::Testing::CScriptedService& service)
{
    using Kestrove::CWayline;
    using Kestrove::Testing::CAnswer;
    Core::Maths::Vector3<double> nudge;
    Kestrove::CABWayline line; // g++ 12 does not look at calls that are virtual
CODE
        cat
        echo '(void)navigation, (void)line, (void)list, (void)encoder, (void)service, (void)nudge; }'
    } | "$compiler" -std=c++17 -Wall -fsyntax-only -I "$include" -x c++ - 2>&1
}

dropped='navigation.IsSteeringEngaged();
navigation.GetLookAheadTime();
navigation.GetWayline();
navigation.GetNudgeVector(nudge);
navigation.CalculateHeadings({});
navigation.CallMethod("GetLookAheadTime", &list);
navigation.IsLinkUp();
navigation.LastError();
navigation.Descriptor();
line.ToBList();
line.LoadBList(&list);
line.LoadString("AB");
CWayline::FromString("AB");
CWayline::FromBList(&list);
list.GetDouble(0);
encoder.Write(list);
service.Problems();
service.WaitForCalls("EngageSteering", 1);
CAnswer(1).After(50);
CAnswer::Silence();'
said=$(printf '%s\n' "$dropped" | says)
wanted=$(printf '%s\n' "$dropped" | wc -l)
found=$(printf '%s\n' "$said" | grep -cE 'warning: .*(nodiscard|discarding)') || true
[ "$found" -eq "$wanted" ] || {
    printf '%s of %s dropped results are warned of:\n%s\n' "$found" "$wanted" "$said" >&2
    exit 1
}

said=$(says <<'CODE'
navigation.EngageSteering();
navigation.DisengageSteering();
navigation.SetWayline(Kestrove::WaylinePtr());
navigation.SetImplementWidth(6.0);
navigation.Nudge(nudge, true, 0.1);
navigation.CheckCallbacks();
navigation.ProcessMessages(true);
navigation.VerifyConnection();
CODE
)
[ -z "$said" ] || {
    printf 'a warning where nothing is lost:\n%s\n' "$said" >&2
    exit 1
}
echo "$found dropped results are warned of"
