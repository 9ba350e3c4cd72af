#ifndef KESTROVE_PLATFORM_MPISOCKETCONNECTION_H
#define KESTROVE_PLATFORM_MPISOCKETCONNECTION_H

/// @file
/// A connection: calls, notifications and events.

#include <memory>
#include <string>

#include "core/Export.h"
#include "platform/BElement.h"
#include "platform/BEncoder.h"
#include "platform/MPICallback.h"
#include "platform/Socket.h"

struct MessageStateC;

/// Requests, notifications and events over a stream connection.
///
/// A request waits on the caller's thread; there is no other thread. Events that arrive meanwhile
/// are kept in order and delivered by ProcessMessages() or CheckCallbacks(), never inside a call.
/// At most 4096 events or 16 MiB of them are kept; beyond that the oldest go (DroppedEvents()), so
/// that a single event which takes more is dropped as well.
///
/// Forking: the child of a fork() leaves the connection to its parent and has none itself. A client
/// that reconnects opens one at its next operation.
///
/// Thread safety: none. Lifetime: owns the callbacks that were registered and destroys them with
/// itself; must not be destroyed from inside a callback.
class KESTROVE_EXPORT MPISocketConnectionC : public Socket
{
public:
    /// Not connected.
    MPISocketConnectionC();
    /// Closes the connection and destroys the callbacks; calls no hook.
    ~MPISocketConnectionC() override;

    /// Sends the subscription of every event registered so far. An override calls this one first.
    void Connected() override;

    /// Closes the connection and drops the events that wait; registrations stay.
    virtual void Destroy();
    /// Calls the callback that is registered for an event.
    ///
    /// @param name the event.
    /// @param payload stays the caller's.
    /// @return what the callback returned; 0 when none is registered.
    virtual int DoCallback(const std::string& name, BListC* payload);
    /// Every event that is delivered passes here; calls DoCallback().
    ///
    /// @param name the event.
    /// @param payload stays the connection's.
    /// @return what DoCallback() returned.
    virtual int DoClientCallback(const std::string& name, BListC* payload);
    /// Delivers all events that have arrived, or as many as can be taken in within 250 ms. An
    /// exception of a callback passes through; the events behind it stay queued.
    ///
    /// @param wait whether to wait for an event, up to the time-out, when none is there.
    /// @return whether an event was delivered.
    virtual bool ProcessMessages(bool wait);
    /// Delivers events by the rules of ProcessMessages(), without waiting.
    ///
    /// @return the number of events delivered.
    virtual int CheckCallbacks();
    /// Sets the time-out of requests, of sending and of ProcessMessages(true).
    ///
    /// @param timeoutMilliseconds the time-out; a negative one waits without limit. 2000 unless
    /// set.
    ///        Applied at the next call.
    virtual void SetTimeout(int timeoutMilliseconds)
    {
        m_timeoutMilliseconds = timeoutMilliseconds;
    }
    /// Sends one message whole.
    ///
    /// @param encoder holds the message; stays the caller's.
    /// @return false when there is no connection or the message could not be sent within the
    ///         time-out; the connection is closed then, so that no partial message is left on it.
    virtual bool SendMessage(BEncoderC* encoder);
    /// Sends one value as a message, by the rules of SendMessage().
    ///
    /// @param element the value; stays the caller's.
    /// @return as SendMessage().
    virtual bool SendMessageElement(BElementC* element);
    /// Takes in what has arrived: replies are kept for their request, events are queued.
    ///
    /// @param wait whether to wait up to the time-out for something to arrive.
    /// @return whether something arrived.
    virtual bool ReceiveMessage(bool wait);
    /// A request from the peer has arrived, with the entries "msgid", "method" and "params".
    /// Answers it with an error, since a client serves nothing; an override may do better.
    ///
    /// @param message belongs to the connection and lives until the call returns.
    virtual void MessageReceived(BDictionaryC* message);

    /// Sends a request and waits for its reply, for at most the time-out. Does not look whether the
    /// link still lives and never reopens it (see IsLinkUp()); sends the request once or not at
    /// all.
    ///
    /// @param name the service name.
    /// @param arguments the argument list; stays the caller's. Null stands for an empty list.
    /// @return the reply, which the caller owns; null when the request could not be sent, when no
    ///         reply came in time, when the service answered with an error or with nothing, or when
    ///         the connection was lost. LastError() says which.
    [[nodiscard]] BElementC* CallMethod(const std::string& name, BListC* arguments);
    /// Sends a notification: nothing is awaited. Neither looks at the link nor reopens it.
    ///
    /// @param name the service name.
    /// @param arguments the argument list; stays the caller's. Null stands for an empty list.
    /// @return whether it was handed to the operating system whole.
    bool SendNotification(const std::string& name, BListC* arguments);
    /// Subscribes to an event: now if the connection is up, and after every Connect(). One
    /// subscription a name and connection is sent, however often a name is registered.
    ///
    /// @param name the event.
    /// @param callback what to call for each; owned from now on. Replaces an earlier callback of
    ///        the name, which is destroyed (after it returns, when it is running). Null is ignored.
    void RequestCallback(const std::string& name, MPICallbackBase* callback);

    /// Looks at the socket, takes in what has arrived, and closes a connection that the peer has
    /// closed, and one over which a peer has sent 64 KiB or more that cannot all be taken in within
    /// 250 ms. Does not wait for anything to arrive and does not reconnect.
    ///
    /// @return whether the link can be used: the connection was opened by Connect() or taken over
    ///         by Accept(), and is alive.
    [[nodiscard]] bool IsLinkUp();

    /// @return how many events have been dropped, since this object was made, because too many were
    ///         kept.
    [[nodiscard]] unsigned long DroppedEvents() const;

    /// Records what goes over the link into a file, until StopRecording() or the end of this
    /// object, in place of the present recording. A matter of the bundled runtime, which also
    /// records every connection object of a process whose environment has KESTROVE_RECORD;
    /// docs/recording.md describes the form. What goes wrong later ends the recording and nothing
    /// else.
    ///
    /// @param path the file: made readable for its user alone, never overwritten, and followed by
    ///        further ones ("drive.2.mcap" behind "drive.mcap") when it reaches its limit.
    /// @return false when it could not be begun; LastRecordingError() says why.
    bool StartRecording(const std::string& path);
    /// Ends the recording, also one that the environment has asked for; nothing happens where there
    /// is none.
    void StopRecording();
    /// @return why a recording could not be begun or has ended by itself, for people; empty when
    ///         neither has happened since the last one was begun.
    [[nodiscard]] std::string LastRecordingError() const;

protected:
    int m_timeoutMilliseconds = 2000; ///< what SetTimeout() has set
    /// What has arrived and what is registered; the runtime's own.
    std::unique_ptr<MessageStateC> m_messages;

private:
    friend struct MessageStateC;
};

#endif
