// Python's NavigationClient, without the operations.

#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "bindings/python/Casters.h"
#include "bindings/python/Client.h"
#include "bindings/python/Collection.h"
#include "bindings/python/Operations.h"
#include "bindings/python/Waiting.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

constexpr const char* kSummary =
    "The connection to the navigation service on this machine, port 5010.\n\n"
    "Making one makes one attempt to connect, or leaves that to the first call, and succeeds "
    "whether "
    "or not the service is there; every operation tries again. An operation returns what the "
    "service replied, or its failure value, and raises nothing: last_error tells why the last call "
    "failed. Where raises is set, a failure raises a NavigationError in place of that. While a "
    "call "
    "waits, other threads run; a second thread's call on the same client waits for the first to "
    "end.";

std::optional<double> TimeoutSeconds(const CClient& client)
{
    const int milliseconds = client.Timeout();
    return milliseconds == -1 ? std::nullopt : std::optional(milliseconds / 1000.0);
}

void SetTimeoutSeconds(CClient& client, std::optional<double> seconds)
{
    const double milliseconds = std::ceil(seconds.value_or(0.0) * 1000.0);
    if (!(milliseconds >= 0.0 && milliseconds <= std::numeric_limits<int>::max())) {
        throw py::value_error("a time-out is None or a number of seconds from 0 on");
    }
    client.SetTimeout(seconds ? static_cast<int>(milliseconds) : -1);
}

LinkErrorC LastErrorOf(CClient& client)
{
    return client.Call([](CNavigationAPI& api) { return api.LastError(); });
}

py::object LastError(CClient& client)
{
    const LinkErrorC error = LastErrorOf(client);
    const auto values = py::module_::import("kestrove_navigation._values");
    return error.code == ELinkError::NoError ? py::object(py::none())
                                             : values.attr("LinkError")(*Reason(error));
}

void RaiseForError(CClient& client)
{
    const LinkErrorC error = LastErrorOf(client);
    if (error.code != ELinkError::NoError) {
        Raise(error);
    }
}

/// @param connects whether the attempt to connect is made now, while other Python threads run, and
///                 not by the first call.
std::unique_ptr<CClient> MakeClient(bool raises, bool connects)
{
    auto client = std::make_unique<CClient>();
    client->raises = raises;
    if (connects) {
        client->Call([](CNavigationAPI&) {});
    }
    return client;
}

EventKindSet KindsOf(const py::args& types)
{
    EventKindSet kinds;
    const auto values = py::module_::import("kestrove_navigation._values");
    for (const py::handle type : types) {
        std::size_t kind = 0;
        while (kind < kEventKindCount && !type.is(values.attr(kEventKinds[kind].type))) {
            ++kind;
        }
        if (kind == kEventKindCount) {
            throw py::type_error("no kind of event: " + py::repr(type).cast<std::string>());
        }
        kinds.set(kind);
    }
    return kinds.none() ? kinds.set() : kinds;
}

std::unique_ptr<CEventIterator> Events(const py::object& client, const py::args& kinds,
                                       const py::object& timeout)
{
    // Converted here, since pybind11 takes no int for a float behind *args.
    std::optional<std::chrono::duration<double>> seconds;
    if (!timeout.is_none()) {
        seconds.emplace(py::float_(timeout).cast<double>());
        if (!(seconds->count() >= 0.0)) {
            throw py::value_error("a time-out is None or a number of seconds from 0 on");
        }
    }
    return std::make_unique<CEventIterator>(client, KindsOf(kinds), seconds);
}

py::object SetEventCallable(CClient& client, std::size_t kind, py::object callable)
{
    if (!callable.is_none() && PyCallable_Check(callable.ptr()) == 0) {
        throw py::type_error("neither callable nor None");
    }
    client.SetCallable(kind, callable);
    return callable;
}

void DefineEvents(py::class_<CClient>& client)
{
    for (std::size_t kind = 0; kind < kEventKindCount; ++kind) {
        const EventKind& event = kEventKinds[kind];
        const std::string summary =
            std::string("Has ") + event.type + " events call callable(" + event.arguments +
            ") from now on, in place of the one before; None ends that. Returns the callable.";
        client.def(
            event.operation,
            [kind](CClient& self, py::object callable) {
                return SetEventCallable(self, kind, std::move(callable));
            },
            summary.c_str(), py::arg("callable"));
    }
    client
        .def(
            "events", &Events,
            "The events of these kinds (classes such as GuidanceStatus; all without any) as they "
            "come. Ends when none has come for the time-out, in seconds; never for None. Callables "
            "are called meanwhile.",
            py::arg("timeout") = py::none())
        .def(
            "process_messages", &ProcessMessages,
            "Delivers the events that have arrived, having waited for one up to the time-out if so "
            "wished, and tells whether there was one. What a callable or a signal handler raises "
            "passes through; the events behind it stay. Other threads may call meanwhile.",
            py::arg("wait") = false)
        .def(
            "check_callbacks",
            [](CClient& self) {
                return self.Call([](CNavigationAPI& api) { return api.CheckCallbacks(); });
            },
            "Delivers the events that have arrived, without waiting, and gives their number.")
        .def_property_readonly(
            "dropped_events",
            [](CClient& self) {
                return self.Call([](CNavigationAPI& api) { return api.DroppedEvents(); });
            },
            "How many events have been dropped because too many waited.");
}

void DefineConnection(py::class_<CClient>& client)
{
    client
        .def_property("timeout", &TimeoutSeconds, &SetTimeoutSeconds,
                      "How long a call waits, in seconds; None for no limit. 2.0 unless set. An "
                      "operation cannot be interrupted while it waits; process_messages() can.")
        .def_readwrite("raises", &CClient::raises,
                       "Whether an operation that fails raises a NavigationError.")
        .def_property_readonly("last_error", &LastError,
                               "The LinkError of the last call; None when it did not fail.")
        .def("raise_for_error", &RaiseForError,
             "Raises a NavigationError when the last call failed.")
        .def(
            "verify_connection",
            [](CClient& self) {
                return self.Call([](CNavigationAPI& api) { return api.VerifyConnection(); });
            },
            "Whether the connection is usable, after one attempt to reopen a lost one.")
        .def(
            "is_link_up",
            [](CClient& self) {
                return self.Call([](CNavigationAPI& api) { return api.IsLinkUp(); });
            },
            "Whether the connection is usable, without an attempt to reopen it.")
        .def(
            "fileno",
            [](CClient& self) {
                return self.Call([](CNavigationAPI& api) { return api.Descriptor(); });
            },
            "The descriptor that becomes readable when something arrives; -1 without a connection. "
            "Another one after every reconnection.")
        .def("disconnect", &CClient::Disconnect,
             "Closes the connection and lets go of all callables. A later call connects again.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](CClient& self, const py::args&) { self.Disconnect(); });
}

} // namespace

void DefineClient(py::module_& module)
{
    py::class_<CClient> client(module, "NavigationClient", TakesPartInCollection<CClient>(),
                               kSummary);
    client.def(py::init(&MakeClient), py::kw_only(), py::arg("raises") = false,
               py::arg("connect") = true);
    DefineConnection(client);
    DefineOperations(client);
    DefineEvents(client);
}

} // namespace Kestrove::Python
