#ifndef KESTROVE_BINDINGS_PYTHON_EVENTQUEUE_H
#define KESTROVE_BINDINGS_PYTHON_EVENTQUEUE_H

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

#include <pybind11/pybind11.h>

#include "bindings/python/EventKinds.h"

namespace Kestrove::Python {

/// Events that wait for one iteration, oldest first. Touched under the GIL alone.
struct CEventQueue
{
    EventKindSet kinds;                  ///< which it gets
    std::deque<pybind11::object> events; ///< named tuples

    /// Appends an event; beyond the number that the library keeps itself, the oldest goes.
    void Push(const pybind11::object& event);
};

/// Python's EventIterator: gives the events of a client as they come, and ends when none has come
/// for a time. Touched under the GIL alone.
class CEventIterator
{
public:
    /// @param client a NavigationClient, kept alive.
    /// @param kinds the kinds of events.
    /// @param timeout how long to wait for each event; none for no limit.
    CEventIterator(pybind11::object client, const EventKindSet& kinds,
                   std::optional<std::chrono::duration<double>> timeout);

    /// @return the next event's named tuple. Other events are delivered meanwhile.
    /// @throws pybind11::stop_iteration when none came in time, and ever after;
    ///         pybind11::error_already_set what a callable or a signal handler raises.
    pybind11::object Next();

    /// Ends the iteration: no more events are kept for it, and those that are go.
    void Close();

    // For Python's search for objects that only refer to each other.
    int Traverse(visitproc visit, void* argument) const;
    void DropListeners();

private:
    pybind11::object m_client;
    std::shared_ptr<CEventQueue> m_queue;
    std::optional<std::chrono::duration<double>> m_timeout;
    bool m_ended = false;
};

/// Adds Python's EventIterator to the module.
void DefineEventIterator(pybind11::module_& module);

} // namespace Kestrove::Python

#endif
