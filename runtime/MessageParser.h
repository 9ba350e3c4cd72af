#ifndef KESTROVE_RUNTIME_MESSAGEPARSER_H
#define KESTROVE_RUNTIME_MESSAGEPARSER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "runtime/MessageBuilder.h"

/// Reads MessagePack as it arrives and hands each value to a builder at once. It waits for no more
/// than the head of a value, at most nine bytes: a long text goes on in pieces. So nothing that is
/// unfinished is kept twice, and a portion of bytes takes a portion of time.
class MessageParserC
{
public:
    enum class EResult
    {
        Complete, ///< the message ends here
        NeedMore, ///< the bytes end within the message
        Bad,      ///< not MessagePack, or the builder has refused it; its Problem() says
    };

    MessageBuilderC& Builder() { return m_builder; }

    /// Begins a new message.
    void Init();
    /// Reads on.
    ///
    /// @param most how many bytes the message may have from here on: a text that announces more is
    ///        refused there, before room is made for any of it.
    /// @param parsed receives how many bytes have been used up. Up to eight may be left, the begun
    ///        head of a value, which must come again with those that follow.
    EResult Parse(const char* bytes, std::size_t size, std::size_t most, std::size_t& parsed);
    /// How many bytes the message lacks at least, each element being one or more.
    std::uint64_t LeastMissing() const;

private:
    /// A list or a dictionary that has begun.
    struct Level
    {
        std::uint64_t left; // values still to come; a dictionary's keys are values too
        bool isDictionary;
    };

    void StartValue();
    bool ReadHead(unsigned kind, const char* head, bool& isOver);
    bool ReadNumber(unsigned kind, const char* head);
    void StartText(std::uint32_t length);
    bool StartLevel(std::uint32_t count, bool isDictionary, bool& isOver);
    bool ReadText(const char* bytes, std::size_t count);
    bool EndValue();

    MessageBuilderC m_builder;
    std::vector<Level> m_levels;
    std::uint32_t m_textLength = 0;
    std::uint32_t m_textLeft = 0;
    bool m_isText = false; // within a text, of which m_textLeft bytes are still to come
};

#endif
