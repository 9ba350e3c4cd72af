#include "bindings/python/Waiting.h"

#include <algorithm>

#include <poll.h>
#include <pybind11/pybind11.h>

#include "bindings/python/Client.h"

namespace py = pybind11;

namespace Kestrove::Python {

Delivery DeliverEvents(CClient& client)
{
    return client.Call([](CNavigationAPI& api) {
        const int events = api.CheckCallbacks();
        return Delivery{events, api.Descriptor()};
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

bool ProcessMessages(CClient& client, bool wait)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const int milliseconds = client.Timeout();
    const Seconds timeout = std::chrono::milliseconds(milliseconds);
    while (true) {
        const Delivery delivery = DeliverEvents(client);
        if (delivery.events > 0 || !wait) {
            return delivery.events > 0;
        }
        const Seconds left =
            milliseconds < 0 ? kLongestWait : Seconds(timeout - (Clock::now() - start));
        if (left <= Seconds::zero()) {
            return false;
        }
        WaitForInput(delivery.descriptor, left);
    }
}

} // namespace Kestrove::Python
