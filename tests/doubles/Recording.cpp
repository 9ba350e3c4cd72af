#include "tests/doubles/Recording.h"

#include <algorithm>

namespace Doubles {

void CRecording::Reset()
{
    for (const Answer& answer : m_replies) {
        delete answer.reply;
    }
    *this = CRecording();
}

int CRecording::CountStartingWith(const std::string& text) const
{
    return static_cast<int>(
        std::count_if(m_transcript.begin(), m_transcript.end(),
                      [&text](const std::string& line) { return line.rfind(text, 0) == 0; }));
}

std::vector<MPICallbackBase*> CRecording::Callbacks(const std::string& name) const
{
    std::vector<MPICallbackBase*> callbacks;
    for (const auto& [event, callback] : m_callbacks) {
        if (event == name) {
            callbacks.push_back(callback);
        }
    }
    return callbacks;
}

void CRecording::NoteMade(bool isList)
{
    ++m_liveElements;
    if (isList) {
        ++m_liveLists;
        Note("list made");
    }
}

void CRecording::NoteDestroyed(const BElementC* element, bool isList)
{
    --m_liveElements;
    m_liveLists -= isList ? 1 : 0;
    if (element == m_reply) {
        m_reply = nullptr;
        Note("reply destroyed");
    } else if (isList) {
        Note(element->Parent() == nullptr ? "list destroyed" : "nested list destroyed");
    }
}

void CRecording::NoteCallback(const std::string& name, MPICallbackBase* callback)
{
    Note("RequestCallback " + name);
    m_callbacks.emplace_back(name, callback);
}

CRecording::Answer CRecording::TakeAnswer()
{
    if (!m_sending) {
        return {nullptr, {ELinkError::Closed, "the request could not be sent"}};
    }
    if (m_replies.empty()) {
        return {nullptr, {ELinkError::TimedOut, "no reply is scripted"}};
    }
    Answer answer = m_replies.front();
    m_replies.pop_front();
    m_reply = answer.reply;
    return answer;
}

CRecording& Recording()
{
    static CRecording recording;
    return recording;
}

} // namespace Doubles
