#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include <poll.h>

#include "tools/navctl/feed/Interrupt.h"
#include "tools/navctl/recording/ReplayLink.h"
#include "tools/navctl/recording/ReplayRun.h"
#include "tools/navctl/recording/ValueComparison.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostToldInText = 100;

/// What the present service says beside what the recorded one said.
class CReplayedAnswers
{
public:
    CReplayedAnswers(const CReplayScript& script, double tolerance)
        : m_script(script), m_tolerance(tolerance)
    {
        for (std::size_t place = 0; place < script.items.size(); ++place) {
            const CRecordedItem& item = script.items[place];
            if (item.kind == ERecorded::Reply && item.request != 0) {
                m_replies[item.request] = place;
            } else if (item.kind == ERecorded::Event) {
                m_events[item.name].recorded.push_back(place);
            }
        }
    }

    void Sent(const CRecordedItem& request)
    {
        if (request.kind == ERecorded::Request) {
            m_open[request.id] = request.number;
        }
    }

    void Came(const CRecordedItem& item)
    {
        if (item.kind == ERecorded::Event) {
            Event& event = m_events[item.name];
            ++event.came;
            event.came <= event.recorded.size()
                ? Compare(m_script.items[event.recorded[event.came - 1]], item)
                : Add(item);
            return;
        }
        const auto request = m_open.find(item.id);
        const auto reply =
            request == m_open.end() ? m_replies.end() : m_replies.find(request->second);
        if (item.kind != ERecorded::Reply || reply == m_replies.end()) {
            Add(item);
            return;
        }
        Compare(m_script.items[reply->second], item);
        m_replies.erase(reply);
        m_open.erase(request);
    }

    /// Whether all that was recorded before a place has come.
    bool HasAllBefore(std::size_t place) const
    {
        const bool hasReplies =
            std::all_of(m_replies.begin(), m_replies.end(),
                        [place](const auto& reply) { return reply.second >= place; });
        return hasReplies &&
               std::all_of(m_events.begin(), m_events.end(), [place](const auto& entry) {
                   const Event& event = entry.second;
                   return event.came >= event.recorded.size() ||
                          event.recorded[event.came] >= place;
               });
    }

    void Finish()
    {
        for (const auto& reply : m_replies) {
            Miss(m_script.items[reply.second]);
        }
        for (const auto& entry : m_events) {
            for (std::size_t place = entry.second.came; place < entry.second.recorded.size();
                 ++place) {
                Miss(m_script.items[entry.second.recorded[place]]);
            }
        }
    }

    std::uint64_t identical = 0;
    std::uint64_t different = 0;
    std::uint64_t missing = 0;
    std::uint64_t additional = 0;
    Json told = Json::array();
    std::string text;

private:
    struct Event
    {
        std::vector<std::size_t> recorded; ///< places
        std::size_t came = 0;
    };

    void Compare(const CRecordedItem& recorded, const CRecordedItem& item)
    {
        // That reply has the options with which the service was started, the recording's file
        // among them.
        const bool isCompared = recorded.name != "simulator_describe";
        const std::string difference =
            recorded.isError != item.isError
                ? std::string(item.isError ? "an error" : "a value") + " in place of the other"
            : !isCompared ? std::string()
                          : DifferenceOf(ValueOf(recorded), item.value, m_tolerance);
        if (difference.empty()) {
            ++identical;
        } else {
            ++different;
            Tell("different", recorded.number, recorded.name + " " + difference);
        }
    }

    void Miss(const CRecordedItem& item)
    {
        ++missing;
        Tell("missing", item.number, std::string(NameOf(item.kind)) + " " + item.name);
    }

    void Add(const CRecordedItem& item)
    {
        ++additional;
        Tell("additional", 0, std::string(NameOf(item.kind)) + " " + item.name);
    }

    void Tell(const char* what, std::uint64_t number, const std::string& words)
    {
        if (told.size() < kMostTold) {
            told.push_back({{"what", what}, {"number", number}, {"difference", words}});
        }
        if (told.size() <= kMostToldInText) {
            text += std::string(what) + (number == 0 ? "" : " " + std::to_string(number)) + ": " +
                    Printable(words) + "\n";
        }
    }

    const CReplayScript& m_script;
    double m_tolerance;
    std::map<std::uint64_t, std::uint64_t> m_open;  // numbers on the link: of the recorded request
    std::map<std::uint64_t, std::size_t> m_replies; // that have not come, by their requests
    std::map<std::string, Event> m_events;
};

/// The application that a recording makes.
class CPlay
{
public:
    CPlay(CContext& context, const CReplayOptions& options, CReplayScript script)
        : m_context(context), m_options(options), m_script(std::move(script)),
          m_answers(m_script, options.tolerance)
    {
    }

