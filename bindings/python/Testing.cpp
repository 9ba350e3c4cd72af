// The extension module behind kestrove_navigation.testing.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "bindings/python/Closable.h"
#include "bindings/python/Driving.h"
#include "bindings/python/Lists.h"
#include "bindings/python/Text.h"
#include "testing/ScriptedService.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Testing::CAnswer;
using Testing::CReceived;
using Testing::CScriptedService;
using Testing::CValue;
using Testing::EListen;

using CService = CClosable<CScriptedService>;

std::vector<CValue> ValuesOf(const BListC& list);

CValue ValueAt(const BListC& list, int place)
{
    switch (list.TypeAt(place)) {
    case EBElementType::Integer: {
        const std::int64_t value = list.GetInt64(place);
        if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
            throw py::value_error("a whole number of a scripted answer has 32 bits");
        }
        return static_cast<int>(value);
    }
    case EBElementType::Double:
        return list.GetDouble(place);
    case EBElementType::String:
        return list.GetString(place);
    case EBElementType::List:
        return CValue::List(ValuesOf(*list.GetList(place)));
    default:
        return CValue::Nothing();
    }
}

std::vector<CValue> ValuesOf(const BListC& list)
{
    std::vector<CValue> values;
    values.reserve(static_cast<std::size_t>(list.Size()));
    for (int i = 0; i < list.Size(); ++i) {
        values.push_back(ValueAt(list, i));
    }
    return values;
}

CAnswer AnswerOf(const py::object& value)
{
    return ValueAt(*ToList(py::make_tuple(value)), 0);
}

/// An Answer, or a value that is to be the reply.
CAnswer ToAnswer(const py::object& answer)
{
    return py::isinstance<CAnswer>(answer) ? answer.cast<CAnswer>() : AnswerOf(answer);
}

int Milliseconds(double seconds)
{
    const double milliseconds = seconds * 1000.0;
    if (!(milliseconds >= 0.0 && milliseconds <= std::numeric_limits<int>::max())) {
        throw py::value_error("a time is a number of seconds from 0 on");
    }
    return static_cast<int>(milliseconds);
}

void Expect(CService& service, const std::string& name, const py::sequence& arguments,
            const py::object& answer)
{
    const std::string text = Testing::Describe(*ToList(arguments));
    const CAnswer given = ToAnswer(answer);
    service.Run([&](CScriptedService& it) { it.Expect(name, text, given); });
}

void Answer(CService& service, const std::string& name, const py::object& answer)
{
    const CAnswer given = ToAnswer(answer);
    service.Run([&](CScriptedService& it) { it.Answer(name, given); });
}

py::list Problems(CService& service)
{
    std::istringstream problems(service.Run([](CScriptedService& it) { return it.Problems(); }));
    py::list lines;
    for (std::string line; std::getline(problems, line);) {
        lines.append(ToPythonText(line));
    }
    return lines;
}

/// What has been received: kind, name, arguments and client of each.
py::list Received(CService& service)
{
    static const char* const kKinds[] = {"request", "notification", "subscription"};
    py::list all;
    for (const CReceived& received :
         service.Run([](CScriptedService& it) { return it.Received(); })) {
        all.append(py::make_tuple(kKinds[static_cast<int>(received.kind)],
                                  ToPythonText(received.name), ToPython(*received.arguments),
                                  received.client));
    }
    return all;
}

void DefineAnswer(py::module_& module)
{
    py::class_<CAnswer>(module, "Answer", "What the scripted service does upon a request.")
        .def(py::init(&AnswerOf), py::arg("value"),
             "A reply that holds a number, a text, None or a list of these.")
        .def_static("error", &CAnswer::Error, py::arg("text"), "An error reply with this text.")
        .def_static("silence", &CAnswer::Silence, "No reply at all.")
        .def_static("drop_link", &CAnswer::DropLink,
                    "Instead of a reply the connection is closed, in order.")
        .def_static("reset_link", &CAnswer::ResetLink,
                    "Instead of a reply the connection is reset.")
        .def(
            "after",
            [](const CAnswer& answer, double seconds) {
                return answer.After(Milliseconds(seconds));
            },
            py::arg("seconds"), "The same answer, given that long after the request has come in.")
        .def("held", &CAnswer::Held, "The same answer, given by release_held().");
}

