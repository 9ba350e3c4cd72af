#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tools/navctl/feed/Interrupt.h"
#include "tools/navctl/recording/Recording.h"
#include "tools/navctl/recording/ReplayLink.h"
#include "tools/navctl/recording/ReplayRun.h"
#include "tools/navctl/recording/ValueComparison.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Of messages that did not fit, how much is kept with their values for the JSON value.
constexpr std::size_t kMostToldBytes = std::size_t{1024} * 1024;

/// A message in words, with its kind: a notification in the place of a request does not fit.
std::string Described(const CRecordedItem& item, const Json& value)
{
    return std::string(NameOf(item.kind)) + " " + InOneLine(item.name) + " " + ShortText(value);
}

Json MessageJson(const CRecordedItem& item, const Json& value)
{
    return {{"kind", NameOf(item.kind)}, {"name", item.name}, {"arguments", value}};
}

/// The service that a recording makes: one application at a time, in its order.
class CServe
{
public:
    CServe(CContext& context, const CReplayOptions& options, CReplayScript script)
        : m_context(context), m_options(options), m_script(std::move(script))
    {
        for (std::size_t place = 0; place < m_script.items.size(); ++place) {
            if (IsOfApplication(m_script.items[place].kind)) {
                m_asked.push_back(place);
            } else if (m_script.items[place].kind == ERecorded::Reply) {
                m_replies[m_script.items[place].request] = place;
            }
        }
    }
    ~CServe()
    {
        for (const int listener : m_listeners) {
            ::close(listener);
        }
    }
    CServe(const CServe&) = delete;
    CServe& operator=(const CServe&) = delete;

    void Run()
    {
        if (!Listen()) {
            return;
        }
        const CInterrupt interrupt;
        if (!m_context.WritesJson()) {
            m_context.Output().WriteLine("plays " + m_options.file + " on port 5010");
        }
        while (!CInterrupt::HasCome() && !m_isOver && !m_context.Output().HasFailed()) {
            Wait();
        }
        Report();
    }

private:
    bool Listen()
    {
        int error = 0;
        for (const bool overIPv6 : {true, false}) {
            const int listener = ListenOnLoopback(overIPv6);
            if (listener >= 0) {
                m_listeners.push_back(listener);
            } else if (error != EADDRINUSE) { // the reason that people can do something about
                error = errno;
            }
        }
        if (m_listeners.empty() || error == EADDRINUSE) {
            m_context.Fail(kExitCannotConnect,
                           std::string("cannot listen on port 5010: ") + std::strerror(error));
            return false;
        }
        return true;
    }

    void Wait()
    {
        std::vector<pollfd> entries;
        for (const int listener : m_listeners) {
            entries.push_back({listener, POLLIN, 0});
        }
        if (m_link != nullptr) {
            const auto room = static_cast<short>(m_link->WaitsForRoom() ? POLLOUT : 0);
            entries.push_back({m_link->Descriptor(), static_cast<short>(POLLIN | room), 0});
        }
        const bool hasLink = m_link != nullptr;
        if (::poll(entries.data(), entries.size(), Limit()) > 0) {
            if (hasLink && entries.back().revents != 0) {
                Attend();
            }
            for (std::size_t place = 0; place < m_listeners.size(); ++place) {
                if (entries[place].revents != 0) {
                    Take(m_listeners[place]);
                }
            }
        }
        SendDue();
    }

    int Limit() const
    {
        if (m_due.empty() || m_link == nullptr) {
            return kLongestWaitMilliseconds;
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(m_due.begin()->first - Clock::now());
        return static_cast<int>(std::clamp<long>(left.count(), 0, kLongestWaitMilliseconds));
    }

    void Take(int listener)
    {
        const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            return;
        }
        if (m_link != nullptr) {
            ::close(descriptor);
            return Tell(0, "a second application connected and was sent away", Json());
        }
        m_link = std::make_unique<CReplayLink>(descriptor);
        if (!m_hasStarted) {
            m_hasStarted = true;
            m_start = Clock::now();
            ScheduleEvents();
        }
    }

    /// Where time counts, all events have theirs.
    void ScheduleEvents()
    {
        for (const CRecordedItem& item : m_script.items) {
            if (!m_options.stepped && item.kind == ERecorded::Event) {
                m_due.emplace(m_start + Later(item.time, m_script.start), item.bytes);
            }
        }
        if (m_options.stepped) {
            SendBehind(0, m_asked.empty() ? m_script.items.size() : m_asked.front());
        }
    }

    void Attend()
    {
        const bool isThere = m_link->Flush() && m_link->Receive();
        std::string_view bytes;
        auto result = m_link->Next(bytes);
        for (; result == CMessageCutter::EResult::Complete; result = m_link->Next(bytes)) {
            CRecordedItem item;
            if (!ReadLinkMessage(bytes, true, item)) {
                result = CMessageCutter::EResult::Bad;
                break;
            }
            Answer(item);
        }
        if (result == CMessageCutter::EResult::Bad) {
            Tell(0, "the application sent what is no message", Json());
        }
        if (!isThere || result == CMessageCutter::EResult::Bad) {
            Leave();
        }
    }

    void Leave()
    {
        m_link.reset();
        m_isOver = m_options.once || m_count >= m_asked.size();
    }

