#include "tools/navctl/feed/FeedCommand.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include <poll.h>

#include "tools/navctl/Output.h"
#include "tools/navctl/feed/CsvSampleReader.h"
#include "tools/navctl/feed/FeedOptions.h"
#include "tools/navctl/feed/FeedProgress.h"
#include "tools/navctl/feed/FeedReport.h"
#include "tools/navctl/feed/FeedRun.h"
#include "tools/navctl/feed/Interrupt.h"
#include "tools/navctl/feed/NmeaReader.h"
#include "tools/navctl/feed/SampleWait.h"
#include "tools/navctl/files/OpenFile.h"
#include "tools/navctl/operations/Refusal.h"
#include "tools/navctl/operations/ServiceQuestion.h"

namespace {

constexpr std::size_t kLongestInputLine = 65536;
constexpr int kLongestRestMilliseconds = 100;
constexpr std::int64_t kSecondsADay = 86400;
/// A stream may begin within a sentence; a whole one is among the first lines.
constexpr std::size_t kLinesThatTell = 10;

double UnixTimeNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

class CMonotonicClock : public CFeedClock
{
public:
    double Now() override
    {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration<double>(now).count();
    }

    void WaitTowards(double time) override
    {
        const double milliseconds = (time - Now()) * 1000.0;
        if (milliseconds > kLongestRestMilliseconds) {
            poll(nullptr, 0, kLongestRestMilliseconds);
        } else if (milliseconds > 0.0) {
            const timespec rest{0, static_cast<long>(milliseconds * 1e6)};
            nanosleep(&rest, nullptr);
        }
    }

    bool IsInterrupted() override { return CInterrupt::HasCome(); }
};

/// The service as the place where samples go.
class CServiceSink : public CPositionSink
{
public:
    CServiceSink(CNavigationAPI& navigation, CFeedClock& clock, double timeoutSeconds)
        : m_navigation(navigation), m_clock(clock), m_timeoutSeconds(timeoutSeconds)
    {
    }

    LinkErrorC Send(const PositionSample& sample, bool headingValid, int number) override
    {
        // The service has closed the link: sending would open another one without a word, and what
        // was not read would be lost unseen.
        if (m_hasSent && !m_navigation.IsLinkUp()) {
            m_hasSent = false;
            const LinkErrorC error = m_navigation.LastError();
            return error.code == ELinkError::None ? LinkErrorC{ELinkError::Closed, "closed"}
                                                  : error;
        }
        // What nobody has given is not a number, and not 0, which would mean something.
        const double unknown = std::numeric_limits<double>::quiet_NaN();
        constexpr int kUnknownCount = -1;
        m_navigation.SetPositionData(
            sample.latitude, sample.longitude, sample.height.value_or(unknown), *sample.course,
            *sample.speed, sample.roll.value_or(unknown), sample.pitch.value_or(unknown),
            *sample.yaw, sample.rollRate.value_or(unknown), sample.pitchRate.value_or(unknown),
            *sample.yawRate, sample.sigmaEast.value_or(unknown),
            sample.sigmaNorth.value_or(unknown), sample.sigmaUp.value_or(unknown),
            sample.positionValid, sample.fixQuality, sample.satellites.value_or(kUnknownCount),
            headingValid, *sample.reversing, number, *sample.time);
        // The result speaks of the guard alone; the last error covers the sending too.
        const LinkErrorC error = m_navigation.LastError();
        m_hasSent = error.code == ELinkError::None;
        return error;
    }

    LinkErrorC Confirm() override
    {
        // On a new connection a reply would say nothing of the samples.
        if (!m_navigation.IsLinkUp()) {
            return m_navigation.LastError();
        }
        // Messages are read in their order: a service's reply to any request means that they were.
        const CServiceAnswer answer = AskInShortTurns();
        if (answer.isService) {
            return {};
        }
        return answer.problem.empty() ? m_error
                                      : LinkErrorC{ELinkError::BadMessage, answer.problem};
    }

