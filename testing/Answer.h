#ifndef KESTROVE_TESTING_ANSWER_H
#define KESTROVE_TESTING_ANSWER_H

/// @file
/// What the scripted service does upon a call.

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
    /// What happens instead of or as a reply.
    enum class EKind
    {
        Value,   ///< a reply that holds Value()
        Error,   ///< an error reply with ErrorText()
        Silence, ///< no reply
        Drop,    ///< the connection is closed in order
        Reset,   ///< the connection is reset
    };

    /// A reply.
    ///
    /// @param value what the reply holds: a single value, or a list.
    CAnswer(CValue value);
    /// A reply of a whole number.
    ///
    /// @param value the number.
    CAnswer(int value) : CAnswer(CValue(value)) {}
    /// A reply of a floating-point number.
    ///
    /// @param value the number.
    CAnswer(double value) : CAnswer(CValue(value)) {}
    /// A reply of a text.
    ///
    /// @param value the text; copied.
    CAnswer(const char* value) : CAnswer(CValue(value)) {}
    /// A reply of a list.
    ///
    /// @param elements the list's elements, in order.
    /// @return the answer.
    [[nodiscard]] static CAnswer List(std::initializer_list<CValue> elements);
    /// @return a reply that holds nothing.
    [[nodiscard]] static CAnswer Nothing();
    /// @param text what the application finds in LastError().
    /// @return an error reply with this text.
    [[nodiscard]] static CAnswer Error(std::string text);
    /// @return no reply at all.
    [[nodiscard]] static CAnswer Silence();
    /// @return instead of a reply the connection is closed, in order.
    [[nodiscard]] static CAnswer DropLink();
    /// @return instead of a reply the connection is reset.
    [[nodiscard]] static CAnswer ResetLink();

    /// @param milliseconds how long after the request has come in.
    /// @return the same answer, given that much later.
    [[nodiscard]] CAnswer After(int milliseconds) const;
    /// @return the same answer, given when the test calls CScriptedService::ReleaseHeld().
    [[nodiscard]] CAnswer Held() const;

    /// @return what happens.
    [[nodiscard]] EKind Kind() const { return m_kind; }
    /// @return what the reply holds; Nothing unless Kind() is Value. Valid as long as this answer.
    [[nodiscard]] const CValue& Value() const { return m_value; }
    /// @return the error's text; empty unless Kind() is Error. Valid as long as this answer.
    [[nodiscard]] const std::string& ErrorText() const { return m_errorText; }
    /// @return how long after the request it happens, in milliseconds; 0 for at once.
    [[nodiscard]] int DelayMilliseconds() const { return m_delayMilliseconds; }
    /// @return whether it waits for CScriptedService::ReleaseHeld().
    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

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