    void Answer(const CRecordedItem& item)
    {
        if (!IsOfApplication(item.kind)) {
            return;
        }
        const std::size_t number = ++m_count;
        if (number > m_asked.size()) {
            return Refuse(item, number, "the recording is at its end", nullptr);
        }
        const CRecordedItem& recorded = m_script.items[m_asked[number - 1]];
        const std::string difference = Difference(recorded, item);
        if (difference.empty()) {
            ++m_fitted;
            m_numbers[recorded.number] = item.id;
        } else {
            Refuse(item, number, "recorded is " + Described(recorded, ValueOf(recorded)),
                   &recorded);
        }
        if (m_options.stepped) {
            SendBehind(m_asked[number - 1] + 1,
                       number < m_asked.size() ? m_asked[number] : m_script.items.size());
        } else if (difference.empty()) {
            ScheduleReply(recorded);
        }
    }

    std::string Difference(const CRecordedItem& recorded, const CRecordedItem& item) const
    {
        if (recorded.kind != item.kind || recorded.name != item.name) {
            return "another operation";
        }
        return m_options.lenient ? std::string()
                                 : DifferenceOf(ValueOf(recorded), item.value, m_options.tolerance);
    }

    void Refuse(const CRecordedItem& item, std::size_t number, const std::string& reason,
                const CRecordedItem* recorded)
    {
        const std::string text = "message " + std::to_string(number) +
                                 " does not fit the recording: came " +
                                 Described(item, item.value) + "; " + reason;
        ++m_misfits;
        Json entry{{"number", number}, {"came", Json()}, {"recorded", Json()}};
        m_toldBytes += item.bytes.size() + (recorded == nullptr ? 0 : recorded->bytes.size());
        if (m_toldBytes > kMostToldBytes) {
            entry = nullptr; // its words alone are kept
        } else {
            entry["came"] = MessageJson(item, item.value);
        }
        if (!entry.is_null() && recorded != nullptr) {
            entry["recorded"] = MessageJson(*recorded, ValueOf(*recorded));
            entry["recorded"]["number"] = recorded->number;
        }
        Tell(number, text, entry);
        if (item.kind == ERecorded::Request) {
            Send(ErrorReply(item.id, text));
        }
    }

    /// Sends what the service said between two messages of the application.
    void SendBehind(std::size_t begin, std::size_t end)
    {
        for (std::size_t place = begin; place < end; ++place) {
            const CRecordedItem& item = m_script.items[place];
            const auto number = m_numbers.find(item.request);
            if (item.kind == ERecorded::Event) {
                Send(item.bytes);
            } else if (item.kind == ERecorded::Reply && number != m_numbers.end()) {
                Send(WithNumber(item.bytes, number->second));
            }
        }
    }

    /// Has the reply come as long after the request as it was recorded.
    void ScheduleReply(const CRecordedItem& request)
    {
        const auto reply = m_replies.find(request.number);
        if (request.kind == ERecorded::Request && reply != m_replies.end()) {
            const CRecordedItem& item = m_script.items[reply->second];
            m_due.emplace(Clock::now() + Later(item.time, request.time),
                          WithNumber(item.bytes, m_numbers[request.number]));
        }
    }

    void SendDue()
    {
        // What is due while nobody is there is lost, as it was for the recorded application.
        while (!m_due.empty() && m_due.begin()->first <= Clock::now()) {
            Send(m_due.begin()->second);
            m_due.erase(m_due.begin());
        }
    }

    void Send(const std::string& bytes)
    {
        if (m_link != nullptr && !m_link->Send(bytes)) {
            // Reading finds the end; until then nothing more is sent.
            ::shutdown(m_link->Descriptor(), SHUT_RDWR);
        }
    }

    void Tell(std::size_t number, const std::string& text, const Json& entry)
    {
        if (m_told.size() < kMostTold) {
            m_told.push_back(entry.is_null() ? Json{{"number", number}, {"text", text}} : entry);
        }
        if (!m_context.WritesJson()) {
            m_context.Output().WriteLine(Printable(text));
        }
    }

    void Report()
    {
        const std::size_t notAsked = m_asked.size() - std::min(m_asked.size(), m_count);
        m_context.Print({{"fitted", m_fitted},
                         {"misfits", m_misfits},
                         {"not_asked", notAsked},
                         {"told", m_told}},
                        std::to_string(m_fitted) + " messages fitted, " +
                            std::to_string(m_misfits) + " did not, " + std::to_string(notAsked) +
                            " did not come");
        m_context.Finish(m_misfits == 0 && notAsked == 0 ? kExitDone : kExitRefused);
    }

    CContext& m_context;
    const CReplayOptions& m_options;
    const CReplayScript m_script;
    std::vector<std::size_t> m_asked;                 // the places of what the application said
    std::map<std::uint64_t, std::size_t> m_replies;   // the places of replies, by their requests
    std::map<std::uint64_t, std::uint64_t> m_numbers; // of requests: recorded item, on this link
    std::vector<int> m_listeners;
    std::unique_ptr<CReplayLink> m_link;
    bool m_hasStarted = false;
    bool m_isOver = false;
    Clock::time_point m_start;
    std::multimap<Clock::time_point, std::string> m_due;
    std::size_t m_count = 0; // messages that have come
    std::size_t m_fitted = 0;
    std::size_t m_misfits = 0;
    Json m_told = Json::array();
    std::size_t m_toldBytes = 0; // of the messages that are kept with their values
};

} // namespace

void RunServe(CContext& context, const CReplayOptions& options, CReplayScript script)
{
    CServe(context, options, std::move(script)).Run();
}
