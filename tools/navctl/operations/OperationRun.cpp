#include "tools/navctl/operations/OperationRun.h"

#include "tools/navctl/operations/Confirmation.h"
#include "tools/navctl/operations/Refusal.h"
#include "tools/navctl/operations/ServiceQuestion.h"
#include "tools/navctl/operations/ValueText.h"

namespace {

std::string OutcomeWord(EOutcome outcome)
{
    switch (outcome) {
    case EOutcome::Done:
        return "done";
    case EOutcome::Value:
        return "value";
    case EOutcome::Sent:
        return "sent";
    case EOutcome::Answered:
        return "answered";
    default:
        return "refused";
    }
}

/// One operation on its way: carried out, confirmed, reported.
class COperationRun
{
public:
    COperationRun(CContext& context, const COperation& operation, const ArgumentValues& values,
                  const CConfirmation* confirmation)
        : m_context(context), m_operation(operation), m_values(values), m_confirmation(confirmation)
    {
    }

    void Run()
    {
        if (!m_context.Reach())
            return;
        const bool isRequest = m_operation.kind == EOperationKind::Request;
        // A program that is no navigation service takes any bytes; what is confirmed below need
        // not ask beforehand.
        if (!isRequest && m_confirmation == nullptr && !SpeaksToService(m_context))
            return;
        const COutcome outcome = isRequest ? Call(m_context.Navigation(), m_operation.serviceName,
                                                  m_operation.exchange, m_values)
                                           : Send();
        if (!GotThrough(m_context, m_operation, outcome))
            return;
        m_report = {{"operation", m_operation.name}, {"outcome", OutcomeWord(outcome.kind)}};
        if (outcome.kind == EOutcome::Refused) {
            Refuse("");
        } else if (m_confirmation != nullptr) {
            Confirm();
        } else {
            Report(outcome);
        }
    }

private:
    COutcome Send()
    {
        m_operation.send(m_context.Navigation(), m_values);
        return {m_context.HasLinkFailed() ? EOutcome::NoAnswer : EOutcome::Sent};
    }

    void Confirm()
    {
        const CHeld held = AskWhatIsHeld(m_context.Navigation(), *m_confirmation, m_values);
        const COperation& getter = FindOperation(m_confirmation->getter);
        const LinkErrorC error = m_context.Navigation().LastError();
        if (held.state == CHeld::EState::Unknown && error.code == ELinkError::ServiceError) {
            if (!SpeaksToService(m_context))
                return;
            m_context.Fail(kExitRefused, "sent, but nothing confirms that the service took it: it "
                                         "refuses " +
                                             getter.name + " (" + error.text +
                                             "); --no-check does not ask");
            return;
        }
        if (held.state == CHeld::EState::Unknown) {
            GotThrough(m_context, getter, held.outcome);
            return;
        }
        m_report["held"] = held.outcome.value;
        if (!getter.unit.empty())
            m_report["unit"] = getter.unit;
        if (held.state == CHeld::EState::Another)
            return Refuse("; it holds " + held.text);
        m_report["outcome"] = OutcomeWord(EOutcome::Done);
        std::string text = "done";
        if (held.state == CHeld::EState::Limited) {
            m_report["limited"] = true;
            text += ", brought to the limit: " + held.text + " holds (" + held.limits + ")";
        }
        Finish(text);
    }

    void Report(const COutcome& outcome)
    {
        const bool hasValue = outcome.kind == EOutcome::Value || outcome.kind == EOutcome::NoAnswer;
        if (hasValue || !outcome.value.is_null()) {
            m_report["outcome"] = OutcomeWord(hasValue ? EOutcome::Value : outcome.kind);
            m_report["value"] = outcome.value;
            if (!m_operation.unit.empty())
                m_report["unit"] = m_operation.unit;
        }
        // A service may answer what it is asked of something that it does not have.
        const std::string outside = hasValue ? OutsideOfRange(m_operation, m_values) : "";
        if (!outside.empty())
            WriteError("warning: " + outside);
        Finish(Words(outcome, hasValue));
    }

    std::string Words(const COutcome& outcome, bool hasValue) const
    {
        const std::string value = outcome.text.empty() ? ValueText(outcome.value) : outcome.text;
        if (hasValue)
            return value;
        if (outcome.kind == EOutcome::Sent)
            return "sent; nothing confirms that the service took it";
        if (outcome.kind == EOutcome::Answered && outcome.value.is_null())
            return "answered; nothing confirms that the service took it";
        if (outcome.kind == EOutcome::Answered)
            return "answered " + value + ", which is neither done (1) nor refused (0)";
        return outcome.value.is_null() ? "done" : "done: " + value;
    }

    void Finish(const std::string& text)
    {
        WarnOfForgetting();
        m_context.Print(m_report, text);
        m_context.Finish();
    }

    void WarnOfForgetting()
    {
        if (!m_operation.MayPersist() || !std::get<bool>(m_values.back()) ||
            !ForgetsAtRestart(m_context.Navigation()))
            return;
        m_report["kept"] = false;
        WriteError("warning: the service keeps nothing over a restart; the value holds until it "
                   "ends (navigation-simulator keeps with --state FILE)");
    }

    void Refuse(const std::string& held)
    {
        const std::string reason =
            ReasonOfRefusal(m_context.Navigation(), m_operation, m_values) + held;
        m_report["outcome"] = OutcomeWord(EOutcome::Refused);
        m_report["reason"] = reason;
        m_context.Refuse(m_report, "the service refused " + m_operation.name + ": " + reason);
    }

    CContext& m_context;
    const COperation& m_operation;
    const ArgumentValues& m_values;
    const CConfirmation* m_confirmation;
    Json m_report;
};

} // namespace

void RunOperation(CContext& context, const COperation& operation, const ArgumentValues& values,
                  bool checks)
{
    const CConfirmation* const confirmation = checks ? FindConfirmation(operation.name) : nullptr;
    COperationRun(context, operation, values, confirmation).Run();
}

bool GotThrough(CContext& context, const COperation& operation, const COutcome& outcome)
{
    const LinkErrorC error = context.Navigation().LastError();
    // An answer without a value is how the service says that it has no wayline.
    if (outcome.kind == EOutcome::NoAnswer && error.code == ELinkError::NoValue &&
        operation.name == "get-wayline")
        return true;
    if (outcome.kind == EOutcome::NoAnswer) {
        // A program of other operations answers with an error too: it has refused nothing.
        if (error.code != ELinkError::ServiceError || SpeaksToService(context))
            context.FailByLink(error);
    } else if (outcome.kind == EOutcome::OtherForm) {
        context.Fail(kExitProtocolError, "protocol error: " + OtherFormText(operation));
    }
    return outcome.kind != EOutcome::NoAnswer && outcome.kind != EOutcome::OtherForm;
}

std::string OtherFormText(const COperation& operation)
{
    return "the reply to " + operation.serviceName + " is of another form than the operation's";
}
