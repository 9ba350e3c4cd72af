#ifndef KESTROVE_RECORDING_READING_RECORDINGCUT_H
#define KESTROVE_RECORDING_READING_RECORDINGCUT_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "recording/LinkRecording.h"
#include "recording/McapReader.h"
#include "recording/McapWriter.h"
#include "recording/decoding/LinkItems.h"
#include "recording/reading/RecordedLink.h"

/// Copies the record at which a reader stands.
void CopyRecord(const CMcapReader& reader, CMcapWriter& writer);

/// Makes a recording of a span of time of another one: whole messages, the connections that are
/// open where the span begins, and what stands beside the link. Thread safety: none.
class CRecordingCut
{
public:
    /// Whether a time, nanoseconds since 1970, lies in the span.
    using Span = std::function<bool(std::uint64_t time)>;

    /// @param reader, link of the recording, of which nothing has been read; all must outlive this
    ///        object.
    CRecordingCut(const CMcapReader& reader, CRecordedLink& link, CMcapSink& sink, Span span);

    /// Writes what the recording says of itself, unless that is done; to be called when that has
    /// been read, and by Add() and Finish() anyway.
    void Begin();
    /// Takes the next message of the recording.
    void Add(const CRecordedItem& item);
    /// Ends it, when all of the recording, or all up to the end of the span, has been added.
    ///
    /// @return false when the sink has refused something.
    bool Finish();
    CMcapWriter& Writer() { return m_cut.Writer(); }

private:
    struct Client
    {
        std::uint64_t number = 0;
        std::string peer;
    };

    void Watch(const CRecordedItem& item);
    void Keep(const CRecordedItem& item);
    void Beside(bool isOfLink);

    const CMcapReader& m_reader;
    CRecordedLink& m_link;
    Span m_span;
    CLinkRecording m_cut;
    bool m_hasBegun = false;
    bool m_isWithin = false;
    std::map<std::uint16_t, Client> m_open;
};

#endif
