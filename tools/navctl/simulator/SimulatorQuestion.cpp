#include "tools/navctl/simulator/SimulatorQuestion.h"

#include <string>

#include "tools/navctl/operations/ServiceQuestion.h"

std::unique_ptr<BElementC> AskSimulator(CContext& context, const char* operation, BListC* arguments)
{
    CNavigationAPI& navigation = context.Navigation();
    std::unique_ptr<BElementC> reply(navigation.CallMethod(operation, arguments));
    if (reply == nullptr) {
        const LinkErrorC error = navigation.LastError();
        // A program of other operations answers with an error too: it has refused nothing.
        if (error.code != ELinkError::ServiceError || SpeaksToService(context)) {
            context.FailByLink(error);
        }
    }
    return reply;
}

void FailByForm(CContext& context, const char* operation)
{
    context.Fail(kExitProtocolError, std::string("protocol error: the reply to ") + operation +
                                         " is of another form than the operation's");
}
