#ifndef KESTROVE_TESTS_API_LAYOUTSUBJECTS_H
#define KESTROVE_TESTS_API_LAYOUTSUBJECTS_H

#include "api/NavigationAPI.h"

/// Functors as applications derive them, for a look at their slots; no object of them is ever made.
namespace LayoutSubjects {

class CFunctor1 : public Core::Functors::Functor1<void, double>
{
public:
    ~CFunctor1() override;
    void operator()(double) override;
};

class CFunctor2 : public Core::Functors::Functor2<void, Kestrove::ETuningParameter, double>
{
public:
    ~CFunctor2() override;
    void operator()(Kestrove::ETuningParameter, double) override;
};

class CFunctor3 : public Core::Functors::Functor3<int, int, double, bool>
{
public:
    ~CFunctor3() override;
    int operator()(int, double, bool) override;
};

class CFunctor4 : public Core::Functors::Functor4<void, int, double, double, double>
{
public:
    ~CFunctor4() override;
    void operator()(int, double, double, double) override;
};

class CFunctor5 : public Core::Functors::Functor5<void, bool, bool, bool, bool, bool>
{
public:
    ~CFunctor5() override;
    void operator()(bool, bool, bool, bool, bool) override;
};

} // namespace LayoutSubjects

#endif
