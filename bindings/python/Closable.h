#ifndef KESTROVE_BINDINGS_PYTHON_CLOSABLE_H
#define KESTROVE_BINDINGS_PYTHON_CLOSABLE_H

#include <memory>
#include <string>
#include <utility>

#include <pybind11/pybind11.h>

namespace Kestrove::Python {

/// What a Python object holds of a service that it can close. A call that is under way in another
/// thread then keeps the service for its own time. Used with the GIL held, and lets other Python
/// threads run while it waits.
template <typename Service>
class CClosable
{
public:
    /// @param name what a failed call says is closed.
    /// @param arguments what the service is made from.
    template <typename... Arguments>
    explicit CClosable(std::string name, const Arguments&... arguments) : m_name(std::move(name))
    {
        const pybind11::gil_scoped_release withoutGil;
        m_service = std::make_shared<Service>(arguments...);
    }
    ~CClosable() { Close(); }
    CClosable(const CClosable&) = delete;
    CClosable& operator=(const CClosable&) = delete;

    void Close()
    {
        auto closed = std::exchange(m_service, nullptr);
        const pybind11::gil_scoped_release withoutGil;
        closed.reset();
    }

    /// Runs an operation of the service without the GIL.
    ///
    /// @throws pybind11::value_error when the service is closed.
    template <typename Operation>
    auto Run(Operation operation)
    {
        const std::shared_ptr<Service> service = m_service;
        if (service == nullptr) {
            throw pybind11::value_error("the " + m_name + " is closed");
        }
        const pybind11::gil_scoped_release withoutGil;
        return operation(*service);
    }

private:
    std::string m_name;
    std::shared_ptr<Service> m_service;
};

} // namespace Kestrove::Python

#endif
