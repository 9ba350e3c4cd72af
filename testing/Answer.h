#ifndef KESTROVE_TESTING_ANSWER_H
#define KESTROVE_TESTING_ANSWER_H

#include <initializer_list>
#include <string>
#include <utility>

#include "testing/Value.h"

namespace Kestrove::Testing {

/// What the scripted service does with a request.
///
/// A value type: CAnswer(1), CAnswer(2.5), CAnswer::List({1, 0.5}), CAnswer::Error("no line"),
/// CAnswer(1).After(200). A notification has no answer; of these, only dropping the link has an
/// effect on one.
class CAnswer
{
public:
    enum class EKind
    {
        Value,
        Error,
        Silence,
        Drop,
        Reset,
    };

    /// A single value.
    CAnswer(CValue value);
    CAnswer(int value) : CAnswer(CValue(value)) {}
    CAnswer(double value) : CAnswer(CValue(value)) {}
    CAnswer(const char* value) : CAnswer(CValue(value)) {}
    /// A list.
    static CAnswer List(std::initializer_list<CValue> elements);
    /// A reply that holds nothing.
    static CAnswer Nothing();
    /// An error with this text.
    static CAnswer Error(std::string text);
    /// No reply at all.
    static CAnswer Silence();
    /// Instead of a reply the connection is closed, in order.
    static CAnswer DropLink();
    /// Instead of a reply the connection is reset.
    static CAnswer ResetLink();

    /// The same answer, given so many milliseconds after the request has come in.
    CAnswer After(int milliseconds) const;
    /// The same answer, given when the test calls CScriptedService::ReleaseHeld().
    CAnswer Held() const;

    EKind Kind() const { return m_kind; }
    const CValue& Value() const { return m_value; }
    const std::string& ErrorText() const { return m_errorText; }
    int DelayMilliseconds() const { return m_delayMilliseconds; }
    bool IsHeld() const { return m_isHeld; }

private:
    CAnswer(EKind kind, CValue value) : m_kind(kind), m_value(std::move(value)) {}

    EKind m_kind;
    CValue m_value;
    std::string m_errorText;
    int m_delayMilliseconds = 0;
    bool m_isHeld = false;
};

} // namespace Kestrove::Testing

#endif
