#include "tools/navctl/Context.h"

#include <algorithm>
#include <cmath>

#include "recording/RecordingFiles.h"
#include "tools/navctl/doctor/Probe.h"

namespace {

/// The library's words for the usual one of the reasons that have the code TimedOut.
const char* const kNoReply = "no reply in time";
const char* const kUnfinishedReply = "a message of the service did not end in time";

} // namespace

int Milliseconds(double seconds)
{
    return std::max(1, static_cast<int>(std::ceil(seconds * 1000.0)));
}

void CContext::Print(const Json& value, const std::string& text)
{
    if (WritesJson()) {
        // Bytes that are no UTF-8, which a service may send, must not end the program.
        m_output.WriteLine(value.dump(-1, ' ', false, Json::error_handler_t::replace));
    } else {
        m_output.WriteLine(m_output.Fitted(text));
    }
}

CNavigationAPI& CContext::Navigation()
{
    if (m_navigation == nullptr) {
        m_navigation = std::make_unique<CNavigationAPI>();
        m_navigation->SetTimeout(Milliseconds(options.timeoutSeconds));
        Record();
    }
    return *m_navigation;
}

/// Records the link, as far as that is asked for: a further connection object of the command has a
/// further file.
void CContext::Record()
{
    if (options.recording.empty()) {
        return;
    }
    ++m_connections;
    const std::string path =
        m_connections == 1
            ? options.recording
            : NumberedPath(options.recording, "connection" + std::to_string(m_connections));
    if (!m_navigation->StartRecording(path)) {
        WriteError("nothing is recorded: " + m_navigation->LastRecordingError());
    } else if (!m_navigation->LastRecordingError().empty()) {
        WriteError(m_navigation->LastRecordingError()); // a limit that cannot be read
    }
}

void CContext::WaitLonger(double moreSeconds)
{
    Navigation().SetTimeout(Milliseconds(options.timeoutSeconds + moreSeconds));
}

bool CContext::Reach()
{
    CNavigationAPI& navigation = Navigation();
    if (navigation.IsLinkUp()) {
        return true;
    }
    const LinkErrorC error = navigation.LastError();
    FailBy(ConnectFailure(error), error, "");
    return false;
}

std::string CContext::OtherProgram(const LinkErrorC& error)
{
    if (error.code != ELinkError::TimedOut && error.code != ELinkError::BadMessage &&
        error.code != ELinkError::Closed) {
        return {};
    }
    Disconnect();
    const std::string answer = AnswerOfOtherProtocol(options.timeoutSeconds);
    return answer.empty()
               ? answer
               : "something listens that does not speak the service's protocol; " + answer;
}

bool CContext::HasLinkFailed()
{
    return Navigation().LastError().code != ELinkError::None;
}

void CContext::Fail(EExitCode code, const std::string& reason, const Json& more)
{
    m_exitCode = code;
    WriteError(reason);
    if (WritesJson()) {
        Json value{
            {"outcome", "failed"}, {"exit_code", static_cast<int>(code)}, {"reason", reason}};
        value.update(m_moreOfFailures);
        value.update(more);
        Print(value, "");
    }
}

void CContext::Refuse(const Json& value, const std::string& reason)
{
    m_exitCode = kExitRefused;
    WriteError(reason);
    if (WritesJson()) {
        Print(value, "");
    }
}

void CContext::FailByLink()
{
    FailByLink(Navigation().LastError());
}

void CContext::FailByLink(const LinkErrorC& error, const std::string& late)
{
    FailBy(CallFailure(error), error, late);
}

void CContext::FailBy(const CLinkFailure& failure, const LinkErrorC& error, const std::string& late)
{
    // Whoever cannot be connected to says nothing either.
    const std::string otherProgram =
        failure.code == kExitCannotConnect ? std::string() : OtherProgram(error);
    // A message that the service has not taken as a whole is lost with the connection.
    const bool isPending = !late.empty() && error.code == ELinkError::TimedOut &&
                           (error.text == kNoReply || error.text == kUnfinishedReply);
    if (otherProgram.empty() && isPending) {
        Fail(failure.code, failure.reason + "; " + late, {{"pending", true}});
    } else if (otherProgram.empty()) {
        Fail(failure.code, failure.reason);
    } else {
        Fail(kExitProtocolError, "protocol error: " + otherProgram);
    }
}

CLinkFailure CallFailure(const LinkErrorC& error)
{
    switch (error.code) {
    case ELinkError::TimedOut:
        return {kExitNoReply,
                error.text == kNoReply ? "the service gave no reply in time" : error.text};
    case ELinkError::Closed:
    case ELinkError::BadMessage:
    case ELinkError::NoValue:
        return {kExitProtocolError, "protocol error: " + error.text};
    case ELinkError::ServiceError:
        return {kExitRefused, "the service refused: " + error.text};
    default:
        return {kExitCannotConnect, "cannot connect: " + error.text};
    }
}

CLinkFailure ConnectFailure(const LinkErrorC& error)
{
    // What has come may be the wrong thing already; anything else means that there is no link.
    if (error.code == ELinkError::BadMessage || error.code == ELinkError::Closed) {
        return CallFailure(error);
    }
    return {kExitCannotConnect, "cannot connect: " + error.text};
}
