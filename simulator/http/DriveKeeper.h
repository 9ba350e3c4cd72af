#ifndef KESTROVE_SIMULATOR_HTTP_DRIVEKEEPER_H
#define KESTROVE_SIMULATOR_HTTP_DRIVEKEEPER_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "report/DriveSample.h"
#include "simulator/http/ServedRequest.h"
#include "simulator/world/Simulation.h"

/// A part of a drive that does not change any more.
using DrivePiece = std::shared_ptr<const std::vector<DriveSample>>;

/// The drive of the last hour, as accuracy reports want it: a sample each time that guidance ran.
/// It is kept in pieces of a minute, so that to hand it over costs no more than a few pointers.
///
/// Thread safety: none; what it has handed over may go anywhere.
class CDriveKeeper
{
public:
    static constexpr std::size_t kSamplesOfAPiece = 600;
    static constexpr std::size_t kMostPieces = 60;

    /// Guidance has run.
    void Add(const CSimulation& world);
    /// The drive, the oldest first: 60 full pieces at most, and what has come since.
    std::vector<DrivePiece> Pieces() const;

private:
    std::deque<DrivePiece> m_full;
    std::vector<DriveSample> m_newest;
};

/// The answer to who asks for a report of the drive: HTML, or a refusal that says why there is
/// none.
///
/// @param run what it takes to repeat the drive.
ServedAnswer ReportAnswer(const std::vector<DrivePiece>& drive, const std::string& run);

#endif
