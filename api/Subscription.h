#ifndef KESTROVE_API_SUBSCRIPTION_H
#define KESTROVE_API_SUBSCRIPTION_H

/// @file
/// Subscriptions to events, which end by themselves.

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/NavigationAPI.h"

namespace Kestrove {

// How a subscription is made for each event. Applications use OnEngageStatus() and the others
// below.
namespace Detail {

/// What an event carries, and the functor that takes it.
template <typename... Arguments>
struct Event
{
    using Functor = typename Core::Functors::Detail::FunctorOf<void, Arguments...>::Type;
    using Setter = void (CNavigationAPI::*)(Functor*);

    template <typename Callable>
    static constexpr bool kIsTakenBy = std::is_invocable_v<Callable&, Arguments...>;
};

using EngageStatus = Event<bool, bool, bool, bool, bool>;
using GuidanceStatus = Event<int, double, double, double>;
using Number = Event<double>;
using WaylineStatus = Event<bool, bool, bool, EWaylineType>;
using WaylineStatusAndLength = Event<bool, bool, bool, EWaylineType, double>;
using TuningParameterChanged = Event<ETuningParameter, double>;
using RelativePosition = Event<const Core::Maths::Vector2<double>&, double>;
using DrawPoints = Event<const std::vector<Core::Maths::Vector2<double>>&>;

/// Holds a callable, and says to the subscription when the client has let go of it.
template <typename Callable, typename... Arguments>
class SubscribedFunctor final : public Event<Arguments...>::Functor
{
public:
    SubscribedFunctor(Callable callable, std::shared_ptr<bool> isHeld)
        : m_callable(std::make_shared<Callable>(std::move(callable))), m_isHeld(std::move(isHeld))
    {
    }
    SubscribedFunctor(const SubscribedFunctor&) = delete;
    SubscribedFunctor& operator=(const SubscribedFunctor&) = delete;
    ~SubscribedFunctor() override { *m_isHeld = false; }

