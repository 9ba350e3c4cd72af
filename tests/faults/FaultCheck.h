#ifndef KESTROVE_TESTS_FAULTS_FAULTCHECK_H
#define KESTROVE_TESTS_FAULTS_FAULTCHECK_H

#include <memory>
#include <vector>

#include "tests/faults/Calls.h"
#include "tests/faults/Fault.h"

/// One call under one variant of a fault. See CheckFault() for what is checked.
class CFaultCheck
{
public:
    CFaultCheck(const CFault& fault, CFault::Script script, const CCall& call)
        : m_fault(fault), m_script(std::move(script)), m_call(call)
    {
    }

    void Run();

private:
    void Prepare();
    void StartService();
    void RegisterFunctors();
    /// Makes a call and checks what every call owes.
    double Make(const CCall& call, int timeoutMilliseconds);
    int TimeoutUnderTheFault() const; // in milliseconds
    void CallUnderTheFault();
    void AwaitTheFault();
    void CheckReply(double value);
    void CheckNotification();
    void CallTheSameServiceAgain();
    void CallAHealthyService();

    const CFault& m_fault;
    CFault::Script m_script;
    const CCall& m_call;
    std::shared_ptr<void> m_condition;
    std::unique_ptr<CRawPeer> m_service;
    std::unique_ptr<CNavigationAPI> m_navigation;
    std::vector<double> m_offsets; // what the functors were called with
    std::vector<int> m_states;
    std::size_t m_timesSent = 0; // the last call
    int m_interruptions = 0;     // of the last call
    bool m_isUnderTheFault = false;
};

#endif
