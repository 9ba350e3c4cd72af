#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_EVENTKIND_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_EVENTKIND_H

#include <functional>
#include <string>
#include <vector>

#include "tools/navctl/Context.h"

/// An event as it came.
struct CEvent
{
    const char* name; ///< as on the command line
    Json fields;      ///< its values by their names; a unit stands at the end of the name
    std::string text; ///< its values for people
};

/// Takes the events as they are delivered.
using EventSink = std::function<void(CEvent)>;

/// A kind of event that the service sends.
struct CEventKind
{
    const char* name;     ///< on the command line
    const char* wireName; ///< on the link
    const char* summary;
    /// Subscribes: from now on every event of the kind goes to the sink.
    void (*subscribe)(CNavigationAPI& navigation, const EventSink& sink);
    /// Ends that. To be called for each that was subscribed, before the connection goes.
    void (*end)(CNavigationAPI& navigation);
};

/// All kinds.
const std::vector<CEventKind>& EventKinds();
/// The kind of this name, or of this name on the link; null when there is none.
const CEventKind* FindEventKind(const std::string& name);

/// Holds the subscription of some kinds of events as long as it lives.
class CSubscription
{
public:
    /// Subscribes, also when the link is down: it is sent when the link comes up, and again after
    /// every reconnection.
    ///
    /// @param navigation must outlive this object.
    CSubscription(CNavigationAPI& navigation, std::vector<const CEventKind*> kinds,
                  const EventSink& sink);
    /// Ends the delivery.
    ~CSubscription();
    CSubscription(const CSubscription&) = delete;
    CSubscription& operator=(const CSubscription&) = delete;

private:
    CNavigationAPI& m_navigation;
    std::vector<const CEventKind*> m_kinds;
};

#endif
