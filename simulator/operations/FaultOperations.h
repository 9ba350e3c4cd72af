#ifndef KESTROVE_SIMULATOR_OPERATIONS_FAULTOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_FAULTOPERATIONS_H

#include <string>

#include "simulator/operations/OperationTable.h"
#include "simulator/world/Faults.h"

template <>
struct Argument<FaultValue>
{
    static constexpr const char* kName = "double or text";
    static bool Fits(const BListC& list, int index)
    {
        return Argument<double>::Fits(list, index) || Argument<std::string>::Fits(list, index);
    }
    static FaultValue Read(const BListC& list, int index)
    {
        if (Argument<double>::Fits(list, index)) {
            return Argument<double>::Read(list, index);
        }
        return Argument<std::string>::Read(list, index);
    }
};

/// The operations by which something is made to happen to the machine: "simulator_fault" and
/// "simulator_faults".
class CFaultOperations
{
public:
    /// @param faults must outlive this object.
    explicit CFaultOperations(CFaults& faults) : m_faults(faults) {}

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    int Fault(const std::string& name, const FaultValue& value, double seconds);
    Value Faults();

    CFaults& m_faults;
};

#endif