using Class = py::class_<CService>;

/// An operation without arguments.
template <typename Result>
void Define(Class& service, const char* name, Result (CScriptedService::*operation)(),
            const char* summary)
{
    service.def(
        name,
        [operation](CService& self) {
            return self.Run([&](CScriptedService& it) { return (it.*operation)(); });
        },
        summary);
}

/// One that looks.
template <typename... Arguments, typename... Names>
void DefineLook(Class& service, const char* name,
                std::size_t (CScriptedService::*operation)(Arguments...) const, const char* summary,
                const Names&... names)
{
    service.def(
        name,
        [operation](CService& self, const std::decay_t<Arguments>&... arguments) {
            return self.Run([&](CScriptedService& it) { return (it.*operation)(arguments...); });
        },
        summary, names...);
}

void DefineScript(Class& service)
{
    service
        .def("answer", &Answer, py::arg("name"), py::arg("answer"),
             "From now on answers every request of a name alike, and accepts every notification of "
             "that name.")
        .def("expect", &Expect, py::arg("name"), py::arg("arguments"),
             py::arg("answer") = py::none(),
             "Expects one call, request or notification, with just these arguments. Expectations "
             "of the same call are used up in the order written; others come in any order.")
        .def("problems", &Problems,
             "What did not go by the script so far, a line each: calls that nobody expected, "
             "expected calls that did not come, pushed events with which nothing was called.");
    Define(service, "forget_script", &CScriptedService::ForgetScript,
           "Forgets every expectation, every standing answer and what was unexpected.");
}

void DefineLink(Class& service)
{
    service
        .def(
            "listen",
            [](CService& self, EListen addresses) {
                self.Run([=](CScriptedService& it) { it.Listen(addresses); });
            },
            py::arg("addresses"), "Listens elsewhere from now on. Connections stay.")
        .def(
            "set_closes_at_accept",
            [](CService& self, bool closes) {
                self.Run([=](CScriptedService& it) { it.SetClosesAtAccept(closes); });
            },
            py::arg("closes"), "Sets whether new connections are closed at once.")
        .def("close", &CService::Close, "Ends the service: its listener and every connection.");
    Define(service, "drop_link", &CScriptedService::DropLink,
           "Closes every connection in order. The listener stays.");
    Define(service, "reset_link", &CScriptedService::ResetLink,
           "Resets every connection. The listener stays.");
    Define(service, "stop", &CScriptedService::Stop,
           "Stops listening and closes every connection, as when the service ends; listen() starts "
           "it again.");
}

void DefineEvents(Class& service)
{
    service
        .def(
            "push",
            [](CService& self, const std::string& event, const py::args& payload) {
                const auto list = ToList(payload);
                self.Run([&](CScriptedService& it) { it.PushList(event, *list); });
            },
            py::arg("event"),
            "Pushes an event to every client that has subscribed to it; problems() shows one with "
            "which nothing is called.")
        .def(
            "push_to_all",
            [](CService& self, const std::string& event, const py::args& payload) {
                const std::vector<CValue> values = ValuesOf(*ToList(payload));
                self.Run([&](CScriptedService& it) { it.PushToAll(event, values); });
            },
            py::arg("event"), "Pushes an event to every client, subscribed or not.")
        .def(
            "send_bytes",
            [](CService& self, const py::bytes& bytes) {
                const std::string data = bytes;
                self.Run([&](CScriptedService& it) { it.SendBytes(data); });
            },
            py::arg("bytes"), "Sends bytes to every client as they are.");
    Define(service, "release_held", &CScriptedService::ReleaseHeld,
           "Gives the answers that are held, in the order of their requests.");
}

