#ifndef KESTROVE_TESTS_INTEGRATION_EVENTCLIENT_H
#define KESTROVE_TESTS_INTEGRATION_EVENTCLIENT_H

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "api/NavigationAPI.h"

/// A client that writes down what its functors are called with, a line each. It subscribes to the
/// events that it is asked to, by the name of the setter's event.
class CEventClient : public CNavigationAPI
{
public:
    using Points = std::vector<Core::Maths::Vector2<double>>;

    ~CEventClient() override { ReleaseFunctors(); }

    void TakeEngageStatus();
    void TakeGuidanceStatus();
    void TakeOffsets();
    void TakeWaylineStatusOfFour();
    void TakeWaylineStatusOfFive();
    void TakeImplementWidth();
    void TakeTuningParameter();
    void TakeRelativePosition();
    void TakeDrawPoints();
    void TakeAll();

    /// Processes events until there are so many calls, for at most ten seconds.
    bool ProcessUntil(std::size_t calls);
    const std::vector<std::string>& Calls() const { return m_calls; }

private:
    template <typename... Values>
    void Note(const char* what, const Values&... values)
    {
        std::ostringstream line;
        line << what;
        ((line << ' ' << values), ...);
        m_calls.push_back(line.str());
    }
    void ReleaseFunctors();

    std::vector<std::string> m_calls;
};

#endif
