#include "simulator/view/DriveReader.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "recording/FileSource.h"
#include "recording/reading/Chunks.h"
#include "recording/reading/RecordedLink.h"
#include "recording/reading/RecordingCut.h"
#include "simulator/aside/LongWork.h"
#include "simulator/view/DriveTelling.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr double kNanoseconds = 1e9;
constexpr const char* kStateTopic = "/machine/true_state";
constexpr std::size_t kLargestPart = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kLongestState = 65536;

std::string TimeWords(double seconds)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

/// The seconds since a recording's start.
double SecondsOf(const CRecordedLink& link, std::uint64_t time)
{
    return time < link.Start() ? 0.0 : static_cast<double>(time - link.Start()) / kNanoseconds;
}

/// What is to be said of a recording that has been read as far as it goes.
std::string ProblemOf(EMcapStep end, const CFileSource& source, const CMcapReader& reader,
                      const CDriveTelling& telling, double last)
{
    std::string problem;
    if (!source.Problem().empty()) {
        problem = "it could not be read on after " + TimeWords(last) + ": " + source.Problem();
    } else if (end == EMcapStep::Bad) {
        problem = "it is damaged behind " + TimeWords(last) + ": " + reader.Problem();
    } else if (end == EMcapStep::Cut) {
        problem = "it is cut after " + TimeWords(last) + ": " + reader.Problem();
    } else if (reader.WrongChecksums() > 0) {
        problem = "checksums in it do not agree with what they stand for";
    }
    if (telling.IsEmpty()) {
        problem += std::string(problem.empty() ? "" : "; ") +
                   "it tells of no place of the machine: neither a service's state nor the event "
                   "cb_relative_position is in it";
    }
    return problem;
}

/// Takes a message that stands beside the link.
void TakeBeside(const CMcapReader& reader, double time, CDriveTelling& telling)
{
    const CMcapMessage& message = reader.Message();
    const auto channel = reader.Channels().find(message.channelId);
    if (channel != reader.Channels().end() && channel->second.topic == kStateTopic &&
        message.data.size() < kLongestState) {
        telling.TakeState(time,
                          Json::parse(message.data.begin(), message.data.end(), nullptr, false));
    }
}

/// A recording in memory, up to a size.
class CMemoryPart : public CMcapSink
{
public:
    bool Write(std::string_view head, std::string_view data) override
    {
        if (m_bytes.size() + head.size() + data.size() > kLargestPart) {
            m_isFull = true;
        }
        if (!m_isFull) {
            m_bytes.append(head).append(data);
        }
        return !m_isFull;
    }
    bool IsFull() const { return m_isFull; }
    std::string Take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
    bool m_isFull = false;
};

} // namespace

RecordedDrive ReadDrive(const std::string& path, ReadingProgress& progress)
{
    CFileSource source(path);
    CMcapReader reader(source, Decompressions());
    CRecordedLink link(reader);
    CDriveTelling telling;
    double last = 0.0;
    progress.size = source.Size();
    link.ReadValuesOf(CDriveTelling::Wants);
    link.HandOn([&](bool isOfLink) {
        EndWorkIfStopped();
        progress.position = reader.Position();
        if (reader.Kind() == EMcapRecord::Message) {
            last = std::max(last, SecondsOf(link, reader.Message().logTime));
            if (!isOfLink) {
                TakeBeside(reader, SecondsOf(link, reader.Message().logTime), telling);
            }
        }
    });
    CRecordedItem item;
    EMcapStep step = EMcapStep::Record;
    while ((step = link.Next(item)) == EMcapStep::Record) {
        EndWorkIfStopped();
        telling.TakeItem(SecondsOf(link, item.time), item);
    }
    progress.position = progress.size.load();
    return {telling.View(), link.Start(), ProblemOf(step, source, reader, telling, last)};
}

std::string ProblemOfRecording(const std::string& path)
{
    CFileSource source(path);
    CMcapReader reader(source, Decompressions());
    const EMcapStep step = source.Problem().empty() ? reader.Next() : EMcapStep::Bad;
    if (!source.Problem().empty()) {
        return path + ": " + source.Problem();
    }
    return step == EMcapStep::Bad ? path + ": " + reader.Problem() : std::string();
}

std::string PartOfRecording(const std::string& path, double from, double to, std::string& problem)
{
    CFileSource source(path);
    CMcapReader reader(source, Decompressions());
    CRecordedLink link(reader);
    CMemoryPart part;
    bool isBehind = false;
    CRecordingCut cut(reader, link, part, [&](std::uint64_t time) {
        EndWorkIfStopped();
        const double seconds = SecondsOf(link, time);
        isBehind = seconds > to;
        return seconds >= from && seconds <= to;
    });
    CRecordedItem item;
    while (!isBehind && !part.IsFull() && link.Next(item) == EMcapStep::Record) {
        cut.Add(item);
    }
    const bool isWritten = cut.Finish();
    if (!source.Problem().empty()) {
        problem = source.Problem();
    } else if (part.IsFull()) {
        problem =
            "the part has more than 64 MiB: choose a shorter one, or use navctl recording cut";
    } else if (!isWritten) {
        problem = "the part could not be written";
    } else if (cut.Writer().MessageCount() == 0) {
        problem = "there is nothing in that part of the recording";
    }
    return problem.empty() ? part.Take() : std::string();
}
