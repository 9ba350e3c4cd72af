#ifndef KESTROVE_RECORDING_LINKRECORDING_H
#define KESTROVE_RECORDING_LINKRECORDING_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "recording/McapWriter.h"

/// What a recording of the link holds, beyond what every MCAP file does.
///
/// A link is a connection between an application and a service. An application's recording has one,
/// however often it reconnects; a service's has one a client that is there at once, and the number
/// of one that has ended is used again. So a link's messages belong to the client that was opened
/// on it last.
///
/// - "/link" (JSON): when a connection was opened or closed, with the number of the client.
/// - "/link/1/to_service" and "/link/1/to_application": the bytes as they went, in portions of any
///   size. Together they are the stream of messages; one message may begin in a portion and end
///   several later.
/// - Metadata "kestrove.recording": the version of this form, who recorded, and when.
namespace LinkForm {

constexpr const char* kMetadataName = "kestrove.recording";
constexpr const char* kVersion = "1";
constexpr const char* kStateTopic = "/link";
constexpr const char* kStreamEncoding = "kestrove.stream";
constexpr std::uint16_t kStateChannel = 0;
constexpr std::uint16_t kMostLinks = 16000;
/// The first channel that is neither the state nor a link's.
constexpr std::uint16_t kFirstOtherChannel = 0x8000;
constexpr std::uint16_t kFirstOtherSchema = 2;

} // namespace LinkForm

/// Which way bytes went.
enum class ELinkDirection : int
{
    ToService,
    ToApplication,
};

/// What became of a connection.
enum class ELinkState : int
{
    Opened,
    Present, ///< it was open when the file was begun
    Refused, ///< it could not be opened
    Closed,
};

/// Who records.
struct CRecordingOrigin
{
    std::string library; ///< "kestrove-navigation 1.0.0"
    std::string program;
    std::string process; ///< its number
    std::string started; ///< the time, as 2026-11-22T10:15:30Z
    std::string side;    ///< "application" or "service"
    std::string run{}; ///< what it takes to repeat what is recorded; empty where that is not known
};

/// Writes a recording of the link. Times are nanoseconds since 1970. Each call gives false when the
/// sink has refused something, now or before. Thread safety: none.
class CLinkRecording
{
public:
    /// @param sink must outlive this object.
    explicit CLinkRecording(CMcapSink& sink) : m_writer(sink) {}

    bool Begin(const CRecordingOrigin& origin);
    /// @param link counts from 1.
    /// @param client the number of the client, or of the connection, from 1.
    /// @param text with whom, or why.
    bool State(std::uint64_t time, std::uint16_t link, std::uint64_t client, ELinkState state,
               std::string_view text);
    bool Bytes(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
               std::string_view bytes);
    bool Finish() { return m_writer.Finish(); }
    /// For what stands beside the link. Its channels begin with LinkForm::kFirstOtherChannel.
    CMcapWriter& Writer() { return m_writer; }

private:
    struct Link
    {
        bool isDeclared = false;
        std::array<std::uint32_t, 2> messages{}; // how many there were, a direction each
    };

    bool Declare(std::uint16_t link);

    CMcapWriter m_writer;
    std::uint32_t m_states = 0;
    std::vector<Link> m_links; // by their numbers
};

/// The channel of a link's bytes.
std::uint16_t LinkChannel(std::uint16_t link, ELinkDirection direction);
/// A text as a JSON string, with its quotation marks. What is not printable ASCII is escaped, each
/// byte for itself where it is no UTF-8 to be sure of.
std::string JsonText(std::string_view text);

#endif