    std::optional<std::string> Refusal() override
    {
        if (!m_saysWhy || m_clock.IsInterrupted()) {
            return std::nullopt;
        }
        // One turn: no sample and no interruption waits longer for a service that says nothing.
        m_navigation.SetTimeout(Milliseconds(std::min(m_timeoutSeconds, kLongestTurn)));
        const std::string reason = WhyRefused(m_navigation, "SetPositionData");
        const ELinkError code = m_navigation.LastError().code;
        m_navigation.SetTimeout(Milliseconds(m_timeoutSeconds));
        m_saysWhy = code == ELinkError::None || code == ELinkError::NoValue;
        return m_saysWhy ? std::optional<std::string>(reason) : std::nullopt;
    }

private:
    /// Waits for the reply as long as the connection's time-out says, but in turns, so that a user
    /// who wants the feed to end does not wait for a service that says nothing.
    CServiceAnswer AskInShortTurns()
    {
        const double end = m_clock.Now() + m_timeoutSeconds;
        CServiceAnswer answer;
        do {
            const double turn = std::clamp(end - m_clock.Now(), kShortestTurn, kLongestTurn);
            m_navigation.SetTimeout(Milliseconds(turn));
            answer = AskWhetherService(m_navigation);
            m_error = m_navigation.LastError();
        } while (m_error.code == ELinkError::TimedOut && m_clock.Now() < end &&
                 !m_clock.IsInterrupted());
        m_navigation.SetTimeout(Milliseconds(m_timeoutSeconds));
        return answer;
    }

    static constexpr double kShortestTurn = 0.001; // seconds
    static constexpr double kLongestTurn = 0.5;

    CNavigationAPI& m_navigation;
    CFeedClock& m_clock;
    double m_timeoutSeconds;
    LinkErrorC m_error;    ///< of the last question
    bool m_saysWhy = true; ///< as far as is known
    bool m_hasSent = false;
};

/// Reads nothing: for a feed that has failed before it has read.
class CNothingRead : public CSampleReader
{
public:
    ESample Next(PositionSample&, int) override { return ESample::End; }
};

/// What to say of a speed that the file does not give, when the service refuses it.
std::string OfDerivedSpeed(const FeedOptions& options)
{
    const std::string from = "the file tells no speed: it was derived from the distance and ";
    if (!options.interval) {
        return from + "the time between samples";
    }
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", *options.interval);
    return from + "--interval " + seconds + ": try a longer interval, or a column speed";
}

/// One run of the command.
class CFeedCommand
{
public:
    CFeedCommand(CContext& context, const FeedOptions& options)
        : m_context(context), m_options(options), m_file(options.file),
          m_lines(m_file.Descriptor(), kLongestInputLine)
    {
    }

    void Run()
    {
        m_context.AddToFailures(FeedCounts({}, CNothingRead()));
        if (!m_file.Problem().empty()) {
            return m_context.Fail(kExitUsage, m_file.Problem());
        }
        const CInterrupt interrupt;
        // What is not a navigation service takes samples as well as anything else.
        if (!m_context.Reach() || !SpeaksToService(m_context)) {
            return;
        }
        m_start = m_clock.Now();
        m_format = Format();
        const std::string problem = OptionOfOtherFormat(m_options, m_format);
        if (!problem.empty()) {
            return m_context.Fail(kExitUsage, problem);
        }
        const std::unique_ptr<CSampleReader> reader = MakeReader();
        CServiceSink sink(m_context.Navigation(), m_clock, m_context.options.timeoutSeconds);
        const auto show = [&](const FeedResult& result) { Show(result, *reader); };
        const auto tell = [this](const std::string& text) { Tell(text); };
        const FeedResult result =
            CFeedRun({*reader, sink, m_clock, show, tell, OfDerivedSpeed(m_options)},
                     FeedRate(m_options), m_options.secondsToReconnect)
                .Run();
        m_progress.Clear();
        Report(result, *reader);
    }

private:
    void Tell(const std::string& text)
    {
        m_progress.Clear();
        WriteError(text);
    }

    void Show(const FeedResult& result, const CSampleReader& reader)
    {
        const double seconds = m_clock.Now() - m_start;
        m_progress.Show({m_lines.BytesUsed(), m_file.Length(), result.handedOver,
                         reader.Skipped().Total(), seconds});
        if (result.handedOver == 0) {
            m_wait.Look(seconds, [&] { return FoundSoFar(reader, m_lines.BytesTaken()); });
        }
    }

    std::unique_ptr<CSampleReader> MakeReader()
    {
        const double now = UnixTimeNow();
        if (m_format == EFeedFormat::Nmea) {
            return std::make_unique<CNmeaReader>(m_lines, NmeaOptions(now));
        }
        CsvSampleOptions csv;
        csv.origin = m_options.origin;
        csv.interval = m_options.interval;
        csv.startTime = now;
        csv.timeIsOfArrival = m_file.IsStandardInput();
        csv.clock = UnixTimeNow;
        csv.remark = WriteError;
        csv.instead = [this] { return TakenInsteadOfColumns(m_beginning); };
        return std::make_unique<CCsvSampleReader>(m_lines, csv);
    }

