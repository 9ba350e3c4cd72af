#ifndef KESTROVE_RECORDING_DECODING_LINKITEMS_H
#define KESTROVE_RECORDING_DECODING_LINKITEMS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "recording/LinkRecording.h"
#include "recording/decoding/MessageCutter.h"

/// What is in a recording: a message of the link, or what became of a connection.
enum class ERecorded
{
    State,
    Request,      ///< of the application
    Notification, ///< of the application
    Reply,        ///< to a request of the application
    Event,
    Other, ///< a request of the service, or the answer to one
    Bad,   ///< what is not a message; of where none ends, nothing more comes of the direction
};

/// The word for a kind: "request".
const char* NameOf(ERecorded kind);
/// Whether the application says it of its own accord, as opposed to what it answers.
bool IsOfApplication(ERecorded kind);

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

/// One message of the link.
///
/// @param fromApplication which way it went.
/// @return false, with kind Bad, for what is not a message.
bool ReadLinkMessage(std::string_view bytes, bool fromApplication, CRecordedItem& item);

/// Makes messages of the bytes that went over links, in the order in which they went.
///
/// Memory is bounded: what is unfinished has 128 MiB on all links together, and a stream that would
/// need more is given up as Bad; requests that no reply has come for are 65 536 a link, 262 144 on
/// all links, with names of 1 MiB and 16 MiB, and the oldest of a link are forgotten where there
/// would be more. The value of one message comes on top. Thread safety: none.
class CLinkItems
{
public:
    /// Reads the values of those messages alone that are wanted, which takes the most time; others
    /// come without.
    ///
    /// @param wanted is given a message without its value; empty for all.
    void ReadValuesOf(std::function<bool(const CRecordedItem& item)> wanted)
    {
        m_wanted = std::move(wanted);
    }
    /// A connection is there from now on; what was unfinished on its link is forgotten.
    void Open(std::uint16_t link, std::uint64_t client);
    /// A connection has ended, of which nothing more comes.
    void Close(std::uint16_t link);
    /// Bytes have gone. To be called when Next() has given all that came before.
    void Add(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
             std::string_view bytes);
    /// Takes the next message that is complete; false when there is none.
    bool Next(CRecordedItem& item);
    /// The number of the next item, for one that is made elsewhere.
    std::uint64_t TakeNumber() { return ++m_count; }

private:
    struct Stream
    {
        CMessageCutter cutter;
        std::size_t held = 0; ///< of the bytes that are counted
        bool isBad = false;
    };
    struct Request
    {
        std::uint64_t id;
        std::uint64_t number;
        std::string name;
    };
    struct Link
    {
        std::uint64_t client = 0;
        std::array<Stream, 2> streams;
        std::deque<Request> requests; ///< without a reply so far
        std::size_t nameBytes = 0;    ///< of those
    };

    void Fill(Link& link, CRecordedItem& item, std::string_view bytes);
    void Pair(Link& link, CRecordedItem& item);
    void Hold(Link& link, const CRecordedItem& request);
    void ForgetOldest(Link& link);
    void Count(Stream& stream);
    bool HasTooMany(const Link& link) const;

    std::function<bool(const CRecordedItem&)> m_wanted;
    std::map<std::uint16_t, Link> m_links;
    std::uint64_t m_count = 0;
    // On all links:
    std::size_t m_heldBytes = 0;
    std::size_t m_openRequests = 0;
    std::size_t m_nameBytes = 0;
    // Of the bytes that came last:
    std::uint64_t m_time = 0;
    std::uint16_t m_link = 0;
    ELinkDirection m_direction = ELinkDirection::ToService;
};

#endif
