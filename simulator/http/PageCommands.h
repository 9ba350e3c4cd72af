#ifndef KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H
#define KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H

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
    /// All must outlive this object.
    PageCommandsC(ServiceCoreC& core, LogTapC& log, LoopGateC& gate);

    /// Carries out an operation.
    ///
    /// @param body {"operation": name, "arguments": [...]}
    PageAnswer Command(const std::string& body);
    /// Makes a wayline the service's.
    ///
    /// @param text its text form.
    PageAnswer SetWayline(const std::string& text);

private:
    PageAnswer Request(const std::string& operation, const BListC& arguments);

    ServiceCoreC& m_core;
    LogTapC& m_log;
    LoopGateC& m_gate;
    std::set<std::string> m_operations;
};

#endif