    NmeaReaderOptions NmeaOptions(double now)
    {
        NmeaReaderOptions nmea;
        nmea.epochs.day = m_options.day.value_or(static_cast<std::int64_t>(now) / kSecondsADay);
        nmea.epochs.burstBeginsWith = m_options.burstBeginsWith;
        nmea.signs = m_options.signs;
        nmea.isLive = !m_file.IsRegular();
        nmea.dayIsGuessed = !m_options.day;
        nmea.remark = [this](const std::string& text) { Tell(text); };
        return nmea;
    }

    /// The format of the input, which shows it itself if nothing else does. What neither begins
    /// with the names of columns nor has a sentence soon is what the options are for; without them
    /// it is, on the standard input, a receiver's stream all the same; a file is one of values,
    /// whose reader says what is wrong with it.
    EFeedFormat Format()
    {
        // Of a file, its beginning is there at once.
        if (m_file.IsRegular()) {
            m_beginning = m_lines.Peek([](const std::string&) { return true; });
        }
        if (const std::optional<EFeedFormat> named = FeedFormatByName(m_options)) {
            return *named;
        }
        m_beginning = m_lines.Peek(
            [](const std::string& text) {
                return FeedFormatByContent(text).has_value() ||
                       LinesThatSay(text) >= kLinesThatTell;
            },
            [this] {
                Show({}, CNothingRead());
                return !m_clock.IsInterrupted();
            });
        if (const std::optional<EFeedFormat> told = FeedFormatByContent(m_beginning)) {
            return *told;
        }
        return FeedFormatByOptions(m_options).value_or(
            m_file.IsStandardInput() && !m_beginning.empty() ? EFeedFormat::Nmea
                                                             : EFeedFormat::Csv);
    }

    void Report(const FeedResult& result, const CSampleReader& reader)
    {
        EExitCode code = kExitDone;
        std::string reason;
        if (result.end == EFeedEnd::BadFile) {
            code = kExitUsage;
            reason = m_options.file + ": " + result.problem;
        } else if (result.end == EFeedEnd::LinkFailed) {
            const CLinkFailure failure = LinkFailure(result.linkError);
            code = failure.code;
            reason = failure.reason;
        } else if (result.handedOver == 0 && result.end != EFeedEnd::Interrupted) {
            code = kExitUsage;
            reason = m_options.file + ": " + NothingToSend(reader);
            const std::string instead =
                m_format == EFeedFormat::Nmea ? TakenInsteadOfSentences(m_beginning) : "";
            reason += (instead.empty() ? "" : "; ") + instead;
        }
        if (code == kExitDone && result.looks > 0 && result.refusedLooks == result.looks) {
            code = kExitRefused;
            reason = "the service refused the samples: " + result.refusal;
        }
        if (code != kExitDone) {
            WriteError(reason);
        }
        std::string text = FeedText(result, reader);
        if (m_lines.BareReturns() > 0) {
            text += "\nlines that end with CR alone: " + std::to_string(m_lines.BareReturns()) +
                    "; they count as one line up to the next LF";
        }
        m_context.Print(FeedJson(result, reader, code, reason), text);
        m_context.Finish(code);
    }

    CLinkFailure LinkFailure(const LinkErrorC& error)
    {
        // Once lost and not found again, a service that has closed the link is one that is gone.
        if (error.code == ELinkError::Closed) {
            return {kExitCannotConnect, "the link is lost: " + error.text};
        }
        // Another program may have come in the place of a service that was lost.
        const std::string otherProgram = m_context.OtherProgram(error);
        if (!otherProgram.empty()) {
            return {kExitProtocolError, "protocol error: " + otherProgram};
        }
        return CallFailure(error);
    }

    CContext& m_context;
    const FeedOptions& m_options;
    COpenFile m_file;
    CLineReader m_lines;
    EFeedFormat m_format = EFeedFormat::Nmea;
    std::string m_beginning; ///< of the file, as far as it was looked at for its format
    CMonotonicClock m_clock;
    double m_start = 0.0; ///< of the clock
    CFeedProgress m_progress;
    CSampleWait m_wait{[this](const std::string& text) { Tell(text); }};
};

} // namespace

void AddFeedCommand(CLI::App& app, CContext& context)
{
    CLI::App* command =
        app.add_subcommand("feed", "Sends position samples from a file or from standard input");
    command->footer(
        "Reads NMEA 0183 sentences (GGA, GNS, RMC, GLL, GBS, GST, ZDA, VTG, HDT, THS, HDG, ROT, "
        "PASHR, GSA), or\ncomma-separated values whose first line names the columns; "
        "see navctl-files.md.");
    const auto options = std::make_shared<FeedOptions>();
    AddFeedOptions(*command, *options);
    command->callback([&context, options] { CFeedCommand(context, *options).Run(); });
}
