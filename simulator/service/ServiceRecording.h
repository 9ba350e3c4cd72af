#ifndef KESTROVE_SIMULATOR_SERVICE_SERVICERECORDING_H
#define KESTROVE_SIMULATOR_SERVICE_SERVICERECORDING_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "recording/LinkRecording.h"
#include "recording/LiveFile.h"
#include "recording/decoding/LinkDecoder.h"
#include "recording/decoding/LinkItems.h"

/// How the machine really is at a moment.
struct MachineMoment
{
    double seconds; ///< simulated
    double east;
    double north;
    double heading;
    double measuredEast;
    double measuredNorth;
    double speed;
    double steeringAngle;
    double crossTrackError;
    double implementCrossTrackError;
    double receiverDriftError;
    int pass;
    bool isEngaged;
    double desiredSteeringAngle;
    double nudge;
    bool isNavigating;
    bool drivesAgainst;
    bool isFed;
    std::string state;               ///< of steering, in a word: "ready"
    std::string dropReason;          ///< empty unless it was dropped
    std::string fix;                 ///< of the receiver: "float"
    double correctionAge;            ///< seconds
    std::vector<std::string> faults; ///< that go on
};

/// The file of a service's recording: the bytes of the links, what they mean in JSON, and the
/// machine.
///
/// After a failure every call returns false; Problem() says why. Thread safety: none.
class CServiceRecording
{
public:
    /// Begins a file, which must not be there yet; for its user alone.
    ///
    /// @param run what it takes to repeat the drive; may be empty.
    bool Begin(const std::string& path, const std::string& run);
    /// A connection was opened or closed.
    bool State(std::uint64_t time, std::uint16_t link, std::uint64_t client, ELinkState state,
               const std::string& text);
    bool Bytes(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
               std::string_view bytes);
    /// Writes what bytes mean, some time after the bytes: a link's in the order in which they went,
    /// between the link's beginning and end.
    bool Decode(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                std::string_view bytes);
    bool DecodeFor(std::uint16_t link, std::uint64_t client);
    bool EndDecoding(std::uint16_t link);
    /// Guidance has run. Looks once a second whether the file is still there.
    bool Machine(std::uint64_t time, const MachineMoment& moment);
    /// Ends the file with its summary.
    bool Finish();
    const std::string& Problem() const { return m_file.Problem(); }

private:
    bool IsStillThere(std::uint64_t time);

    CLiveFile m_file;
    CLinkRecording m_recording{m_file};
    CLinkItems m_items;
    CLinkDecoder m_decoder{m_recording.Writer()};
    std::uint32_t m_moments = 0;
    std::uint64_t m_nextLook = 0;
};

#endif
