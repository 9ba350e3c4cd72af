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
    void MakeTheCall();
    void CheckOutcome(double value);
    void CallTheSameServiceAgain();
    void CallAHealthyService();
    void StartService();

    const CFault& m_fault;
    CFault::Script m_script;
    const CCall& m_call;
    std::shared_ptr<void> m_condition;
    std::unique_ptr<CRawPeer> m_service;
    std::unique_ptr<CNavigationAPI> m_navigation;
    std::vector<double> m_offsets; // what the functor was called with
};

#endif
