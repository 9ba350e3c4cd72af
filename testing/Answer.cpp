#include "testing/Answer.h"

namespace Kestrove::Testing {

CAnswer::CAnswer(CValue value) : CAnswer(EKind::Value, std::move(value)) {}

CAnswer CAnswer::List(std::initializer_list<CValue> elements)
{
    return CAnswer(EKind::Value, CValue(elements));
}

CAnswer CAnswer::Nothing()
{
    return CAnswer(EKind::Value, CValue::Nothing());
}

CAnswer CAnswer::Error(std::string text)
{
    CAnswer answer(EKind::Error, CValue::Nothing());
    answer.m_errorText = std::move(text);
    return answer;
}

CAnswer CAnswer::Silence()
{
    return CAnswer(EKind::Silence, CValue::Nothing());
}

CAnswer CAnswer::DropLink()
{
    return CAnswer(EKind::Drop, CValue::Nothing());
}

CAnswer CAnswer::ResetLink()
{
    return CAnswer(EKind::Reset, CValue::Nothing());
}

CAnswer CAnswer::After(int milliseconds) const
{
    CAnswer answer = *this;
    answer.m_delayMilliseconds = milliseconds;
    return answer;
}

CAnswer CAnswer::Held() const
{
    CAnswer answer = *this;
    answer.m_isHeld = true;
    return answer;
}

} // namespace Kestrove::Testing
