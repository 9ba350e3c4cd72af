#include "tools/navctl/operations/ServiceQuestion.h"

#include "tools/navctl/operations/OperationRun.h"

namespace {

/// What the library answers to a request: it comes back from a program that sends back all it gets.
constexpr const char* kOwnAnswer = "this client serves no requests";

std::string WordsOf(const LinkErrorC& error)
{
    return error.text == kOwnAnswer ? "it sends back what it gets, as an echo server does"
                                    : error.text;
}

} // namespace

CServiceAnswer AskWhetherService(CNavigationAPI& navigation)
{
    const COperation& question = FindOperation("is-navigation-activated");
    const COutcome answer = Call(navigation, question.serviceName, question.exchange, {});
    if (answer.kind == EOutcome::Value) {
        return {true};
    }
    const LinkErrorC error = navigation.LastError();
    const bool hasAnswered =
        error.code == ELinkError::ServiceError || error.code == ELinkError::NoValue;
    const std::string problem = answer.kind == EOutcome::OtherForm ? OtherFormText(question)
                                : hasAnswered                      ? WordsOf(error)
                                                                   : std::string();
    return {false,
            problem.empty() ? problem : "what listens there is no navigation service: " + problem};
}

bool SpeaksToService(CContext& context)
{
    const CServiceAnswer answer = AskWhetherService(context.Navigation());
    if (answer.isService) {
        return true;
    }
    if (answer.problem.empty()) {
        context.FailByLink();
    } else {
        context.Fail(kExitProtocolError, "protocol error: " + answer.problem);
    }
    return false;
}