    void operator()(Arguments... arguments) override
    {
        // The callable may end its subscription, and this functor with it.
        const std::shared_ptr<Callable> callable = m_callable;
        static_cast<void>(std::invoke(*callable, std::forward<Arguments>(arguments)...));
    }

private:
    std::shared_ptr<Callable> m_callable;
    std::shared_ptr<bool> m_isHeld;
};

template <typename Callable, typename... Arguments>
SubscribedFunctor<Callable, Arguments...>*
MakeSubscribed(Event<Arguments...> /*event*/, Callable callable, std::shared_ptr<bool> isHeld)
{
    return new SubscribedFunctor<Callable, Arguments...>(std::move(callable), std::move(isHeld));
}

} // namespace Detail

/// An application's wish to be called with an event, for as long as the object lives:
///
///     const Kestrove::Subscription shifts =
///         Kestrove::OnOffset(navigation, [](double shift) { Show(shift); });
///
/// A client calls one callable an event: a later subscription to the same event, or the client's
/// own setter, ends an earlier one, which then no longer concerns the client. (The event of the
/// wayline's status has two callables, one for each number of arguments.) The callable is moved or
/// copied into the subscription and destroyed with it, or, when it ends its own subscription, after
/// its call.
///
/// Lifetime: a subscription is moved freely, and must end before its client is destroyed; declared
/// behind the client, it does. Thread safety: none; it is used from the client's thread.
class [[nodiscard]] Subscription
{
public:
    /// A subscription to nothing.
    Subscription() = default;
    /// Takes over another's subscription.
    ///
    /// @param other holds nothing afterwards.
    Subscription(Subscription&& other) noexcept = default;
    /// Ends the present subscription, and takes over another's.
    ///
    /// @param other holds nothing afterwards.
    /// @return this object.
    Subscription& operator=(Subscription&& other) noexcept
    {
        Subscription taken(std::move(other)); // also where it is this very object
        std::swap(m_isHeld, taken.m_isHeld);
        std::swap(m_client, taken.m_client);
        std::swap(m_clear, taken.m_clear);
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    /// Ends the subscription.
    ~Subscription() { End(); }

    /// @return whether the callable is still called: there is one, and nothing has ended it.
    [[nodiscard]] bool IsActive() const { return m_isHeld != nullptr && *m_isHeld; }

    /// Ends the subscription: the callable is not called any more. Does nothing where it has ended.
    void End()
    {
        const std::shared_ptr<bool> isHeld = std::move(m_isHeld);
        m_isHeld = nullptr;
        if (isHeld != nullptr && *isHeld) {
            m_clear(*m_client);
        }
    }

    /// Subscribes by one of the client's setters. Applications use OnEngageStatus() and the others.
    ///
    /// @param client must outlive the subscription.
    /// @param callable what is called.
    /// @return the subscription.
    template <typename Event, typename Event::Setter kSetter, typename Callable>
    [[nodiscard]] static Subscription To(CNavigationAPI& client, Callable callable)
    {
        static_assert(Event::template kIsTakenBy<Callable>,
                      "the callable cannot be called with what this event carries");
        const auto isHeld = std::make_shared<bool>(true);
        (client.*kSetter)(Detail::MakeSubscribed(Event(), std::move(callable), isHeld));
        // Not before: what throws above has not touched the one that is called now.
        Subscription subscription;
        subscription.m_isHeld = isHeld;
        subscription.m_client = &client;
        subscription.m_clear = [](CNavigationAPI& api) { (api.*kSetter)(nullptr); };
        return subscription;
    }

private:
    std::shared_ptr<bool> m_isHeld; // the functor says false there when it goes
    CNavigationAPI* m_client = nullptr;
    void (*m_clear)(CNavigationAPI&) = nullptr;
};

/// Subscribes to the state of steering; see CNavigationAPI::SetEngageStatusCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (bool, bool, bool, bool, bool).
/// @return the subscription.
template <typename Callable>
Subscription OnEngageStatus(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::EngageStatus, &CNavigationAPI::SetEngageStatusCallback>(
        client, std::move(callable));
}

/// Subscribes to the state of guidance; see CNavigationAPI::SetGuidanceStatusCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (int, double, double, double).
/// @return the subscription.
template <typename Callable>
Subscription OnGuidanceStatus(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::GuidanceStatus, &CNavigationAPI::SetGuidanceStatusCallback>(
        client, std::move(callable));
}

/// Subscribes to the line's shift; see CNavigationAPI::SetOffsetCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (double), metres.
/// @return the subscription.
template <typename Callable>
Subscription OnOffset(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::Number, &CNavigationAPI::SetOffsetCallback>(
        client, std::move(callable));
}

/// Subscribes to the wayline's status; see CNavigationAPI::SetWaylineStatusCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (bool, bool, bool, EWaylineType, double) where it can be, and
///        otherwise without the last.
/// @return the subscription.
template <typename Callable>
Subscription OnWaylineStatus(CNavigationAPI& client, Callable callable)
{
    if constexpr (Detail::WaylineStatusAndLength::kIsTakenBy<Callable>) {
        return Subscription::To<Detail::WaylineStatusAndLength,
                                &CNavigationAPI::SetWaylineStatusCallback>(client,
                                                                           std::move(callable));
    } else {
        return Subscription::To<Detail::WaylineStatus, &CNavigationAPI::SetWaylineStatusCallback>(
            client, std::move(callable));
    }
}

/// Subscribes to changes of the implement's width; see CNavigationAPI::SetImplementWidthCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (double), metres.
/// @return the subscription.
template <typename Callable>
Subscription OnImplementWidth(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::Number, &CNavigationAPI::SetImplementWidthCallback>(
        client, std::move(callable));
}

/// Subscribes to changes of the controller; see
/// CNavigationAPI::SetTuningParameterChangedCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (ETuningParameter, double).
/// @return the subscription.
template <typename Callable>
Subscription OnTuningParameterChanged(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::TuningParameterChanged,
                            &CNavigationAPI::SetTuningParameterChangedCallback>(
        client, std::move(callable));
}

/// Subscribes to the machine's position; see CNavigationAPI::SetRelativePositionCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (const Core::Maths::Vector2<double>&, double).
/// @return the subscription.
template <typename Callable>
Subscription OnRelativePosition(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::RelativePosition, &CNavigationAPI::SetRelativePositionCallback>(
        client, std::move(callable));
}

/// Subscribes to points to draw; see CNavigationAPI::SetDrawPointsCallback().
///
/// @param client must outlive the subscription.
/// @param callable is called with (const std::vector<Core::Maths::Vector2<double>>&).
/// @return the subscription.
template <typename Callable>
Subscription OnDrawPoints(CNavigationAPI& client, Callable callable)
{
    return Subscription::To<Detail::DrawPoints, &CNavigationAPI::SetDrawPointsCallback>(
        client, std::move(callable));
}

} // namespace Kestrove

#endif
