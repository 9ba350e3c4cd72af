#include "tools/navctl/operations/OperationRun.h"

#include <cmath>
#include <optional>

#include "tools/navctl/operations/Confirmation.h"
#include "tools/navctl/operations/LateReply.h"
#include "tools/navctl/operations/Refusal.h"
#include "tools/navctl/operations/ServiceQuestion.h"
#include "tools/navctl/operations/ValueText.h"
#include "tools/navctl/wayline/BegunWayline.h"

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
        if (!m_context.Reach()) {
            return;
        }
        // A program that is not a navigation service takes any bytes; what is confirmed below need
        // not ask beforehand.
        if (!IsRequest() && m_confirmation == nullptr && !SpeaksToService(m_context)) {
            return;
        }
        if (!AskBefore()) {
            return;
        }
        m_context.WaitLonger(MoreSecondsFor(m_values));
        const COutcome outcome = IsRequest() ? Call(m_context.Navigation(), m_operation.serviceName,
                                                    m_operation.exchange, m_values)
                                             : Send();
        if (!GotThrough(m_context, m_operation, outcome)) {
            return;
        }
        m_report = {{"operation", m_operation.name}, {"outcome", OutcomeWord(outcome.kind)}};
        if (outcome.kind == EOutcome::Refused) {
            RefuseAndTellHeld();
        } else if (m_confirmation != nullptr) {
            Confirm();
        } else if (outcome.kind == EOutcome::Sent &&
                   FindConfirmation(m_operation.name) == nullptr) {
            LookForRefusal(outcome);
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

    bool IsRequest() const { return m_operation.kind == EOperationKind::Request; }

    /// Asks for the value that new limits may move.
    ///
    /// @return false when the command has failed.
    bool AskBefore()
    {
        if (m_confirmation == nullptr || m_operation.name != "set-tuning-limits") {
            return true;
        }
        m_before = TuningValue();
        return m_before.kind == EOutcome::Value ||
               m_context.Navigation().LastError().code == ELinkError::ServiceError ||
               GotThrough(m_context, FindOperation("get-tuning-parameter"), m_before);
    }

    COutcome TuningValue()
    {
        const COperation& getter = FindOperation("get-tuning-parameter");
        return Call(m_context.Navigation(), getter.serviceName, getter.exchange,
                    {m_values.front()});
    }

    void Confirm()
    {
        const CHeld held = AskWhatIsHeld(m_context.Navigation(), *m_confirmation, m_values);
        const COperation& getter = FindOperation(m_confirmation->getter);
        const LinkErrorC error = m_context.Navigation().LastError();
        if (held.state == CHeld::EState::Unknown && error.code == ELinkError::ServiceError) {
            if (!SpeaksToService(m_context)) {
                return;
            }
            m_context.Fail(kExitRefused, "sent, but nothing confirms that the service took it: it "
                                         "refuses " +
                                             getter.name + " (" + error.text +
                                             "); --no-check does not ask");
            return;
        }
        if (held.state == CHeld::EState::Unknown) {
            GotThrough(m_context, getter, held.outcome, IsRequest() ? nullptr : &m_operation);
            return;
        }
        AddHeld(held);
        if (held.state == CHeld::EState::Another) {
            return Refuse(Reason(), held.text);
        }
        m_report["outcome"] = OutcomeWord(EOutcome::Done);
        std::string text = "done";
        if (held.state == CHeld::EState::Limited) {
            m_report["limited"] = true;
            text += ", brought to the limit: " + held.text + " holds (" + held.limits + ")";
        }
        Finish(text + WordsOfMovedValue());
    }

    void AddHeld(const CHeld& held)
    {
        const COperation& getter = FindOperation(m_confirmation->getter);
        m_report["held"] = held.outcome.value;
        if (!getter.unit.empty()) {
            m_report["unit"] = getter.unit;
        }
    }

    /// That new limits have moved the value, in words; empty when they have not.
    std::string WordsOfMovedValue()
    {
        if (m_before.kind != EOutcome::Value) {
            return {};
        }
        const COutcome now = TuningValue();
        if (now.kind != EOutcome::Value || now.value == m_before.value) {
            return {};
        }
        m_report["moved"] = {{"from", m_before.value}, {"to", now.value}};
        return "; the limits moved the value from " + ValueText(m_before.value) + " to " +
               ValueText(now.value);
    }

    /// A service that knows why it has refused something says so even of what nothing confirms.
    void LookForRefusal(const COutcome& outcome)
    {
        const std::string reason = WhyRefused(m_context.Navigation(), m_operation.serviceName);
        const LinkErrorC error = m_context.Navigation().LastError();
        if (!reason.empty()) {
            Refuse(reason, "");
        } else if (error.code == ELinkError::None || error.code == ELinkError::NoValue ||
                   error.code == ELinkError::ServiceError) {
            Report(outcome);
        } else {
            m_context.FailByLink(error, WordsOfLateReply(m_operation));
        }
    }

    void Report(const COutcome& outcome)
    {
        const bool hasValue = outcome.kind == EOutcome::Value || outcome.kind == EOutcome::NoAnswer;
        if (hasValue || !outcome.value.is_null()) {
            m_report["outcome"] = OutcomeWord(hasValue ? EOutcome::Value : outcome.kind);
            m_report["value"] = outcome.value;
            if (!m_operation.unit.empty()) {
                m_report["unit"] = m_operation.unit;
            }
        }
        const std::string headless = WordsOfMissingHeading(outcome.value);
        if (!headless.empty()) {
            return Refuse(headless, "");
        }
        Warn(outcome, hasValue);
        const std::string words = Words(outcome, hasValue);
        Finish(outcome.kind == EOutcome::Done ? words + WordsOfNudge(outcome) : words);
    }

    /// Which wayline has no heading, in words; empty for other operations, and when each has one.
    std::string WordsOfMissingHeading(const Json& headings) const
    {
        if (m_operation.name != "calculate-headings" || !headings.is_array()) {
            return {};
        }
        for (std::size_t place = 0; place < headings.size(); ++place) {
            if (!std::isfinite(headings[place].get<double>())) {
                return "wayline " + std::to_string(place + 1) +
                       " has no heading: its values make no line, or one that the service cannot "
                       "follow";
            }
        }
        return {};
    }

    /// Warns of what the service has taken or answered, and what is of no use all the same.
    void Warn(const COutcome& outcome, bool hasValue)
    {
        std::string words;
        if (hasValue) {
            // A service may answer what it is asked of something that it does not have.
            words = OutsideOfRange(m_operation, m_values);
        } else if (outcome.kind == EOutcome::Sent &&
                   FindConfirmation(m_operation.name) == nullptr) {
            words = OutsideOfRange(m_operation, m_values, "its range");
        } else if (outcome.kind == EOutcome::Done && m_operation.name == "set-waypoint") {
            words = WhyWaypointIsIdle(m_context.Navigation(), std::get<int>(m_values.front()),
                                      m_context.options.timeoutSeconds);
        }
        if (!words.empty()) {
            WriteError("warning: " + words);
        }
    }

    /// The nudge that the service holds, after an operation that changes it; nothing after others.
    std::optional<double> HeldNudge()
    {
        if (m_operation.name != "nudge" && m_operation.name != "auto-set-nudge") {
            return std::nullopt;
        }
        const COperation& getter = FindOperation("get-nudge-scalar");
        const COutcome held = Call(m_context.Navigation(), getter.serviceName, getter.exchange, {});
        if (held.kind != EOutcome::Value) {
            return std::nullopt;
        }
        m_report["held"] = held.value;
        m_report["unit"] = getter.unit;
        return held.value.get<double>();
    }

    /// What the vector of a nudge does not show: without a line it is zero, and the nudge is held
    /// for the next one. In words; empty for other operations.
    std::string WordsOfNudge(const COutcome& outcome)
    {
        const std::optional<double> held = HeldNudge();
        const Json nowhere = Json::array({0.0, 0.0, 0.0});
        if (!held || outcome.value != nowhere || *held == 0.0) {
            return {};
        }
        return "; the nudge of " + ValueText(*held) + " m is held for the next line";
    }

    std::string Words(const COutcome& outcome, bool hasValue) const
    {
        const std::string value = outcome.text.empty() ? ValueText(outcome.value) : outcome.text;
        if (hasValue) {
            return value;
        }
        if (outcome.kind == EOutcome::Sent) {
            return "sent; nothing confirms that the service took it";
        }
        if (outcome.kind == EOutcome::Answered) {
            return "answered; nothing confirms that the service took it";
        }
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
        if (!m_operation.MayPersist() || !std::get<bool>(m_values.back())) {
            return;
        }
        const std::string why = WhyForgotten(m_context.Navigation());
        if (why.empty()) {
            return;
        }
        m_report["kept"] = false;
        WriteError("warning: " + why);
    }

    std::string Reason() { return ReasonOfRefusal(m_context.Navigation(), m_operation, m_values); }

    void RefuseAndTellHeld()
    {
        const std::string reason = Reason();
        if (m_confirmation == nullptr) {
            const std::optional<double> nudge = HeldNudge();
            return Refuse(reason, nudge ? ValueText(*nudge) + " m" : "");
        }
        const CHeld held = AskWhatIsHeld(m_context.Navigation(), *m_confirmation, m_values);
        if (held.state != CHeld::EState::Unknown) {
            AddHeld(held);
        }
        Refuse(reason, held.text);
    }

    /// @param held what the service holds; empty when that is not known.
    void Refuse(const std::string& reason, const std::string& held)
    {
        const std::string words = held.empty() ? reason : reason + "; it holds " + held;
        m_report["outcome"] = OutcomeWord(EOutcome::Refused);
        m_report["reason"] = words;
        m_context.Refuse(m_report, "the service refused " + m_operation.name + ": " + words);
    }

    CContext& m_context;
    const COperation& m_operation;
    const ArgumentValues& m_values;
    const CConfirmation* m_confirmation;
    COutcome m_before{EOutcome::NoAnswer}; ///< the value before new limits
    Json m_report;
};

} // namespace

