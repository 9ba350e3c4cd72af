#ifndef KESTROVE_SIMULATOR_VIEW_DRIVETELLING_H
#define KESTROVE_SIMULATOR_VIEW_DRIVETELLING_H

#include <cstddef>
#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

#include "recording/decoding/LinkItems.h"
#include "simulator/http/History.h"

/// Makes samples and marks of what a recording tells of a drive, in the order of its messages.
///
/// A service's recording tells where the machine really was and how it was steered; of an
/// application's there is what the service told it: places, errors and how steering stood.
///
/// Memory is bounded however long the drive is: when there are too many samples every other one is
/// left out, and from then on only every other one is taken, and so on. Times are seconds since the
/// start. Thread safety: none.
class CDriveTelling
{
public:
    /// So many samples are kept at most: 4 MB.
    static constexpr std::size_t kMostSamples = 72000;

    /// The service has written down how the machine is.
    void TakeState(double time, const nlohmann::ordered_json& state);
    /// A message of the link.
    void TakeItem(double time, const CRecordedItem& item);
    /// Whether the value of a message is wanted.
    static bool Wants(const CRecordedItem& item);
    /// What has been told.
    HistoryView View() const;
    bool IsEmpty() const { return m_samples.empty(); }

private:
    void TakeEvent(double time, const std::string& name, const nlohmann::ordered_json& values);
    void TakeSteering(double time, int state, const std::string& reason);
    void TakeFaults(double time, const nlohmann::ordered_json& names);
    void MarkCall(double time, const CRecordedItem& item);
    void Add(double time);

    CHistory m_marks; ///< of it the marks alone
    std::string m_samples;
    std::size_t m_count = 0;  ///< how many there have been, taken or not
    std::size_t m_stride = 1; ///< of how many one is taken
    HistorySample m_now;
    bool m_hasStates = false; ///< the service's own, beside which what clients are told is no news
    bool m_knowsSteering = false;
    std::string m_faults;
    std::uint64_t m_client = 0; ///< whose events are taken; all are told the same
};

#endif
