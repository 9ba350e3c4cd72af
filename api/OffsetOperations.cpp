#include "api/NavigationAPI.h"

#include "api/CallFrame.h"

using CallFrame::ArgumentsOf;
using CallFrame::kLeadingOne;
using CallFrame::LeadingOne;
using CallFrame::NoArguments;
using CallFrame::ReservedPair;

namespace {

/// Reads three elements from `first` on; those that are missing count as 0.
Core::Maths::Vector3<double> VectorAt(const BListC& list, int first)
{
    return {list.GetDouble(first), list.GetDouble(first + 1), list.GetDouble(first + 2)};
}

} // namespace

int CNavigationAPI::Nudge(Core::Maths::Vector3<double>& nudge, bool add, double amount)
{
    if (!ReconnectingGuard()) {
        return -1;
    }
    return RequestList("Nudge", ArgumentsOf(kLeadingOne, add, amount), -1,
                       [&nudge](const BListC& reply) {
                           nudge = VectorAt(reply, 1);
                           return reply.GetInt(0);
                       });
}

int CNavigationAPI::AutoSetNudge(Core::Maths::Vector3<double>& nudge)
{
    if (!ReconnectingGuard()) {
        return -1;
    }
    return RequestList("AutoSetNudge", LeadingOne(), -1, [&nudge](const BListC& reply) {
        nudge = VectorAt(reply, 1);
        return reply.GetInt(0);
    });
}

bool CNavigationAPI::GetNudgeVector(Core::Maths::Vector3<double>& nudge)
{
    if (!VerifyingGuard()) {
        return false;
    }
    // No status leads this reply: the vector starts at its first element.
    return RequestList("get_nudge_vector", NoArguments(), false, [&nudge](const BListC& reply) {
        nudge = VectorAt(reply, 0);
        return true;
    });
}

double CNavigationAPI::GetNudgeScalar()
{
    return ReconnectingGuard() ? RequestDouble("get_nudge", LeadingOne(), -1.0) : -1.0;
}

void CNavigationAPI::SetNudge(double nudge)
{
    if (VerifyingGuard()) {
        Notify("set_nudge", ArgumentsOf(kLeadingOne, nudge));
    }
}

int CNavigationAPI::AutoSetFieldOffset()
{
    return ReconnectingGuard() ? RequestInt("AutoSetFieldOffset", LeadingOne(), -1) : -1;
}

int CNavigationAPI::SetFieldOffset(double offset)
{
    return ReconnectingGuard() ? RequestInt("SetFieldOffset", ReservedPair(kLeadingOne, offset), -1)
                               : -1;
}

double CNavigationAPI::GetFieldOffset()
{
    return ReconnectingGuard() ? RequestDouble("GetFieldOffset", LeadingOne(), -1.0) : -1.0;
}

int CNavigationAPI::SetImplementOffset(double offset)
{
    return ReconnectingGuard()
               ? RequestInt("SetImplementOffset", ReservedPair(kLeadingOne, offset), -1)
               : -1;
}

double CNavigationAPI::GetImplementOffset()
{
    return ReconnectingGuard() ? RequestDouble("GetImplementOffset", LeadingOne(), -1.0) : -1.0;
}

void CNavigationAPI::SetSplinesUseImplementOffset(bool use)
{
    // A capitalised name on a verified connection and without a leading one: so the service wants
    // it.
    if (VerifyingGuard()) {
        Notify("SetSplinesUseImplementOffset", ArgumentsOf(use));
    }
}

int CNavigationAPI::SetImplementWidth(double width)
{
    return ReconnectingGuard()
               ? RequestInt("SetImplementWidth", ReservedPair(kLeadingOne, width), -1)
               : -1;
}

double CNavigationAPI::GetImplementWidth()
{
    return ReconnectingGuard() ? RequestDouble("GetImplementWidth", LeadingOne(), -1.0) : -1.0;
}
