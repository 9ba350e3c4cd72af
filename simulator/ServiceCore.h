#ifndef KESTROVE_SIMULATOR_SERVICECORE_H
#define KESTROVE_SIMULATOR_SERVICECORE_H

#include <string>
#include <vector>

#include "platform/BElement.h"
#include "simulator/Log.h"
#include "simulator/Navigator.h"
#include "simulator/OperationTable.h"
#include "simulator/SettingsStore.h"
#include "simulator/SteeringOperations.h"

/// The navigation service without its sockets: maps operation names to handlers and keeps the state
/// behind them.
///
/// Time comes in from outside, so that a run can be repeated.
/// Thread safety: none.
class ServiceCoreC
{
public:
    /// @param kept the settings kept by an earlier run.
    /// @param keep takes the settings to keep each time that they change; may be empty.
    ServiceCoreC(const KeptValues& kept, KeepSink keep, LogSink log);
    ServiceCoreC(const ServiceCoreC&) = delete;
    ServiceCoreC& operator=(const ServiceCoreC&) = delete;

    /// Carries out a request.
    ///
    /// @return the reply: a value, or an error whose text names the operation and what it wanted.
    Answer Request(const std::string& name, const BListC& arguments);
    /// Carries out a notification. One that cannot be carried out is logged.
    void Notify(const std::string& name, const BListC& arguments);
    /// The names of all operations.
    std::vector<std::string> OperationNames() const { return m_operations.Names(); }

private:
    LogSink m_log;
    SettingsStoreC m_settings;
    NavigatorC m_navigator;
    SteeringOperationsC m_steering;
    OperationTableC m_operations;
};

#endif
