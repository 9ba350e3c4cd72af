#ifndef KESTROVE_TESTING_CALLSCRIPT_H
#define KESTROVE_TESTING_CALLSCRIPT_H

#include <map>
#include <string>
#include <vector>

#include "testing/Answer.h"

namespace Kestrove::Testing {

/// What a test has written down: expected calls, standing answers, and what did not go by them.
///
/// Thread safety: none.
class CCallScript
{
public:
    void Answer(const std::string& name, const CAnswer& answer);
    void Expect(const std::string& name, const std::string& arguments, const CAnswer& answer);
    void Forget();

    /// What to do with a call. One that is not in the script is noted and answered with an error.
    CAnswer Take(const std::string& name, const std::string& arguments);
    /// Notes a line of what the test itself did wrong; nothing when it is empty.
    void Note(const std::string& problem) { m_unexpected += problem; }
    /// Calls nobody expected, what was noted, and expected calls that did not come, a line each.
    std::string Problems() const;

private:
    struct CExpectation
    {
        std::string call; // name and arguments
        CAnswer answer;
    };

    std::vector<CExpectation> m_expected; // in the order written; those that came are gone
    std::map<std::string, CAnswer> m_standing;
    std::string m_unexpected;
};

} // namespace Kestrove::Testing

#endif
