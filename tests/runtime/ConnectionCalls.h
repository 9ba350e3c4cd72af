#ifndef KESTROVE_TESTS_RUNTIME_CONNECTIONCALLS_H
#define KESTROVE_TESTS_RUNTIME_CONNECTIONCALLS_H

#include <memory>
#include <string>

#include "platform/MPISocketConnection.h"
#include "tests/support/RawPeer.h"
#include "tests/support/Stopwatch.h"

inline const char* const kHost = "127.0.0.1";

/// Answers every request with 7 until the other side leaves.
inline void AnswerSeven(CRawLink& link)
{
    while (true) {
        const CRawMessage message = link.Read();
        if (message.kind == 0) {
            link.Reply(message, "\x07");
        }
    }
}

/// The integer reply to a call without arguments; -1 when there is none.
inline int Call(MPISocketConnectionC& connection, const std::string& name)
{
    const std::unique_ptr<BElementC> reply(connection.CallMethod(name, nullptr));
    const auto* const atom = dynamic_cast<const BAtomC*>(reply.get());
    return atom == nullptr ? -1 : atom->IntValue();
}

#endif
