#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDING_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDING_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "recording/FileSource.h"
#include "recording/reading/RecordedLink.h"
#include "tools/navctl/Context.h"
#include "tools/navctl/feed/FeedProgress.h"

/// A recording that a command reads, with a progress line where it is long.
class CRecording
{
public:
    explicit CRecording(const std::string& path);

    /// Goes to the next record of the file.
    EMcapStep NextRecord();
    /// Goes to the next message of the link.
    EMcapStep NextItem(CRecordedItem& item);
    CMcapReader& Reader() { return m_reader; }
    CRecordedLink& Link() { return m_link; }
    std::uint64_t Size() const { return m_source.Size(); }
    /// Takes the progress line away.
    void ClearProgress() { m_progress.reset(); }

    /// What is wrong with the file, with its name; empty for one that is whole, or cut, of which
    /// all that is complete has been read. To be asked when it has been read to its end.
    std::string Problem() const;
    /// What is to be said of a file that has been read all the same: that it is cut, or that its
    /// checksums do not agree; empty otherwise.
    std::string Remark() const;

private:
    EMcapStep Note(EMcapStep step);

    std::string m_path;
    CFileSource m_source;
    CMcapReader m_reader;
    CRecordedLink m_link;
    EMcapStep m_end = EMcapStep::Record;
    std::unique_ptr<CFeedProgress> m_progress;
    std::uint64_t m_records = 0;
    unsigned m_untilShown = 0; // records
    double m_start = 0.0;
};

/// A time of the recording as 2026-11-22T10:15:30.123456789Z.
std::string TimeText(std::uint64_t nanoseconds);

/// Ends a command that has read a recording to its end: reports what is wrong with it.
///
/// @return whether the command is to go on and print what it has found.
bool FinishReading(CContext& context, CRecording& recording);

/// Which messages are wanted.
struct CItemFilter
{
    std::string operation; ///< or event; empty for all
    std::string text;      ///< what the message has in it; empty for all
    std::string from;      ///< a time, or seconds since the start of the recording
    std::string to;
    std::uint64_t client = 0; ///< 0 for all
    std::uint64_t number = 0; ///< of the message; 0 for all
};

/// A span of time, read from the words of a command line when the start of the recording is known.
class CTimeSpan
{
public:
    CTimeSpan(std::string from, std::string to) : m_from(std::move(from)), m_to(std::move(to)) {}
    /// Whether a time lies in the span.
    ///
    /// @param start of the recording, CRecordedLink::Start(); the same at every call.
    bool Has(std::uint64_t time, std::uint64_t start);
    /// What is wrong with the words; empty when nothing is.
    std::string Problem() const;

private:
    std::string m_from;
    std::string m_to;
    bool m_isRead = false;
    std::uint64_t m_begin = 0;
    std::uint64_t m_end = 0;
};

/// A name from a file for people: printable, and no line of its own.
std::string InOneLine(const std::string& name);
/// A message as JSON and as a line of text.
Json ItemJson(const CRecordedItem& item);
std::string ItemText(const CRecordedItem& item);
/// Whether a message passes a filter, its span of time aside.
bool Passes(const CRecordedItem& item, const CItemFilter& filter);
/// Whether a message whose value has not been read may pass a filter; only what may is worth
/// reading.
bool MayPass(const CRecordedItem& head, const CItemFilter& filter);

#endif
