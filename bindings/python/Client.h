#ifndef KESTROVE_BINDINGS_PYTHON_CLIENT_H
#define KESTROVE_BINDINGS_PYTHON_CLIENT_H

#include <array>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "api/NavigationAPI.h"
#include "bindings/python/EventKinds.h"
#include "bindings/python/EventQueue.h"
#include "bindings/python/Turn.h"

namespace Kestrove::Python {

/// What Python's NavigationClient holds: the library's client, a lock, and the listeners.
///
/// Two locks meet here: Python's own (the GIL) and this client's. Whoever wants the client's gives
/// the GIL away first, as Call() does, so that a thread that holds the client's and takes the GIL
/// to call into Python never waits in vain.
///
/// Thread safety: Call() from any thread; a second thread waits. The listeners are Python objects
/// and are touched under the GIL alone.
/// Forking: a child has a lock of its own, since nobody there gives back one that another thread of
/// its parent held. Where that thread was in the middle of an operation, the child goes on with a
/// new CNavigationAPI, because nobody knows how far the old one is.
/// Lifetime: made with the GIL held, and destroyed with it by Python when nothing refers to it any
/// more, which a call under way does.
class CClient
{
public:
    /// Makes one attempt to connect, while other Python threads run.
    CClient();
    /// Closes the connection and lets go of the listeners.
    ~CClient();
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    /// Runs an operation on the library's client: with the client's lock and without the GIL, so
    /// that other Python threads run while it waits. Within a callable of the same thread, too.
    ///
    /// @param operation called with the CNavigationAPI; must not touch a Python object.
    /// @return what it returns; what it throws passes through.
    template <typename Operation>
    auto Call(Operation operation)
    {
        if (m_turns->IsOfTheParent()) {
            SettleInChild();
        }
        CTurns& turns = *m_turns;
        const pybind11::gil_scoped_release withoutGil;
        const CTurn turn(turns);
        return operation(*m_api);
    }

    /// Replaces the callable of a kind of event; the old one is let go of, after it returns when it
    /// is running.
    ///
    /// @param kind the kind.
    /// @param callable called with the event's values; None for none.
    void SetCallable(std::size_t kind, pybind11::object callable);

    /// @param kinds the kinds that the queue is to get from now on.
    /// @return a new queue, to which the client keeps no claim.
    std::shared_ptr<CEventQueue> AddQueue(const EventKindSet& kinds);

    /// Hands an event to the queues and to the callable of its kind. Called by the library's
    /// client, within Call().
    ///
    /// @param kind the kind.
    /// @param makeEvent called with the GIL held; gives the event's named tuple.
    /// @throws pybind11::error_already_set what the callable raises.
    template <typename MakeEvent>
    void Deliver(std::size_t kind, MakeEvent makeEvent)
    {
        // The library's trace line lies in C's buffer, which Python's sys.stdout.flush() does not
        // reach. It comes before what the callable prints.
        std::fflush(stdout);
        const pybind11::gil_scoped_acquire gil;
        Offer(kind, makeEvent());
    }

    /// Sets the time-out of calls.
    ///
    /// @param milliseconds -1 for no limit.
    void SetTimeout(int milliseconds);
    /// @return the time-out of calls in milliseconds.
    int Timeout() const { return m_timeoutMilliseconds; }

    /// Closes the connection and lets go of all callables.
    void Disconnect();

    // For Python's search for objects that only refer to each other.
    int Traverse(visitproc visit, void* argument) const;
    void DropListeners();

private:
    void SettleInChild();
    void Offer(std::size_t kind, const pybind11::object& event);
    bool HasListener(std::size_t kind);
    void Listen(std::size_t kind);

    std::unique_ptr<CNavigationAPI> m_api;
    std::unique_ptr<CTurns> m_turns = std::make_unique<CTurns>();
    int m_timeoutMilliseconds = 2000;
    std::array<bool, kEventKindCount> m_isListening{}; // by the client's lock
    std::array<pybind11::object, kEventKindCount> m_callables;
    std::vector<std::weak_ptr<CEventQueue>> m_queues;
};

/// Adds Python's NavigationClient to the module.
void DefineClient(pybind11::module_& module);

} // namespace Kestrove::Python

#endif
