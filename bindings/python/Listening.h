#ifndef KESTROVE_BINDINGS_PYTHON_LISTENING_H
#define KESTROVE_BINDINGS_PYTHON_LISTENING_H

#include "api/NavigationAPI.h"
#include "bindings/python/Casters.h"
#include "bindings/python/Client.h"
#include "bindings/python/EventKinds.h"

namespace Kestrove::Python {

/// A setter of the library's client, for any functor.
template <template <typename...> class Functor, typename... Arguments>
using Setter = void (CNavigationAPI::*)(Functor<void, Arguments...>*);

template <std::size_t Kind, template <typename...> class Functor, typename... Arguments>
void Set(CNavigationAPI& api, CClient* client, Setter<Functor, Arguments...> setter)
{
    Functor<void, Arguments...>* functor = nullptr;
    if (client != nullptr) {
        functor = Core::Functors::MakeFunctor([client](Arguments... arguments) {
            client->Deliver(Kind, [&] {
                const auto values = pybind11::module_::import("kestrove_navigation._values");
                return pybind11::object(values.attr(kEventKinds[Kind].type)(arguments...));
            });
        });
    }
    (api.*setter)(functor);
}

template <std::size_t Kind, auto Setter>
void Listen(CNavigationAPI& api, CClient* client)
{
    Set<Kind>(api, client, Setter);
}

} // namespace Kestrove::Python

#endif
