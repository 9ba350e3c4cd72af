#ifndef KESTROVE_BINDINGS_PYTHON_CLIENT_H
#define KESTROVE_BINDINGS_PYTHON_CLIENT_H

#include <array>
#include <atomic>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "api/NavigationAPI.h"
#include "bindings/python/EventKinds.h"
#include "bindings/python/EventQueue.h"
#include "bindings/python/TraceLogging.h"
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
    /// Without a connection: the first call makes one attempt to connect.
    CClient() = default;
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
        const CTraceLogging traceLogging;
        return operation(Api());
    }

    /// Runs an operation as Call() does, and raises its failure where this client raises failures.
    ///
    /// @param operation as of Call().
    /// @param isFailure which errors are failures of this operation.
    /// @return what it returns.
    /// @throws pybind11::error_already_set the package's NavigationError.
    template <typename Operation>
    auto Operate(Operation operation, bool (*isFailure)(const LinkErrorC&) = &IsFailure)
    {
        using Result = std::invoke_result_t<Operation, CNavigationAPI&>;
        LinkErrorC error;
        const auto looking = [&](CNavigationAPI& api) {
            const CErrorReading reading{api, error};
            return operation(api);
        };
        if constexpr (std::is_void_v<Result>) {
            Call(looking);
            RaiseIfSoWished(error, isFailure);
        } else {
            Result result = Call(looking);
            RaiseIfSoWished(error, isFailure);
            return result;
        }
    }

    /// Whether operations raise their failures; false unless set. Touched under the GIL alone.
    bool raises = false;

    /// Replaces the callable of a kind of event; the old one is let go of, after it returns when it
    /// is running.
    ///
    /// @param callable called with the event's values; None for none.
    void SetCallable(std::size_t kind, pybind11::object callable);

    /// @param kinds the kinds that the queue is to get from now on.
    /// @return a new queue, to which the client keeps no claim.
    std::shared_ptr<CEventQueue> AddQueue(const EventKindSet& kinds);

    /// Hands an event to the queues and to the callable of its kind. Called by the library's
    /// client, within Call().
    ///
    /// @param makeEvent called with the GIL held; gives the event's named tuple.
    /// @throws pybind11::error_already_set what the callable raises.
    template <typename MakeEvent>
    void Deliver(std::size_t kind, MakeEvent makeEvent)
    {
        const pybind11::gil_scoped_acquire gil;
        Offer(kind, makeEvent());
    }

    /// Sets the time-out of calls, from the next one on. Does not wait for one that is under way.
    ///
    /// @param milliseconds -1 for no limit.
    void SetTimeout(int milliseconds) { m_timeoutMilliseconds = milliseconds; }
    /// @return the time-out of calls in milliseconds.
    int Timeout() const { return m_timeoutMilliseconds; }

    /// Closes the connection and lets go of all callables.
    void Disconnect();

    // For Python's search for objects that only refer to each other.
    int Traverse(visitproc visit, void* argument) const;
    void DropListeners();

private:
    static constexpr int kTimeoutMilliseconds = 2000;

    /// Takes an operation's error when the operation has ended, by whatever way.
    struct CErrorReading
    {
        ~CErrorReading() { error = api.LastError(); }
        CNavigationAPI& api;
        LinkErrorC& error;
    };

    static bool IsFailure(const LinkErrorC& error) { return error.code != ELinkError::NoError; }

    CNavigationAPI& Api();
    void SettleInChild();
    void RaiseIfSoWished(const LinkErrorC& error, bool (*isFailure)(const LinkErrorC&)) const;
    void Offer(std::size_t kind, const pybind11::object& event);
    bool HasListener(std::size_t kind);
    void Listen(std::size_t kind);

    std::unique_ptr<CNavigationAPI> m_api; // null until the first call; by the client's lock
    std::unique_ptr<CTurns> m_turns = std::make_unique<CTurns>();
    std::atomic<int> m_timeoutMilliseconds{kTimeoutMilliseconds};
    int m_timeoutInForceMilliseconds = kTimeoutMilliseconds; // by the client's lock
    std::array<bool, kEventKindCount> m_isListening{};       // by the client's lock
    std::array<pybind11::object, kEventKindCount> m_callables;
    std::vector<std::weak_ptr<CEventQueue>> m_queues;
};

/// The reason of a failure: the arguments of Python's LinkError and NavigationError.
pybind11::tuple Reason(const LinkErrorC& error);

/// Raises Python's NavigationError.
///
/// @throws pybind11::error_already_set always.
[[noreturn]] void Raise(const LinkErrorC& error);

/// Adds Python's NavigationClient to the module.
void DefineClient(pybind11::module_& module);

} // namespace Kestrove::Python

#endif
