#include "tests/doubles/Recording.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Doubles {

namespace {

std::string DescribeAt(const BListC& list, int index)
{
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return "int " + std::to_string(list.GetInt64(index));
    case EBElementType::Double:
        return "double " + Describe(list.GetDouble(index));
    case EBElementType::Nothing:
        return "nothing";
    default:
        return Describe(*list.GetElement(index));
    }
}

std::string DescribeAtom(const BAtomC& atom)
{
    switch (atom.Type()) {
    case EBElementType::Integer:
        return "int " + std::to_string(atom.Int64Value());
    case EBElementType::Double:
        return "double " + Describe(atom.DoubleValue());
    case EBElementType::String:
        return "string \"" + atom.StringValue() + "\"";
    default:
        return "nothing";
    }
}

} // namespace

std::string Describe(double value)
{
    std::array<char, 32> text{};
    const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), end.ptr);
}

std::string Describe(const BElementC& element)
{
    if (const auto* atom = dynamic_cast<const BAtomC*>(&element)) {
        return DescribeAtom(*atom);
    }
    std::string text;
    if (const auto* list = dynamic_cast<const BListC*>(&element)) {
        for (int i = 0; i < list->Size(); ++i) {
            text += (i == 0 ? "" : ", ") + DescribeAt(*list, i);
        }
        return "[" + text + "]";
    }
    const auto& dictionary = dynamic_cast<const BDictionaryC&>(element);
    for (int i = 0; i < dictionary.Size(); ++i) {
        text +=
            (i == 0 ? "" : ", ") + dictionary.KeyAt(i) + ": " + Describe(*dictionary.ValueAt(i));
    }
    return "{" + text + "}";
}

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
