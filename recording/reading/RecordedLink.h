#ifndef KESTROVE_RECORDING_READING_RECORDEDLINK_H
#define KESTROVE_RECORDING_READING_RECORDEDLINK_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "recording/McapReader.h"
#include "recording/decoding/LinkItems.h"

/// Reads the messages of a recording in the order in which they went.
class CRecordedLink
{
public:
    /// @param reader must outlive this object.
    explicit CRecordedLink(CMcapReader& reader) : m_reader(reader) {}

    /// Has every record of the file handed on, before what it completes is given.
    ///
    /// @param record called with the reader at the record: whether it is a message of the link.
    void HandOn(std::function<void(bool isOfLink)> record) { m_handOn = std::move(record); }

    /// Reads the values of those messages alone that are wanted; see CLinkItems.
    void ReadValuesOf(std::function<bool(const CRecordedItem& item)> wanted)
    {
        m_items.ReadValuesOf(std::move(wanted));
    }

    /// Goes to the next message.
    ///
    /// @return Record where there is one; otherwise as CMcapReader.
    EMcapStep Next(CRecordedItem& item);
    /// What the recording says of itself; empty before it has been read.
    const std::map<std::string, std::string>& Origin() const { return m_origin; }
    /// When the recording starts, from which seconds are counted: the time of the first message of
    /// the file, whatever its channel. 0 before it has been read.
    std::uint64_t Start() const { return m_start.value_or(0); }

private:
    void TakeRecord();
    bool TakeMessage(const CMcapMessage& message);
    void TakeState(const CMcapMessage& message);

    CMcapReader& m_reader;
    std::function<void(bool)> m_handOn = [](bool) {};
    std::map<std::string, std::string> m_origin;
    CLinkItems m_items;
    std::optional<std::uint64_t> m_start;
    bool m_hasState = false;
    CRecordedItem m_state;
};

#endif
