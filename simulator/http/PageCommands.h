#ifndef KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H
#define KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H

#include <functional>
#include <set>
#include <string>

#include "simulator/ServiceCore.h"
#include "simulator/http/LogTap.h"
#include "simulator/http/LoopGate.h"

/// An answer to a request of the page.
struct PageAnswer
{
    int status = 200;
    std::string json;
};

/// Carries out what the page asks for, on the thread that the service core belongs to.
///
/// Thread safety: any thread but the loop's.
class PageCommandsC
{
public:
    /// Tells whether the one who asked has gone.
    using PeerHasGone = std::function<bool()>;

    /// All must outlive this object.
    PageCommandsC(ServiceCoreC& core, LogTapC& log, LoopGateC& gate);

    /// Carries out an operation, unless the one who asked has gone when its turn comes: who has
    /// given up waiting for it must not see it happen later.
    ///
    /// @param body {"operation": name, "arguments": [...]}
    PageAnswer Command(const std::string& body, const PeerHasGone& peerHasGone);
    /// Makes a wayline the service's, likewise.
    ///
    /// @param body {"text": its text form}
    PageAnswer SetWayline(const std::string& body, const PeerHasGone& peerHasGone);

private:
    PageAnswer Request(const std::string& operation, const BListC& arguments,
                       const PeerHasGone& peerHasGone);

    ServiceCoreC& m_core;
    LogTapC& m_log;
    LoopGateC& m_gate;
    std::set<std::string> m_operations;
};

#endif
