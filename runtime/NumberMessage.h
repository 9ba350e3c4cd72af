#ifndef KESTROVE_RUNTIME_NUMBERMESSAGE_H
#define KESTROVE_RUNTIME_NUMBERMESSAGE_H

#include <cstddef>
#include <memory>
#include <string>

#include "runtime/MessageDecoder.h"

/// Decodes what most of the traffic is, without the general parser: a request, notification or
/// successful response whose arguments or result are a list of numbers. It takes a long list in
/// pieces, and hands a list over to the parser where it comes upon something else.
///
/// A call is Begin(), which answers 0 for whatever is left to the parser from its first byte, and
/// then Take() as bytes arrive.
class NumberMessageC
{
public:
    enum class EResult
    {
        Complete, ///< GiveTo() gives the message
        NeedMore, ///< the bytes end within the list
        Other,    ///< the next element is not a number; HandOver() says what the parser must know
    };

    /// True between Begin() and the end of the list.
    bool IsActive() const { return m_list != nullptr; }
    /// How many bytes are held for the list that has begun.
    std::size_t Held() const;
    /// How many elements the list still lacks.
    std::size_t Left() const { return m_left; }
    /// Forgets the message that has begun.
    void Reset() { m_list.reset(); }

    /// Gives the message that has been decoded, in place of what `message` held, whose memory
    /// serves the next, the list of its arguments included.
    void GiveTo(MessageC& message);

    /// Reads the front of a message, up to its list's first element.
    ///
    /// @param bytes what has arrived, from the first byte of a message on.
    /// @return how many bytes the front takes; 0, with nothing begun, when the parser must decode
    ///         the message: it has another shape, exceeds a limit, or its front has not arrived
    ///         whole.
    std::size_t Begin(const char* bytes, std::size_t size);
    /// Takes the numbers that have arrived into the list.
    ///
    /// @param taken receives how many bytes they are.
    EResult Take(const char* bytes, std::size_t size, std::size_t& taken);

    /// Gives the list up, with the numbers that it has so far.
    ///
    /// @param front receives the message's bytes up to its list, which announce as many elements
    ///        as the list still lacks.
    std::unique_ptr<BListC> HandOver(std::string& front);

private:
    MessageC m_message;
    std::unique_ptr<BListC> m_list;
    std::unique_ptr<BListC> m_spare; // what the next list may be made of
    std::size_t m_left = 0;          // elements that the list still lacks
};

#endif
