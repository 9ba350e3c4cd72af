#include "bindings/python/EventQueue.h"

#include <algorithm>
#include <utility>

#include <poll.h>

#include "bindings/python/Client.h"
#include "bindings/python/Collection.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t kMostEvents = 4096;
// Events that another thread's call takes in make no descriptor readable: they are looked for.
constexpr Seconds kLongestWait{0.1};

/// Delivers what has arrived.
///
/// @return the descriptor to wait for; -1 for none.
int DeliverEvents(CClient& client)
{
    return client.Call([](CNavigationAPI& api) {
        api.CheckCallbacks();
        return api.Descriptor();
    });
}

void WaitForInput(int descriptor, Seconds atMost)
{
    const int milliseconds = static_cast<int>(std::min(atMost, kLongestWait).count() * 1000.0) + 1;
    {
        const py::gil_scoped_release withoutGil;
        pollfd wait = {descriptor, POLLIN, 0};
        poll(&wait, 1, milliseconds);
    }
    if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
}

} // namespace

void CEventQueue::Push(const py::object& event)
{
    events.push_back(event);
    if (events.size() > kMostEvents) {
        events.pop_front();
    }
}

CEventIterator::CEventIterator(py::object client, const EventKindSet& kinds,
                               std::optional<Seconds> timeout)
    : m_client(std::move(client)), m_queue(m_client.cast<CClient&>().AddQueue(kinds)),
      m_timeout(timeout)
{
}

py::object CEventIterator::Next()
{
    // Kept for themselves: a callable that is called meanwhile may end the iteration's life.
    const py::object client = m_client;
    const std::shared_ptr<CEventQueue> queue = m_queue;
    const auto start = Clock::now();
    while (client && !m_ended && queue->events.empty()) {
        const int descriptor = DeliverEvents(client.cast<CClient&>());
        if (!queue->events.empty()) {
            break;
        }
        const Seconds left =
            m_timeout ? Seconds(*m_timeout - (Clock::now() - start)) : kLongestWait;
        if (left <= Seconds::zero()) {
            m_ended = true;
        } else {
            WaitForInput(descriptor, left);
        }
    }
    if (queue->events.empty()) {
        throw py::stop_iteration();
    }
    py::object event = std::move(queue->events.front());
    queue->events.pop_front();
    return event;
}

int CEventIterator::Traverse(visitproc visit, void* argument) const
{
    // The events hold numbers and points alone.
    return Visit(m_client, visit, argument);
}

void CEventIterator::DropListeners()
{
    m_client = py::object();
}

void DefineEventIterator(py::module_& module)
{
    py::class_<CEventIterator>(module, "EventIterator", TakesPartInCollection<CEventIterator>(),
                               "The events of a client as they come; see "
                               "NavigationClient.events().")
        .def("__iter__", [](py::object iterator) { return iterator; })
        .def("__next__", &CEventIterator::Next);
}

} // namespace Kestrove::Python
