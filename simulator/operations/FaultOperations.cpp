#include "simulator/operations/FaultOperations.h"

#include <cmath>
#include <variant>

#include "simulator/output/ServiceLog.h"

namespace {

void AddValue(BListC& list, const FaultValue& value)
{
    if (const auto* const number = std::get_if<double>(&value)) {
        list.AddDouble(*number);
    } else {
        list.AddString(std::get<std::string>(value));
    }
}

} // namespace

void CFaultOperations::Register(COperationTable& table)
{
    table.Add("simulator_fault", *this, &CFaultOperations::Fault);
    table.Add("simulator_faults", *this, &CFaultOperations::Faults);
}

int CFaultOperations::Fault(const std::string& name, const FaultValue& value, double seconds)
{
    const COutcome outcome = m_faults.Set(name, value, seconds);
    if (!outcome) {
        throw UnusableArgument(Printable(outcome.Reason()));
    }
    return 1;
}

Value CFaultOperations::Faults()
{
    auto list = std::make_unique<BListC>(nullptr);
    for (const FaultKind& kind : FaultKinds()) {
        auto row = std::make_unique<BListC>(list.get());
        row->AddString(kind.name);
        row->AddString(kind.what);
        row->AddString(kind.unit);
        row->AddDouble(kind.lowest);
        row->AddDouble(kind.highest);
        auto words = std::make_unique<BListC>(row.get());
        for (const std::string& word : kind.words) {
            words->AddString(word);
        }
        row->Add(words.release());
        const auto active = m_faults.Now().find(kind.name);
        AddValue(*row,
                 active == m_faults.Now().end() ? FaultValue(CFaults::kOff) : active->second.value);
        const double until = active == m_faults.Now().end() ? 0.0 : active->second.until;
        row->AddDouble(std::isfinite(until) ? until : 0.0);
        list->Add(row.release());
    }
    return list;
}
