#ifndef KESTROVE_BINDINGS_PYTHON_TRACELOGGING_H
#define KESTROVE_BINDINGS_PYTHON_TRACELOGGING_H

#include "wayline/TraceLines.h"

namespace Kestrove::Python {

/// Has the trace lines of the calling thread logged, with level DEBUG by the logger
/// "kestrove_navigation", as long as it lives. With or without the GIL.
class CTraceLogging
{
public:
    CTraceLogging();
    ~CTraceLogging() { SetTraceTaker(m_outer); }
    CTraceLogging(const CTraceLogging&) = delete;
    CTraceLogging& operator=(const CTraceLogging&) = delete;

private:
    TraceTaker m_outer;
};

} // namespace Kestrove::Python

#endif