void DefineRecord(Class& service)
{
    service.def("received", &Received,
                "What has been received since the start or forget_received(), in order.");
    Define(service, "forget_received", &CScriptedService::ForgetReceived, "Empties the record.");
    DefineLook(service, "call_count", &CScriptedService::CallCount,
               "How many calls of a name the record holds.", py::arg("name"));
    DefineLook(service, "subscription_count", &CScriptedService::SubscriptionCount,
               "How many subscriptions to an event have come in.", py::arg("event"));
    DefineLook(service, "client_count", &CScriptedService::ClientCount,
               "How many clients are connected.");
    DefineLook(service, "accepted_count", &CScriptedService::AcceptedCount,
               "How many connections have been accepted since the start.");
}

py::arg_v Timeout()
{
    return py::arg("timeout") = CScriptedService::kPatienceMilliseconds / 1000.0;
}

/// The waiting for a number of something that has a name.
void DefineWaitForNamed(Class& service, const char* name,
                        bool (CScriptedService::*wait)(const std::string&, std::size_t, int) const,
                        const char* summary)
{
    service.def(
        name,
        [wait](CService& self, const std::string& what, std::size_t count, double timeout) {
            const int milliseconds = Milliseconds(timeout);
            return self.Run(
                [&](CScriptedService& it) { return (it.*wait)(what, count, milliseconds); });
        },
        summary, py::arg("name"), py::arg("count") = 1, Timeout());
}

/// The waiting for a number.
void DefineWaitFor(Class& service, const char* name,
                   bool (CScriptedService::*wait)(std::size_t, int) const, const char* summary)
{
    service.def(
        name,
        [wait](CService& self, std::size_t count, double timeout) {
            const int milliseconds = Milliseconds(timeout);
            return self.Run([&](CScriptedService& it) { return (it.*wait)(count, milliseconds); });
        },
        summary, py::arg("count"), Timeout());
}

void DefineWaits(Class& service)
{
    DefineWaitForNamed(service, "wait_for_calls", &CScriptedService::WaitForCalls,
                       "Waits until the record holds at least so many calls of a name; False when "
                       "it does not within the time-out, in seconds.");
    DefineWaitForNamed(service, "wait_for_subscriptions", &CScriptedService::WaitForSubscriptions,
                       "Waits until at least so many subscriptions to an event have come in; False "
                       "when they have not within the time-out, in seconds.");
    DefineWaitFor(service, "wait_for_accepted", &CScriptedService::WaitForAccepted,
                  "Waits until at least so many connections have been accepted since the start; "
                  "False when they have not within the time-out, in seconds.");
    DefineWaitFor(service, "wait_for_clients", &CScriptedService::WaitForClients,
                  "Waits until exactly so many clients are connected; False when that is not so "
                  "within the time-out, in seconds.");
}

} // namespace
} // namespace Kestrove::Python

PYBIND11_MODULE(_testing, module)
{
    using Kestrove::Testing::EListen;
    module.doc() = "The services of kestrove_navigation.testing.";
    py::enum_<EListen>(module, "Listen",
                       "Which loopback addresses the scripted service listens on.")
        .value("BOTH", EListen::Both, "127.0.0.1 and ::1, as the real service does.")
        .value("IPV4_ONLY", EListen::IPv4Only)
        .value("IPV6_ONLY", EListen::IPv6Only)
        .value("NOT", EListen::Not, "None, until listen() is called.");
    Kestrove::Python::DefineAnswer(module);
    Kestrove::Python::Class service(module, "ScriptedService",
                                    "See kestrove_navigation.testing.ScriptedService.");
    service.def(py::init([](EListen addresses) {
                    using Kestrove::Python::CService;
                    return std::make_unique<CService>("scripted service", addresses);
                }),
                py::arg("addresses") = EListen::Both);
    Kestrove::Python::DefineScript(service);
    Kestrove::Python::DefineLink(service);
    Kestrove::Python::DefineEvents(service);
    Kestrove::Python::DefineRecord(service);
    Kestrove::Python::DefineWaits(service);
    Kestrove::Python::DefineDrivingService(module);
}
