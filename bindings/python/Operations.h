#ifndef KESTROVE_BINDINGS_PYTHON_OPERATIONS_H
#define KESTROVE_BINDINGS_PYTHON_OPERATIONS_H

#include <optional>
#include <type_traits>

#include "bindings/python/Casters.h"
#include "bindings/python/Client.h"

namespace Kestrove::Python {

/// Adds the operations of the service to Python's NavigationClient, a method each. Made from
/// operations/operations.json.
void DefineOperations(pybind11::class_<CClient>& client);

/// A NudgeReply; without the vector where the status is that of a failure.
pybind11::object NudgeReply(int status, const Core::Maths::Vector3<double>& nudge);
/// The service's wayline, or null. That there is none is a reply without a value, and not a
/// failure.
WaylinePtr WaylineOf(CClient& client, WaylinePtr (CNavigationAPI::*operation)());
/// The TuningLimits of a parameter; None on failure.
pybind11::object TuningLimitsOf(CClient& client, ETuningParameter parameter,
                                bool (CNavigationAPI::*operation)(ETuningParameter, double&,
                                                                  double&, double&));

/// Takes the operations: name, operation, summary, arguments. What an operation gives through its
/// arguments is returned.
class COperations
{
public:
    using Api = CNavigationAPI;
    using Vector = Core::Maths::Vector3<double>;

    explicit COperations(pybind11::class_<CClient>& client) : m_client(client) {}

    template <typename Result, typename... Arguments, typename... Names>
    void Add(const char* name, Result (Api::*operation)(Arguments...), const char* summary,
             const Names&... names)
    {
        static_assert(sizeof...(Arguments) == sizeof...(Names), "every argument has a name");
        m_client.def(
            name,
            [operation](CClient& client, std::decay_t<Arguments>... arguments) {
                return client.Operate([&](Api& api) { return (api.*operation)(arguments...); });
            },
            summary, names...);
    }

    template <typename... Arguments, typename... Names>
    void Add(const char* name, int (Api::*operation)(Vector&, Arguments...), const char* summary,
             const Names&... names)
    {
        m_client.def(
            name,
            [operation](CClient& client, Arguments... arguments) {
                Vector nudge;
                const int status =
                    client.Operate([&](Api& api) { return (api.*operation)(nudge, arguments...); });
                return NudgeReply(status, nudge);
            },
            summary, names...);
    }

    void Add(const char* name, bool (Api::*operation)(Vector&), const char* summary)
    {
        m_client.def(
            name,
            [operation](CClient& client) {
                Vector vector;
                const bool succeeded =
                    client.Operate([&](Api& api) { return (api.*operation)(vector); });
                return succeeded ? std::optional(vector) : std::nullopt;
            },
            summary);
    }

    void Add(const char* name, WaylinePtr (Api::*operation)(), const char* summary)
    {
        m_client.def(
            name, [operation](CClient& client) { return WaylineOf(client, operation); }, summary);
    }

    void Add(const char* name, bool (Api::*operation)(ETuningParameter, double&, double&, double&),
             const char* summary, const pybind11::arg& parameter)
    {
        m_client.def(
            name,
            [operation](CClient& client, ETuningParameter which) {
                return TuningLimitsOf(client, which, operation);
            },
            summary, parameter);
    }

private:
    pybind11::class_<CClient>& m_client;
};

} // namespace Kestrove::Python

#endif
