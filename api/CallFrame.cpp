#include "api/CallFrame.h"

namespace CallFrame {

int ReadInt(const BElementC* reply, int failure)
{
    const auto* atom = dynamic_cast<const BAtomC*>(reply);
    return atom == nullptr ? failure : atom->IntValue();
}

double ReadDouble(const BElementC* reply, double failure)
{
    const auto* atom = dynamic_cast<const BAtomC*>(reply);
    return atom == nullptr ? failure : atom->DoubleValue();
}

BListC* ReadList(BElementC* reply)
{
    return dynamic_cast<BListC*>(reply);
}

} // namespace CallFrame

bool CNavigationAPI::ReconnectingGuard()
{
    if (IsLinkUp()) {
        return true;
    }
    Connect(m_serviceHost, static_cast<unsigned short>(m_servicePort), -1);
    return IsLinkUp();
}

bool CNavigationAPI::VerifyingGuard()
{
    return VerifyConnection();
}

int CNavigationAPI::RequestInt(const std::string& name, CallFrame::Arguments arguments, int failure)
{
    CallFrame::Reply reply(CallMethod(name, arguments.get()));
    const int value = CallFrame::ReadInt(reply.get(), failure);
    reply.reset();
    arguments.reset();
    return value;
}

double CNavigationAPI::RequestDouble(const std::string& name, CallFrame::Arguments arguments,
                                     double failure)
{
    CallFrame::Reply reply(CallMethod(name, arguments.get()));
    const double value = CallFrame::ReadDouble(reply.get(), failure);
    reply.reset();
    arguments.reset();
    return value;
}

int CNavigationAPI::RequestIntFreeingArguments(const std::string& name,
                                               CallFrame::Arguments arguments, int failure)
{
    const CallFrame::Reply reply(CallMethod(name, arguments.get()));
    arguments.reset();
    return CallFrame::ReadInt(reply.get(), failure);
}

double CNavigationAPI::RequestDoubleFreeingArguments(const std::string& name,
                                                     CallFrame::Arguments arguments, double failure)
{
    const CallFrame::Reply reply(CallMethod(name, arguments.get()));
    arguments.reset();
    return CallFrame::ReadDouble(reply.get(), failure);
}

void CNavigationAPI::Notify(const std::string& name, CallFrame::Arguments arguments)
{
    SendNotification(name, arguments.get());
    arguments.reset();
}
