#include <cerrno>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "recording/reading/Chunks.h"
#include "recording/reading/RecordedLink.h"
#include "tools/navctl/report/DriveSource.h"

namespace {

using RecordedJson = nlohmann::ordered_json;

const char* const kTrueState = "/machine/true_state";
constexpr double kNanosecondsOfASecond = 1e9;

/// What is left of a file behind its head.
class CDescriptorSource : public CMcapSource
{
public:
    CDescriptorSource(std::string head, int descriptor)
        : m_head(std::move(head)), m_descriptor(descriptor)
    {
    }

    std::size_t Read(char* into, std::size_t room) override
    {
        if (m_place < m_head.size()) {
            const std::size_t count = m_head.copy(into, room, m_place);
            m_place += count;
            return count;
        }
        ssize_t count = 0;
        do {
            count = ::read(m_descriptor, into, room);
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            m_problem = std::strerror(errno);
        }
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }

    const std::string& Problem() const { return m_problem; }

private:
    const std::string m_head;
    const int m_descriptor;
    std::size_t m_place = 0;
    std::string m_problem;
};

double NumberOf(const RecordedJson& object, const char* name)
{
    const auto found = object.find(name);
    return found != object.end() && found->is_number() ? found->get<double>()
                                                       : DriveSample::kUnknown;
}

/// A number of a list; not a number where there is none.
double NumberAt(const RecordedJson& list, std::size_t index)
{
    return list.is_array() && index < list.size() && list[index].is_number()
               ? list[index].get<double>()
               : DriveSample::kUnknown;
}

int PassOf(double number)
{
    return std::abs(number) < 1e9 ? static_cast<int>(std::lround(number)) : 0;
}

/// Takes the machine's true state where a recording has it, and otherwise what an application was
/// told: where guidance had the machine.
class CRecordingDrive
{
public:
    CRecordingDrive(CMcapSource& source, CDriveReport& report)
        : m_report(report), m_reader(source, Decompressions()), m_link(m_reader)
    {
        m_link.HandOn([this](bool) { TakeRecord(); });
        m_link.ReadValuesOf([](const CRecordedItem& head) { return IsOfInterest(head); });
    }

    /// @return false at the end, or where something is wrong.
    bool Next()
    {
        CRecordedItem item;
        const EMcapStep step = m_link.Next(item);
        if (step == EMcapStep::Record && !m_isTrue && IsOfInterest(item)) {
            TakeEvent(item);
        }
        m_step = step;
        return step == EMcapStep::Record && m_problem.empty();
    }

    std::uint64_t Position() const { return m_reader.Position(); }

    DriveReading Finish()
    {
        DriveReading reading;
        reading.isTrue = m_isTrue;
        const auto run = m_link.Origin().find("run");
        reading.run = run == m_link.Origin().end() ? "" : run->second;
        if (m_step == EMcapStep::Bad) {
            m_problem = m_reader.Problem();
        } else if (m_problem.empty() && m_report.Samples() == 0) {
            m_problem = "the recording has no positions: neither the machine's true state, which "
                        "the simulator records, nor cb_relative_position, which an application "
                        "gets that subscribes to it";
        } else if (m_problem.empty() && !m_isTrue && !m_hasErrors) {
            m_problem = "the recording has positions and no cross-track errors: the application "
                        "was not subscribed to cb_guidance_status";
        }
        reading.problem = m_problem.empty() ? "" : ": " + m_problem;
        if (m_step == EMcapStep::Cut) {
            reading.remarks.push_back("The recording is cut: " + m_reader.Problem() +
                                      "; every complete record counts.");
        }
        if (!m_isTrue && !m_hasStatus) {
            reading.remarks.emplace_back("The recording has no cb_engage_status: steering is taken "
                                         "to have been engaged wherever there is an error.");
        }
        return reading;
    }

private:
    static bool IsOfInterest(const CRecordedItem& item)
    {
        return item.kind == ERecorded::Event &&
               (item.name == "cb_relative_position" || item.name == "cb_guidance_status" ||
                item.name == "cb_engage_status");
    }