    void Run()
    {
        const int descriptor = ConnectToService();
        if (descriptor < 0) {
            return m_context.Fail(kExitCannotConnect,
                                  std::string("cannot connect: localhost port 5010: ") +
                                      std::strerror(errno));
        }
        m_link = std::make_unique<CReplayLink>(descriptor);
        const CInterrupt interrupt;
        m_start = Clock::now();
        for (std::size_t place = 0; place < m_script.items.size() && IsGoing(); ++place) {
            if (IsOfApplication(m_script.items[place].kind)) {
                WaitFor(place);
                SendItem(m_script.items[place]);
            }
        }
        WaitForAll(m_script.items.size());
        m_answers.Finish();
        Report();
    }

private:
    bool IsGoing() const { return m_problem.empty() && !CInterrupt::HasCome(); }

    /// Waits until it is time for a message of the application.
    void WaitFor(std::size_t place)
    {
        if (m_options.stepped) {
            return WaitForAll(place);
        }
        const double seconds =
            std::chrono::duration<double>(Later(m_script.items[place].time, m_script.start))
                .count();
        const auto moment = m_start + std::chrono::duration_cast<Clock::duration>(
                                          std::chrono::duration<double>(seconds / m_options.rate));
        do {
            Attend(moment);
        } while (IsGoing() && Clock::now() < moment);
    }

    /// Waits until all that was recorded before a place has come, or the time-out is over.
    void WaitForAll(std::size_t place)
    {
        auto end = Clock::now() + Timeout();
        while (IsGoing() && !m_answers.HasAllBefore(place) && Clock::now() < end) {
            // As long as something comes the service is at work.
            end = Attend(end) ? Clock::now() + Timeout() : end;
        }
    }

    Clock::duration Timeout() const
    {
        return std::chrono::milliseconds(Milliseconds(m_context.options.timeoutSeconds));
    }

    /// Waits for something to come, and takes it; true when something has come.
    bool Attend(Clock::time_point moment)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now());
        const auto room = static_cast<short>(m_link->WaitsForRoom() ? POLLOUT : 0);
        pollfd entry{m_link->Descriptor(), static_cast<short>(POLLIN | room), 0};
        const int limit =
            static_cast<int>(std::clamp<long>(left.count(), 0, kLongestWaitMilliseconds));
        if (::poll(&entry, 1, limit) <= 0) {
            return false;
        }
        const bool isThere = m_link->Flush() && m_link->Receive();
        const bool hasMessage = TakeMessages();
        if (!isThere && m_problem.empty()) {
            m_problem = "the service closed the connection";
        }
        return hasMessage;
    }

    bool TakeMessages()
    {
        std::string_view bytes;
        bool hasMessage = false;
        auto result = m_link->Next(bytes);
        for (; result == CMessageCutter::EResult::Complete; result = m_link->Next(bytes)) {
            CRecordedItem item;
            if (!ReadLinkMessage(bytes, false, item)) {
                result = CMessageCutter::EResult::Bad;
                break;
            }
            m_answers.Came(item);
            hasMessage = true;
        }
        if (result == CMessageCutter::EResult::Bad) {
            m_problem = "the service sent what is no message";
        }
        return hasMessage;
    }

    void SendItem(const CRecordedItem& item)
    {
        if (!IsGoing()) {
            return;
        }
        m_answers.Sent(item);
        ++m_sent;
        if (!m_link->Send(item.bytes)) {
            m_problem = "the service closed the connection";
        }
    }

    void Report()
    {
        Json json{{"sent", m_sent},
                  {"identical", m_answers.identical},
                  {"different", m_answers.different},
                  {"missing", m_answers.missing},
                  {"additional", m_answers.additional},
                  {"told", m_answers.told}};
        const bool isSame =
            m_answers.different + m_answers.missing + m_answers.additional == 0 && IsGoing();
        if (!m_problem.empty()) {
            json["problem"] = m_problem;
            WriteError(m_problem);
        }
        m_context.Print(json, m_answers.text + std::to_string(m_sent) + " messages sent; " +
                                  std::to_string(m_answers.identical) + " answers identical, " +
                                  std::to_string(m_answers.different) + " different, " +
                                  std::to_string(m_answers.missing) + " missing, " +
                                  std::to_string(m_answers.additional) + " additional");
        m_context.Finish(isSame ? kExitDone : kExitRefused);
    }

    CContext& m_context;
    const CReplayOptions& m_options;
    const CReplayScript m_script;
    CReplayedAnswers m_answers;
    std::unique_ptr<CReplayLink> m_link;
    Clock::time_point m_start;
    std::uint64_t m_sent = 0;
    std::string m_problem;
};

} // namespace

void RunPlay(CContext& context, const CReplayOptions& options, CReplayScript script)
{
    if (script.advancer != 0) {
        return context.Fail(kExitUsage,
                            options.file + ": client " + std::to_string(script.advancer) +
                                " advanced the service's clock beside client " +
                                std::to_string(options.client) +
                                ", which one client cannot play alone; an application that is to "
                                "be played advances the clock itself");
    }
    CPlay(context, options, std::move(script)).Run();
}
