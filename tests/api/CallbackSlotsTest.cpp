#include <functional>

#include "tests/api/ApiTest.h"

namespace {

using Core::Maths::Vector2;
using Doubles::Recording;

/// A functor that counts itself while it lives.
template <typename... Arguments>
class CCountedFunctor : public Core::Functors::Detail::FunctorOf<void, Arguments...>::Type
{
public:
    explicit CCountedFunctor(int& alive) : m_alive(alive) { ++m_alive; }
    ~CCountedFunctor() override { --m_alive; }
    void operator()(Arguments... /*arguments*/) override {}

private:
    int& m_alive;
};

/// A functor for each of the nine slots, and how many of them live.
class CFunctors
{
public:
    void HandTo(CNavigationAPI& api)
    {
        m_deletions.clear();
        api.SetEngageStatusCallback(Make<bool, bool, bool, bool, bool>());
        api.SetGuidanceStatusCallback(Make<int, double, double, double>());
        api.SetOffsetCallback(Make<double>());
        api.SetWaylineStatusCallback(Make<bool, bool, bool, Kestrove::EWaylineType>());
        api.SetWaylineStatusCallback(Make<bool, bool, bool, Kestrove::EWaylineType, double>());
        api.SetImplementWidthCallback(Make<double>());
        api.SetTuningParameterChangedCallback(Make<Kestrove::ETuningParameter, double>());
        api.SetRelativePositionCallback(Make<const Vector2<double>&, double>());
        api.SetDrawPointsCallback(Make<const std::vector<Vector2<double>>&>());
    }
    int Alive() const { return m_alive; }
    /// Deletes those that were handed out last.
    void Delete()
    {
        for (const auto& deleteFunctor : m_deletions) {
            deleteFunctor();
        }
    }

private:
    template <typename... Arguments>
    CCountedFunctor<Arguments...>* Make()
    {
        auto* const functor = new CCountedFunctor<Arguments...>(m_alive);
        m_deletions.push_back([functor] { delete functor; });
        return functor;
    }

    int m_alive = 0;
    std::vector<std::function<void()>> m_deletions;
};

TEST(ClientDestruction, LeavesTheFunctorsOfAllNineSlotsIntact)
{
    Recording().Reset();
    CFunctors functors;
    {
        CNavigationAPI api;
        functors.HandTo(api);
        EXPECT_EQ(functors.Alive(), 9);
    }

    ASSERT_EQ(functors.Alive(), 9);

    functors.Delete();
    EXPECT_EQ(functors.Alive(), 0);
}

TEST(CallbackSlots, EachLetGoOfTheFunctorThatIsReplaced)
{
    Recording().Reset();
    CNavigationAPI api;
    CFunctors functors;
    functors.HandTo(api);

    functors.HandTo(api);

    ASSERT_EQ(functors.Alive(), 9);
    functors.Delete();
}

} // namespace
