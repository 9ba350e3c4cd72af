#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDEDLINK_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDEDLINK_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "recording/LinkRecording.h"
#include "recording/McapReader.h"
#include "tools/navctl/recording/MessageCutter.h"

/// What is in a recording: a message of the link, or what became of a connection.
enum class ERecorded
{
    State,
    Request,      ///< of the application
    Notification, ///< of the application
    Reply,        ///< to a request of the application
    Event,
    Other, ///< a request of the service, or the answer to one
    Bad,   ///< what is no message; the direction cannot be read on until the next connection
};

/// The word for a kind: "request".
const char* NameOf(ERecorded kind);

/// A message of a recording, or what became of a connection.
struct CRecordedItem
{
    std::uint64_t number = 0; ///< its place in the recording, from 1
    std::uint64_t time = 0;   ///< nanoseconds since 1970
    std::uint64_t client = 0;
    std::uint16_t link = 0;
    bool fromApplication = false; ///< which way it went
    ERecorded kind = ERecorded::Other;
    std::string name;             ///< of the operation or the event; of a state, its word
    nlohmann::ordered_json value; ///< arguments, payload or result; of a state, its text
    bool isError = false;         ///< of a reply: value is the error
    std::uint64_t request = 0;    ///< of a reply: the number of the request's item; 0 unknown
    std::uint64_t id = 0;         ///< of a request or a reply: the number on the link
    std::string bytes;            ///< as they went
};

/// Reads the messages of a recording in the order in which they went.
///
/// Memory is bounded by what is unfinished: a message a direction and link, and 65 536 requests
/// that no reply has come for.
class CRecordedLink
{
public:
    /// @param reader must outlive this object.
    explicit CRecordedLink(CMcapReader& reader) : m_reader(reader) {}

    /// Has every record of the file handed on, before what it completes is given.
    ///
    /// @param record called with the reader at the record: whether it is a message of the link.
    void HandOn(std::function<void(bool isOfLink)> record) { m_handOn = std::move(record); }

    /// Goes to the next message.
    ///
    /// @return Record where there is one; otherwise as CMcapReader.
    EMcapStep Next(CRecordedItem& item);
    /// What the recording says of itself; empty before it has been read.
    const std::map<std::string, std::string>& Origin() const { return m_origin; }

private:
    struct Stream
    {
        CMessageCutter cutter;
        bool isBad = false;
    };
    struct Link
    {
        std::uint64_t client = 0;
        Stream streams[2];
        struct Request
        {
            std::uint64_t id;
            std::uint64_t number;
            std::string name;
        };
        std::deque<Request> requests; ///< without a reply so far
    };

    void TakeRecord();
    bool TakeMessage(const CMcapMessage& message);
    void TakeState(const CMcapMessage& message);
    bool CutNext(CRecordedItem& item);
    void Fill(CRecordedItem& item, std::string_view bytes);
    void Pair(CRecordedItem& item);

    CMcapReader& m_reader;
    std::function<void(bool)> m_handOn = [](bool) {};
    std::map<std::string, std::string> m_origin;
    std::map<std::uint16_t, Link> m_links;
    std::uint64_t m_count = 0;
    std::uint64_t m_time = 0;
    std::uint16_t m_linkNumber = 0;
    Link* m_link = nullptr; // whose bytes have come last
    ELinkDirection m_direction = ELinkDirection::ToService;
    bool m_hasState = false;
    CRecordedItem m_state;
};

/// One message of the link.
///
/// @param fromApplication which way it went.
/// @return false, with kind Bad, for what is no message.
bool ReadLinkMessage(std::string_view bytes, bool fromApplication, CRecordedItem& item);

#endif
