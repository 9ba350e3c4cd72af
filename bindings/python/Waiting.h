#ifndef KESTROVE_BINDINGS_PYTHON_WAITING_H
#define KESTROVE_BINDINGS_PYTHON_WAITING_H

#include <chrono>

namespace Kestrove::Python {

class CClient;

using Seconds = std::chrono::duration<double>;

/// Events that another thread's call takes in make no descriptor readable: they are looked for once
/// in this time.
inline constexpr Seconds kLongestWait{0.1};

/// What was delivered, and what to wait for next.
struct Delivery
{
    int events;     ///< their number
    int descriptor; ///< becomes readable when something arrives; -1 without a connection
};

/// Delivers what has arrived, without waiting. With the GIL held, which is given away meanwhile.
///
/// @throws pybind11::error_already_set what a callable raises.
Delivery DeliverEvents(CClient& client);

/// Waits for input, without the GIL and without the client, so that other threads can use both.
///
/// @param descriptor what may become readable; -1 for nothing.
/// @param atMost how long; never longer than kLongestWait.
/// @throws pybind11::error_already_set what a signal handler raises.
void WaitForInput(int descriptor, Seconds atMost);

/// Delivers what has arrived, as the operation of that name does, with signal handlers run while it
/// waits.
///
/// @param wait whether to wait for an event, up to the client's time-out, when none is there.
/// @return whether an event was delivered.
/// @throws pybind11::error_already_set what a callable or a signal handler raises.
bool ProcessMessages(CClient& client, bool wait);

} // namespace Kestrove::Python

#endif
