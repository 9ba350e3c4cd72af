#ifndef KESTROVE_TESTS_DOUBLES_RECORDING_H
#define KESTROVE_TESTS_DOUBLES_RECORDING_H

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/BElement.h"
#include "platform/LinkError.h"
#include "platform/MPICallback.h"
#include "tests/doubles/Describe.h"

/// A platform that sends nothing: it writes down what the code under test asked of it, and answers
/// as a test has scripted.
namespace Doubles {

/// What the code under test did to the platform, and what the platform answers it.
///
/// There is one for the process, Recording(), because elements are made without a connection. A
/// test starts with Reset(). Thread safety: none.
///
/// The transcript has these lines:
///
///     client made, reconnects: true      CNavigationAPI's base was constructed
///     Connect localhost 5010 -1          host, port, time-out
///     IsLinkUp: false                    a look at the link, and its answer
///     VerifyConnection: true             likewise
///     list made                          a BListC was constructed
///     Reserve 2                          on an empty list ("Reserve 2 after 1" on a filled one)
///     AddInt64 5, Add 2.5                a number added by another way than AddInt() or
///                                    AddDouble()
///     SplitString options 1              a text split with an option, of which there is none but 0
///     CallMethod EngageSteering [int 1]  a request, with a snapshot of its arguments
///     SendNotification set_nudge [int 1, double 2.5]
///     RequestCallback cb_offsets
///     reply destroyed                    an element that CallMethod() handed out
///     list destroyed                     any other list that stands alone
///     nested list destroyed              a list inside another, after the outer one's line
///     ObjectStore made, SetOutputMode, ProcessDouble 1 51.5, ProcessInt 15 1, AsString,
///     ObjectStore destroyed
///     connection closed                  the base's destructor
class CRecording
{
public:
    /// Forgets everything: transcript, script, counts and callbacks. Scripted replies that were not
    /// fetched are destroyed. Elements that the code under test left behind are forgotten, not
    /// destroyed, so that a leak checker can see them.
    void Reset();

    /// Whether Connect() succeeds from now on; true unless set.
    void SetServiceReachable(bool reachable) { m_reachable = reachable; }
    /// The link is found dead by the next IsLinkUp(), and stays so until a Connect() succeeds.
    void DropLink() { m_dropped = true; }
    /// What VerifyConnection() answers from now on; true unless set.
    void SetVerified(bool verified) { m_verified = verified; }
    /// Whether what the code under test sends gets away from now on; true unless set. What does not
    /// is on the transcript all the same, and is never answered.
    void SetSending(bool sending) { m_sending = sending; }
    /// Makes `reply` the answer of the next CallMethod() that has none yet; takes it over.
    void ReplyWith(BElementC* reply) { m_replies.push_back({reply, {}}); }
    /// Makes an error of the service the answer of the next CallMethod() that has none yet.
    void ReplyWithError(const std::string& text)
    {
        m_replies.push_back({nullptr, {ELinkError::ServiceError, text}});
    }

    /// Everything asked of the platform since Reset() or ClearTranscript(), in order.
    const std::vector<std::string>& Transcript() const { return m_transcript; }
    /// Forgets the transcript so far, so that it holds nothing but the act.
    void ClearTranscript() { m_transcript.clear(); }
    /// How many lines of the transcript start with `text`.
    int CountStartingWith(const std::string& text) const;
    /// Elements made and not yet destroyed since Reset(), lists included. Scripted replies count.
    int LiveElements() const { return m_liveElements; }
    /// Lists made and not yet destroyed since Reset(), nested ones included.
    int LiveLists() const { return m_liveLists; }
    /// Every callback registered for event `name`, the first registered first. They belong to the
    /// connection and go with it.
    std::vector<MPICallbackBase*> Callbacks(const std::string& name) const;

    // For the double itself.

    /// An answer of the service: a reply, or nothing and the reason.
    struct Answer
    {
        BElementC* reply = nullptr;
        LinkErrorC error;
    };
    void Note(const std::string& line) { m_transcript.push_back(line); }
    void NoteMade(bool isList);
    void NoteDestroyed(const BElementC* element, bool isList);
    void NoteCallback(const std::string& name, MPICallbackBase* callback);
    /// The next scripted answer; its reply is known as a reply from then on. Nothing and a time-out
    /// when none is scripted.
    Answer TakeAnswer();
    bool Reachable() const { return m_reachable; }
    bool Verified() const { return m_verified; }
    bool Sending() const { return m_sending; }
    /// Whether the link was dropped since the last look.
    bool TakeDropped() { return std::exchange(m_dropped, false); }

private:
    bool m_reachable = true;
    bool m_dropped = false;
    bool m_verified = true;
    bool m_sending = true;
    std::deque<Answer> m_replies;
    std::vector<std::string> m_transcript;
    std::vector<std::pair<std::string, MPICallbackBase*>> m_callbacks;
    const BElementC* m_reply = nullptr; // the reply handed out last
    int m_liveElements = 0;
    int m_liveLists = 0;
};

/// The recording of this process.
CRecording& Recording();

} // namespace Doubles

#endif
