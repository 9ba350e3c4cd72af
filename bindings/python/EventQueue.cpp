#include "bindings/python/EventQueue.h"

#include <utility>

#include "bindings/python/Client.h"
#include "bindings/python/Collection.h"
#include "bindings/python/Waiting.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostEvents = 4096;

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
        const Delivery delivery = DeliverEvents(client.cast<CClient&>());
        if (!queue->events.empty()) {
            break;
        }
        const Seconds left =
            m_timeout ? Seconds(*m_timeout - (Clock::now() - start)) : kLongestWait;
        if (left <= Seconds::zero()) {
            m_ended = true;
        } else {
            WaitForInput(delivery.descriptor, left);
        }
    }
    if (queue->events.empty()) {
        throw py::stop_iteration();
    }
    py::object event = std::move(queue->events.front());
    queue->events.pop_front();
    return event;
}

void CEventIterator::Close()
{
    m_ended = true;
    m_queue->kinds.reset();
    m_queue->events.clear();
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
    py::class_<CEventIterator> iterator(
        module, "EventIterator", TakesPartInCollection<CEventIterator>(),
        "The events of a client as they come; see NavigationClient.events().");
    iterator.def("__iter__", [](py::object self) { return self; })
        .def("__next__", &CEventIterator::Next)
        .def("close", &CEventIterator::Close, "Ends the iteration; no more events are kept for it.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](CEventIterator& self, const py::args&) { self.Close(); });
    // Annotations name the kind of events: EventIterator[GuidanceStatus].
    const py::object alias = py::module_::import("types").attr("GenericAlias");
    iterator.attr("__class_getitem__") = py::module_::import("builtins").attr("classmethod")(alias);
}

} // namespace Kestrove::Python
