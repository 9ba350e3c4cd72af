#ifndef KESTROVE_PLATFORM_MPICALLBACK_H
#define KESTROVE_PLATFORM_MPICALLBACK_H

/// @file
/// What takes the events of a connection.

#include "core/Export.h"
#include "platform/BElement.h"

/// What a connection calls when an event arrives (see MPISocketConnectionC::RequestCallback).
class KESTROVE_EXPORT MPICallbackBase
{
public:
    /// Takes an event.
    ///
    /// @param payload belongs to the connection and lives until the call returns.
    /// @return a number that the connection passes on and does not interpret.
    virtual int Callback(BListC* payload) = 0;
    /// Does nothing.
    virtual ~MPICallbackBase();
};

/// Hands events to a member function of an object.
///
/// Owns nothing: the object must outlive the last delivery.
template <typename T>
class MPICallback : public MPICallbackBase
{
public:
    /// Calls a member function for every event.
    ///
    /// @param object the object that it is called on; not owned, must outlive the last delivery.
    /// @param handler takes the payload, which stays the connection's.
    MPICallback(T* object, int (T::*handler)(BListC*)) : m_object(object), m_handler(handler) {}

    /// Calls the handler.
    ///
    /// @param payload is handed on as it is.
    /// @return what the handler returns.
    int Callback(BListC* payload) override { return (m_object->*m_handler)(payload); }
    /// Touches neither the object nor a payload.
    ~MPICallback() override {}

private:
    T* m_object;
    int (T::*m_handler)(BListC*);
};

#endif
