#ifndef KESTROVE_SIMULATOR_BASE_OUTCOME_H
#define KESTROVE_SIMULATOR_BASE_OUTCOME_H

#include <string>
#include <utility>

/// What became of a request: done, or refused for a reason that a person can read. After a refusal
/// everything is as it was before.
class COutcome
{
public:
    /// The request was carried out.
    static COutcome Done() { return COutcome(true, {}); }
    /// The request was refused; `reason` names the value or condition that stood against it.
    static COutcome Refused(std::string reason) { return COutcome(false, std::move(reason)); }
    /// The request has come to nothing because of another one; not for what it asked.
    static COutcome Overtaken(std::string reason)
    {
        COutcome outcome = Refused(std::move(reason));
        outcome.m_overtaken = true;
        return outcome;
    }

    explicit operator bool() const { return m_done; }
    bool IsOvertaken() const { return m_overtaken; }

    /// Why the request was refused; empty when it was carried out.
    const std::string& Reason() const { return m_reason; }

private:
    COutcome(bool done, std::string reason) : m_done(done), m_reason(std::move(reason)) {}

    bool m_done;
    bool m_overtaken = false;
    std::string m_reason;
};

#endif
