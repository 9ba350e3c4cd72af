#include "tools/navctl/watch/WatchCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>

#include "tools/navctl/Suggestion.h"
#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/watch/EventLoop.h"
#include "tools/navctl/watch/Lightbar.h"
#include "tools/navctl/watch/ListenerCheck.h"
#include "tools/navctl/watch/RedrawnText.h"
#include "tools/navctl/watch/Silence.h"

namespace {

using EEnd = CEventLoop::EEnd;

constexpr int kGreatestCount = 1000000000;
constexpr double kLongestWatch = 365.0 * 86400.0; // seconds
/// Lamps that stand still are soon out of date; a line of text has its time.
constexpr std::chrono::seconds kLampsSilence(2);
constexpr std::chrono::seconds kLinesSilence(5);

/// What the command was asked for.
struct CWatchOptions
{
    std::vector<std::string> events; ///< empty for all
    unsigned long count = 0;         ///< 0 for no end
    double seconds = 0.0;            ///< 0 for no end
    bool lightbar = false;
};

std::optional<std::chrono::duration<double>> LimitOf(const CWatchOptions& options)
{
    if (options.seconds <= 0.0) {
        return std::nullopt;
    }
    return std::chrono::duration<double>(options.seconds);
}

struct CTimeStamps
{
    std::string full;  ///< date and time, UTC
    std::string clock; ///< the user's time of day
};

CTimeStamps TimeStampsNow()
{
    using std::chrono::system_clock;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const long milliseconds =
        std::chrono::floor<std::chrono::milliseconds>(now).time_since_epoch().count() % 1000;
    std::tm utc{};
    std::tm local{};
    ::gmtime_r(&seconds, &utc);
    ::localtime_r(&seconds, &local);
    char date[40];
    char clock[40];
    char fraction[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    std::strftime(clock, sizeof clock, "%H:%M:%S", &local);
    std::snprintf(fraction, sizeof fraction, ".%03ld", milliseconds);
    return {std::string(date) + fraction + "Z", std::string(clock) + fraction};
}

std::string JsonLine(const CEvent& event)
{
    Json line{{"time", TimeStampsNow().full}, {"event", event.name}};
    line.update(event.fields);
    return line.dump();
}

/// Ends the command with a failure; with `--json`, the last line reports it as an event.
void FailWatch(CContext& context, EExitCode code, const std::string& reason)
{
    WriteError(reason);
    if (context.WritesJson()) {
        context.Print({{"time", TimeStampsNow().full},
                       {"event", "error"},
                       {"exit_code", static_cast<int>(code)},
                       {"reason", reason}},
                      "");
    }
    context.Finish(code);
}

std::string TextLine(const CEvent& event, bool hasColours)
{
    std::string name = event.name;
    name.resize(std::max<std::size_t>(name.size(), 24), ' ');
    if (hasColours) {
        name = "\033[1m" + name + "\033[0m";
    }
    return TimeStampsNow().clock + "  " + name + "  " + event.text;
}

/// Ends the command by how the loop has ended. May end the connection: no subscription may be left.
void Conclude(CContext& context, const CEventLoop& loop, EEnd end, const CListenerCheck& check,
              const std::string& missing)
{
    const LinkErrorC error = context.Navigation().LastError();
    if (end == EEnd::NoService) {
        FailWatch(context, kExitProtocolError, "protocol error: " + check.OtherProgram());
    } else if (end == EEnd::BadMessage) {
        const std::string otherProgram = context.OtherProgram(error);
        FailWatch(context, kExitProtocolError,
                  otherProgram.empty() ? CallFailure(error).reason
                                       : "protocol error: " + otherProgram);
    } else if (end == EEnd::TimeIsUp && !loop.HasBeenUp()) {
        const CLinkFailure failure = ConnectFailure(error);
        FailWatch(context, failure.code, failure.reason);
    } else if (end == EEnd::TimeIsUp && check.Failure() &&
               check.Failure()->code == ELinkError::Closed) {
        const CLinkFailure failure = CallFailure(*check.Failure());
        FailWatch(context, failure.code, failure.reason);
    } else if (end == EEnd::TimeIsUp && !missing.empty()) {
        FailWatch(context, kExitNoReply, missing);
    } else if (end == EEnd::TimeIsUp && check.Failure()) {
        const CLinkFailure failure = CallFailure(*check.Failure());
        FailWatch(context, failure.code, failure.reason);
    } else {
        context.Finish();
    }
}

/// Reports that the service has to be waited for, and that the wait is over: when it has answered
/// something, as a link alone may be to one that hangs.
class CLinkTeller
{
public:
    void Wait(const std::string& reason)
    {
        WriteError("waiting for the service: " + reason);
        m_hasWaited = true;
    }
    void Look(const CListenerCheck& check)
    {
        if (!m_hasWaited || !check.AnswersNow()) {
            return;
        }
        WriteError("connected");
        m_hasWaited = false;
    }

private:
    bool m_hasWaited = false;
};

/// Reports that the events have stopped though the link is up, and that they come again.
class CSilenceTeller
{
public:
    /// To be called before an event is shown, which may take any time, ...
    void Begin()
    {
        if (m_isTold) {
            WriteError("events come again");
        }
        m_isTold = false;
    }
    /// ... and afterwards.
    void End(const CEvent& event) { m_silence.Hear(event, CSilence::Clock::now()); }
    void Forget()
    {
        m_silence.Forget();
        m_isTold = false;
    }
    void Look()
    {
        const std::optional<long> seconds = m_silence.SecondsAt(CSilence::Clock::now());
        if (!seconds || m_isTold) {
            return;
        }
        WriteError("no event for " + std::to_string(*seconds) +
                   " s; the service is connected, but may hang");
        m_isTold = true;
    }

private:
    CSilence m_silence{kLinesSilence};
    bool m_isTold = false;
};

bool HasNoReader(COutput& output)
{
    return output.HasLostReader() || output.HasFailed();
}

std::string TooFew(unsigned long told, unsigned long wanted)
{
    return std::to_string(told) + (told == 1 ? " event" : " events") + " in the time, not " +
           std::to_string(wanted);
}

void WatchLines(CContext& context, const CWatchOptions& options,
                const std::vector<const CEventKind*>& kinds)
{
    unsigned long told = 0;
    const bool hasColours = context.Output().HasColours();
    CSilenceTeller silence;
    CLinkTeller link;
    CListenerCheck check(context.Navigation(), context.options.timeoutSeconds);
    const auto isFull = [&] { return options.count > 0 && told >= options.count; };
    const auto sink = [&](const CEvent& event) {
        if (isFull()) {
            return;
        }
        ++told;
        check.Hear();
        link.Look(check);
        silence.Begin();
        COutput& output = context.Output();
        output.WriteLine(context.WritesJson() ? JsonLine(event)
                                              : output.Fitted(TextLine(event, hasColours)));
        silence.End(event);
    };
    std::optional<CSubscription> subscription(std::in_place, context.Navigation(), kinds, sink);
    CEventLoop loop(context.Navigation(), context.Output().Descriptor());
    const CEventLoop::Listener listener{
        [&] { return isFull() || HasNoReader(context.Output()); },
        [&] {
            silence.Look();
            check.AskAgain();
            link.Look(check);
        },
        [&](bool isUp, const std::string& reason) {
            if (!isUp) {
                check.LoseLink();
                link.Wait(reason);
            }
            silence.Forget();
        },
        [&check](double secondsLeft) { return check.IsService(secondsLeft); }};
    const EEnd end = loop.Run(listener, LimitOf(options));
    subscription.reset();
    const bool isShort = options.count > 0 && !isFull();
    Conclude(context, loop, end, check, isShort ? TooFew(told, options.count) : "");
}

void WatchLightbar(CContext& context, const CWatchOptions& options)
{
    CLightbar lightbar;
    CSilence silence(kLampsSilence);
    CListenerCheck check(context.Navigation(), context.options.timeoutSeconds);
    const auto sink = [&](const CEvent& event) {
        check.Hear();
        lightbar.Take(event);
        silence.Hear(event, CSilence::Clock::now());
    };
    std::optional<CSubscription> subscription(std::in_place, context.Navigation(),
                                              CLightbar::Kinds(), sink);
    CEventLoop loop(context.Navigation(), context.Output().Descriptor());
    EEnd end = EEnd::Done;
    {
        CRedrawnText writer(context.Output());
        const auto draw = [&] {
            check.AskAgain();
            COutput& output = context.Output();
            if (const std::optional<long> seconds = silence.SecondsAt(CSilence::Clock::now())) {
                lightbar.FallSilent(*seconds);
            }
            writer.Show(lightbar.Draw(
                {output.HasColours(), HasUtf8(), output.IsTerminal() ? output.Columns() : 0}));
        };
        const auto linkChanged = [&](bool isUp, const std::string& reason) {
            silence.Forget();
            if (!isUp) {
                check.LoseLink();
                lightbar.LoseLink(reason);
            }
        };
        const auto isDone = [&] { return HasNoReader(context.Output()); };
        const auto isService = [&check](double seconds) { return check.IsService(seconds); };
        end = loop.Run({isDone, draw, linkChanged, isService}, LimitOf(options));
    }
    subscription.reset();
    Conclude(context, loop, end, check, "");
}

void Watch(CContext& context, const CWatchOptions& options)
{
    if (options.lightbar) {
        WatchLightbar(context, options);
        return;
    }
    std::vector<const CEventKind*> kinds;
    for (const CEventKind& kind : EventKinds()) {
        const auto isAsked = [&kind](const std::string& name) {
            return FindEventKind(name) == &kind;
        };
        if (options.events.empty() ||
            std::any_of(options.events.begin(), options.events.end(), isAsked)) {
            kinds.push_back(&kind);
        }
    }
    WatchLines(context, options, kinds);
}

std::string CheckEvent(const std::string& name)
{
    if (FindEventKind(name) != nullptr) {
        return {};
    }
    std::string names;
    std::vector<std::string> words;
    for (const CEventKind& kind : EventKinds()) {
        names += std::string(names.empty() ? "" : ", ") + kind.name;
        words.emplace_back(kind.name);
    }
    return "\"" + name + "\" is no event, allowed are " + names + Suggestion(name, words);
}

std::string EventsHelp()
{
    std::string help = "Events: ";
    for (const CEventKind& kind : EventKinds()) {
        help += std::string("\n  ") + kind.name + ": " + kind.summary;
    }
    return help + "\nWhen the events that come ten times a second stop though the link is up, the "
                  "standard error says so after 5 s; the lightbar goes out after 2 s.";
}

} // namespace

void AddWatchCommand(CLI::App& app, CContext& context)
{
    CLI::App* const command = app.add_subcommand(
        "watch", "Prints the service's events as they come, and reconnects by itself");
    const auto options = std::make_shared<CWatchOptions>();
    CLI::Option* const events =
        command->add_option("event", options->events, "The events to print; all without any")
            ->check(CLI::Validator(CheckEvent, ""))
            ->type_name("");
    CLI::Option* const count =
        command->add_option("--count", options->count, "End after so many events")
            ->check(WholeNumberWithin(1, kGreatestCount))
            ->type_name("NUMBER");
    command->add_option("--for", options->seconds, "End after so many seconds, a year at most")
        ->check(NumberWithin(0.001, kLongestWatch, "0.001 to 31536000"))
        ->type_name("SECONDS");
    command
        ->add_flag("--lightbar", options->lightbar,
                   "Show the cross-track error as a row of lamps, redrawn in place")
        ->excludes(events)
        ->excludes(count);
    command->footer(EventsHelp());
    command->callback([&context, options] {
        if (options->lightbar && context.WritesJson()) {
            context.Fail(kExitUsage, "--lightbar has no JSON form; watch guidance-status instead");
        } else {
            Watch(context, *options);
        }
    });
}