    /// The channel of the true state is declared before anything else is recorded.
    void TakeRecord()
    {
        if (m_reader.Kind() == EMcapRecord::Channel) {
            for (const auto& [id, channel] : m_reader.Channels()) {
                m_isTrue = m_isTrue || channel.topic == kTrueState;
            }
        } else if (m_reader.Kind() == EMcapRecord::Message && m_problem.empty()) {
            const CMcapMessage& message = m_reader.Message();
            if (m_reader.Channels().at(message.channelId).topic == kTrueState) {
                TakeState(message);
            }
        }
    }

    void TakeState(const CMcapMessage& message)
    {
        const RecordedJson state =
            RecordedJson::parse(message.data.begin(), message.data.end(), nullptr, false);
        if (!state.is_object()) {
            m_problem = "a true state of the machine is not JSON";
            return;
        }
        DriveSample sample;
        sample.time = NumberOf(state, "time_s");
        sample.x = NumberOf(state, "x_m");
        sample.y = NumberOf(state, "y_m");
        sample.speed = NumberOf(state, "speed_mps");
        sample.steeringAngle = NumberOf(state, "steering_angle_rad");
        sample.error = NumberOf(state, "cross_track_error_m");
        sample.implementError = NumberOf(state, "implement_cross_track_error_m");
        sample.driftError = NumberOf(state, "receiver_drift_error_m");
        sample.pass = PassOf(NumberOf(state, "pass"));
        const auto engaged = state.find("engaged");
        sample.isEngaged = engaged != state.end() && engaged->is_boolean() && engaged->get<bool>();
        Add(sample);
    }

    void TakeEvent(const CRecordedItem& item)
    {
        if (m_client == 0) {
            m_client = item.client;
        }
        if (item.client != m_client) {
            return; // of a service's recording that has several: each is told the same
        }
        if (item.name == "cb_guidance_status") {
            m_pass = PassOf(NumberAt(item.value, 0));
            m_error = NumberAt(item.value, 1);
            m_hasErrors = m_hasErrors || !std::isnan(m_error);
        } else if (item.name == "cb_engage_status") {
            m_hasStatus = true;
            m_isEngaged = NumberAt(item.value, 0) == 1.0;
        } else {
            DriveSample sample;
            m_start = m_start.value_or(item.time);
            sample.time = static_cast<double>(item.time - *m_start) / kNanosecondsOfASecond;
            sample.x = NumberAt(item.value, 0);
            sample.y = NumberAt(item.value, 1);
            sample.error = m_error;
            sample.pass = m_pass;
            sample.isEngaged = !std::isnan(m_error) && (m_isEngaged || !m_hasStatus);
            Add(sample);
        }
    }

    void Add(const DriveSample& sample)
    {
        const std::string problem = m_report.Add(sample);
        if (!problem.empty()) {
            m_problem = "position " + std::to_string(m_report.Samples() + 1) + ": " + problem;
        }
    }

    CDriveReport& m_report;
    CMcapReader m_reader;
    CRecordedLink m_link;
    EMcapStep m_step = EMcapStep::Record;
    std::string m_problem;
    bool m_isTrue = false;
    std::uint64_t m_client = 0;
    std::optional<std::uint64_t> m_start;
    int m_pass = 0;
    double m_error = DriveSample::kUnknown;
    bool m_hasErrors = false;
    bool m_hasStatus = false;
    bool m_isEngaged = false;
};

} // namespace

DriveReading ReadRecording(std::string head, int descriptor, CReadingProgress& progress,
                           CDriveReport& report)
{
    CDescriptorSource source(std::move(head), descriptor);
    CRecordingDrive drive(source, report);
    while (drive.Next()) {
        progress.Show(drive.Position(), "record");
    }
    DriveReading reading = drive.Finish();
    if (!source.Problem().empty()) {
        reading.problem = ": " + source.Problem();
    }
    return reading;
}
