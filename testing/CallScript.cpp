#include "testing/CallScript.h"

#include <algorithm>

namespace Kestrove::Testing {

void CCallScript::Answer(const std::string& name, const CAnswer& answer)
{
    m_standing.insert_or_assign(name, answer);
}

void CCallScript::Expect(const std::string& name, const std::string& arguments,
                         const CAnswer& answer)
{
    m_expected.push_back({name + ' ' + arguments, answer});
}

void CCallScript::Forget()
{
    m_expected.clear();
    m_standing.clear();
    m_unexpected.clear();
}

CAnswer CCallScript::Take(const std::string& name, const std::string& arguments)
{
    const std::string call = name + ' ' + arguments;
    const auto expected =
        std::find_if(m_expected.begin(), m_expected.end(),
                     [&](const CExpectation& expectation) { return expectation.call == call; });
    if (expected != m_expected.end()) {
        CAnswer answer = expected->answer;
        m_expected.erase(expected);
        return answer;
    }
    const auto standing = m_standing.find(name);
    if (standing != m_standing.end()) {
        return standing->second;
    }
    m_unexpected += "unexpected: " + call + '\n';
    return CAnswer::Error("unexpected: " + call);
}

std::string CCallScript::Problems() const
{
    std::string problems = m_unexpected;
    for (const CExpectation& expectation : m_expected) {
        problems += "did not come: " + expectation.call + '\n';
    }
    return problems;
}

} // namespace Kestrove::Testing
