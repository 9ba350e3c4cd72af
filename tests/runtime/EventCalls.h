#ifndef KESTROVE_TESTS_RUNTIME_EVENTCALLS_H
#define KESTROVE_TESTS_RUNTIME_EVENTCALLS_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

/// Calls a function for each event, and reports when it is destroyed.
class CCallback : public MPICallbackBase
{
public:
    using Function = std::function<void(const BListC&)>;

    explicit CCallback(Function function, bool* isDestroyed = nullptr)
        : m_function(std::move(function)), m_isDestroyed(isDestroyed)
    {
    }
    ~CCallback() override
    {
        if (m_isDestroyed != nullptr) {
            *m_isDestroyed = true;
        }
    }
    int Callback(BListC* payload) override
    {
        m_function(*payload);
        return 0;
    }

private:
    Function m_function;
    bool* m_isDestroyed;
};

/// Notes the first element of every event.
class CNotingClient : public MPISocketClientC
{
public:
    explicit CNotingClient(bool reconnects = false) : MPISocketClientC(reconnects) {}
    void Note(const std::string& event)
    {
        RequestCallback(event, new CCallback([this](const BListC& payload) {
                            m_events.push_back(payload.GetInt(0));
                        }));
    }
    std::vector<int> m_events;
};

/// Sends bytes ahead of the answer to the first request: when the call returns, they have arrived.
inline CRawPeer::Script AheadOfTheReply(const std::string& bytes)
{
    return [bytes](CRawLink& link) {
        CRawMessage request = link.Read();
        while (request.kind != 0) {
            request = link.Read();
        }
        link.Send(bytes + Bytes::Response(request.number, "\x07"));
        link.WaitForEnd();
    };
}

inline void CallOnce(MPISocketConnectionC& connection)
{
    const std::unique_ptr<BElementC> reply(connection.CallMethod("a", nullptr));
    EXPECT_NE(nullptr, reply) << connection.LastError().text;
}

#endif
