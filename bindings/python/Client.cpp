#include "bindings/python/Client.h"

#include <algorithm>

#include "bindings/python/Collection.h"
#include "bindings/python/Text.h"

namespace py = pybind11;

namespace Kestrove::Python {

py::tuple Reason(const LinkErrorC& error)
{
    const auto values = py::module_::import("kestrove_navigation._values");
    return py::make_tuple(values.attr("ErrorCode")(static_cast<int>(error.code)),
                          ToPythonText(error.text));
}

void Raise(const LinkErrorC& error)
{
    const py::object type =
        py::module_::import("kestrove_navigation._values").attr("NavigationError");
    PyErr_SetObject(type.ptr(), type(*Reason(error)).ptr());
    throw py::error_already_set();
}

CClient::~CClient()
{
    if (m_turns->IsOfTheParent()) {
        SettleInChild();
    }
    // The library's client leaves its functors alone.
    for (std::size_t kind = 0; kind < kEventKindCount; ++kind) {
        if (m_isListening[kind]) {
            kEventKinds[kind].listen(*m_api, nullptr);
        }
    }
}

/// Called with the GIL held, so that it is over before any thread's next operation.
void CClient::SettleInChild()
{
    // Left where it is: a call that forked within a callable still refers to it.
    const CTurns& parents = *m_turns.release();
    m_turns = std::make_unique<CTurns>();
    if (!parents.IsHeldByAnother() || m_api == nullptr) {
        return;
    }
    // What the other thread had begun is not destroyed either; its link is the parent's.
    m_api.release()->Close();
    m_timeoutInForceMilliseconds = kTimeoutMilliseconds; // a new client's
    for (std::size_t kind = 0; kind < kEventKindCount; ++kind) {
        if (m_isListening[kind]) {
            kEventKinds[kind].listen(Api(), this);
        }
    }
}

void CClient::SetCallable(std::size_t kind, py::object callable)
{
    if (callable.is_none()) {
        callable = py::object();
    }
    // The old one goes at the end of this function: its going may run anything.
    std::swap(m_callables[kind], callable);
    Listen(kind);
}

std::shared_ptr<CEventQueue> CClient::AddQueue(const EventKindSet& kinds)
{
    m_queues.erase(std::remove_if(m_queues.begin(), m_queues.end(),
                                  [](const auto& queue) { return queue.expired(); }),
                   m_queues.end());
    const auto added = std::make_shared<CEventQueue>();
    added->kinds = kinds;
    m_queues.push_back(added);
    for (std::size_t kind = 0; kind < kEventKindCount; ++kind) {
        if (kinds.test(kind)) {
            Listen(kind);
        }
    }
    return added;
}

bool CClient::HasListener(std::size_t kind)
{
    return m_callables[kind] || std::any_of(m_queues.begin(), m_queues.end(), [&](const auto& it) {
               const auto queue = it.lock();
               return queue && queue->kinds.test(kind);
           });
}

/// Makes the library's client deliver a kind of event exactly when somebody listens.
void CClient::Listen(std::size_t kind)
{
    Call([&](CNavigationAPI& api) {
        bool isWanted = false;
        {
            const py::gil_scoped_acquire gil;
            isWanted = HasListener(kind);
        }
        if (isWanted != m_isListening[kind]) {
            m_isListening[kind] = isWanted;
            kEventKinds[kind].listen(api, isWanted ? this : nullptr);
        }
    });
}

void CClient::Offer(std::size_t kind, const py::object& event)
{
    for (const auto& it : m_queues) {
        const auto queue = it.lock();
        if (queue && queue->kinds.test(kind)) {
            queue->Push(event);
        }
    }
    // Held here while it runs, since it may replace itself.
    const py::object callable = m_callables[kind];
    if (callable) {
        callable(*event);
    }
}

CNavigationAPI& CClient::Api()
{
    if (m_api == nullptr) {
        m_api = std::make_unique<CNavigationAPI>();
    }
    const int timeoutMilliseconds = m_timeoutMilliseconds;
    if (timeoutMilliseconds != m_timeoutInForceMilliseconds) {
        m_api->SetTimeout(timeoutMilliseconds);
        m_timeoutInForceMilliseconds = timeoutMilliseconds;
    }
    return *m_api;
}

void CClient::RaiseIfSoWished(const LinkErrorC& error, bool (*isFailure)(const LinkErrorC&)) const
{
    if (raises && isFailure(error)) {
        Raise(error);
    }
}

void CClient::Disconnect()
{
    for (std::size_t kind = 0; kind < kEventKindCount; ++kind) {
        SetCallable(kind, py::none());
    }
    Call([](CNavigationAPI& api) { api.Destroy(); });
}

int CClient::Traverse(visitproc visit, void* argument) const
{
    for (const py::object& callable : m_callables) {
        if (const int result = Visit(callable, visit, argument)) {
            return result;
        }
    }
    return 0;
}

void CClient::DropListeners()
{
    for (py::object& callable : m_callables) {
        const py::object dropped = std::exchange(callable, py::object());
    }
}

} // namespace Kestrove::Python
