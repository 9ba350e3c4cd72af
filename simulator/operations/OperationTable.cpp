#include "simulator/operations/OperationTable.h"

#include <new>

#include "simulator/output/ServiceLog.h"

Answer COperationTable::Call(const std::string& name, const BListC& arguments) const
{
    const auto found = m_operations.find(name);
    if (found == m_operations.end()) {
        return {nullptr, "there is no operation \"" + Printable(name) + "\"", nullptr};
    }
    const Operation& operation = found->second;
    if (!operation.fits(arguments)) {
        return {nullptr, name + " wants " + operation.wants + ", not " + DescribeTypes(arguments),
                nullptr};
    }
    try {
        return operation.call(arguments);
    } catch (const UnusableArgument& error) {
        return {nullptr, name + ": " + error.what(), nullptr};
    } catch (const std::bad_alloc&) {
        return {nullptr, name + ": there is not enough memory for it", nullptr};
    }
}

std::vector<std::string> COperationTable::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : m_operations) {
        names.push_back(entry.first);
    }
    return names;
}
