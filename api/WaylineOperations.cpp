#include "api/NavigationAPI.h"

#include "api/CallFrame.h"

using CallFrame::Arguments;
using CallFrame::ArgumentsOf;
using CallFrame::LeadingOne;
using CallFrame::NoArguments;
using CallFrame::Reply;

void CNavigationAPI::SetWaylineOrigin(const Core::Maths::Vector3<double>& origin)
{
    if (VerifyingGuard()) {
        Notify("set_wayline_origin", ArgumentsOf(origin.x, origin.y, origin.z));
    }
}

std::vector<double>
CNavigationAPI::CalculateHeadings(const std::vector<Kestrove::WaylinePtr>& waylines)
{
    if (!VerifyingGuard()) {
        return {};
    }
    Arguments arguments = NoArguments();
    for (const Kestrove::WaylinePtr& wayline : waylines) {
        arguments->Add(wayline->ToBList());
    }
    return RequestList("calculate_headings", std::move(arguments), std::vector<double>(),
                       [](const BListC& reply) {
                           std::vector<double> headings;
                           headings.reserve(static_cast<std::size_t>(reply.Size()));
                           for (int i = 0; i < reply.Size(); ++i) {
                               headings.push_back(reply.GetDouble(i));
                           }
                           return headings;
                       });
}

Kestrove::WaylinePtr CNavigationAPI::GetWayline()
{
    if (!VerifyingGuard()) {
        return {};
    }
    Arguments arguments = NoArguments();
    Reply reply(CallMethod("get_wayline", arguments.get()));
    // A reply that is not a list goes on as a null list, which makes no wayline.
    Kestrove::WaylinePtr wayline = Kestrove::CWayline::FromBList(CallFrame::ReadList(reply.get()));
    reply.reset();
    arguments.reset();
    return wayline;
}

// By value, since applications have been built with it so.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CNavigationAPI::SetWayline(Kestrove::WaylinePtr wayline)
{
    if (!VerifyingGuard()) {
        return false;
    }
    Arguments arguments(wayline->ToBList());
    Reply reply(CallMethod("set_wayline", arguments.get()));
    // Any reply will do: what the service answers is read, and plays no part.
    const bool answered = reply != nullptr;
    static_cast<void>(CallFrame::ReadInt(reply.get(), 0));
    reply.reset();
    arguments.reset();
    return answered;
}

bool CNavigationAPI::ClearWayline()
{
    return VerifyingGuard() && RequestInt("clear_wayline", NoArguments(), 0) != 0;
}

bool CNavigationAPI::StartWayline(Kestrove::EWaylineType type)
{
    return VerifyingGuard() && RequestInt("start_wayline", ArgumentsOf(type), 0) != 0;
}

bool CNavigationAPI::SetWaypoint(int waypoint, double x, double y, double z, double heading)
{
    return VerifyingGuard() &&
           RequestInt("set_waypoint", ArgumentsOf(waypoint, x, y, z, heading), 0) != 0;
}

bool CNavigationAPI::IsWaypointSet(int waypoint)
{
    // Only 1 counts: the service reserves other values.
    return ReconnectingGuard() && RequestInt("is_waypoint_set", ArgumentsOf(waypoint), 0) == 1;
}

int CNavigationAPI::RestoreWaypoints()
{
    return ReconnectingGuard() ? RequestInt("RestoreWaypoints", LeadingOne(), -1) : -1;
}
