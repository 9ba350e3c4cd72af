#ifndef KESTROVE_PLATFORM_LINKERROR_H
#define KESTROVE_PLATFORM_LINKERROR_H

/// @file
/// Why a call failed.

#include <string>

// Some windowing systems have a macro of this name.
#pragma push_macro("None")
#undef None

/// Why the last call over a connection failed.
enum class ELinkError
{
    None,           ///< it did not fail
    NoError = None, ///< the same, for sources in which None is a macro
    NotConnected,   ///< there was no connection to send on
    Refused,        ///< nobody listens at the address, or it could not be reached
    TimedOut,       ///< no connection, no room to send, no reply, or too much to read, in time
    Closed,         ///< the service closed or reset the connection
    BadMessage,     ///< not a message, or one over a limit; the connection is closed
    NoValue,        ///< the service answered, but with nothing
    ServiceError,   ///< the service answered with an error; the text is the service's
    System,         ///< the operating system refused, for example for want of descriptors
};

/// The reason of a failure: a code for programs and a text for people.
struct LinkErrorC
{
    ELinkError code = ELinkError::None; ///< for programs
    std::string text;                   ///< for people; empty when nothing failed
};

#pragma pop_macro("None")

#endif