void RunOperation(CContext& context, const COperation& operation, const ArgumentValues& values,
                  bool checks)
{
    const CConfirmation* const confirmation = checks ? FindConfirmation(operation.name) : nullptr;
    COperationRun(context, operation, values, confirmation).Run();
}

bool GotThrough(CContext& context, const COperation& operation, const COutcome& outcome,
                const COperation* before)
{
    const LinkErrorC error = context.Navigation().LastError();
    // An answer without a value is how the service says that it has no wayline.
    if (outcome.kind == EOutcome::NoAnswer && error.code == ELinkError::NoValue &&
        operation.name == "get-wayline") {
        return true;
    }
    if (outcome.kind == EOutcome::NoAnswer) {
        // A program of other operations answers with an error too: it has refused nothing.
        if (error.code != ELinkError::ServiceError || SpeaksToService(context)) {
            context.FailByLink(error, WordsOfLateReply(before != nullptr ? *before : operation));
        }
    } else if (outcome.kind == EOutcome::OtherForm) {
        context.Fail(kExitProtocolError, "protocol error: " + OtherFormText(operation));
    }
    return outcome.kind != EOutcome::NoAnswer && outcome.kind != EOutcome::OtherForm;
}

std::string OtherFormText(const COperation& operation)
{
    return "the reply to " + operation.serviceName + " is of another form than the operation's";
}
