#ifndef KESTROVE_RUNTIME_MESSAGEBUILDER_H
#define KESTROVE_RUNTIME_MESSAGEBUILDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "runtime/MessageDecoder.h"

/// Builds a message while the parser reads it: each value goes straight to its place. An operation
/// returns false to refuse the message; Problem() is the reason then.
///
/// Counts the memory that it takes, blocks as the C library hands them out and both blocks while
/// one is exchanged for a larger one, and refuses before it takes more than kMostMemory.
class MessageBuilderC
{
public:
    /// The number of elements that a message may hold.
    static constexpr std::size_t kMostElements = 4'194'304;
    /// How deep lists and dictionaries may be nested.
    static constexpr std::size_t kDeepestNesting = 64;
    /// How many bytes the values of a message may take. As many numbers and texts as a message may
    /// hold fit in one list: 64 MiB of places, and texts that came within 32 MiB.
    static constexpr std::size_t kMostMemory = std::size_t{96} * 1024 * 1024;

    /// For how many elements to make room, when a list, a dictionary or a text has too little.
    ///
    /// @param needed for how many at least; for so many, bytes have arrived.
    /// @param announced how many it will have in the end. Room is made for up to thirty-two times
    ///        as many as are needed, since moving megabytes takes time; never for more than
    ///        announced, and such that the last move is of about a thirty-second. So whatever is
    ///        asked for, and in whatever steps, what is announced is moved a handful of times.
    static std::size_t RoomFor(std::size_t needed, std::size_t announced);

    /// About what a value costs that is kept in its place in a list, in bytes.
    static constexpr std::size_t kSlotBytes = 16;

    /// The message that has been built.
    MessageC& Message() { return m_message; }
    const std::string& Problem() const { return m_problem; }
    /// How many bytes are held for the message that is being built.
    std::size_t Held() const { return m_held; }
    /// How many bytes have arrived that are not parsed yet: each may turn out to be an element, so
    /// no more room than this is made ahead.
    void SetArrived(std::size_t bytes) { m_roomAhead = bytes; }

    /// Lets the next list go on from where its decoding has come without the parser.
    void Adopt(std::unique_ptr<BListC> list) { m_begun = std::move(list); }

    /// Begins a new message, in place of the one so far.
    void Init();
    /// The next value is a field of the message.
    void StartField() { m_field = NextField(); }
    /// The next value is a key.
    void StartKey() { m_inKey = true; }
    bool TakeNothing();
    bool TakeTruth(bool value);
    bool TakePositive(std::uint64_t value);
    bool TakeNegative(std::int64_t value);
    bool TakeDouble(double value);
    /// Takes a whole text.
    bool TakeText(const char* text, std::size_t length);
    /// Takes a piece of a text of `announced` bytes, which fit into a message; EndText() follows
    /// the last.
    bool AddText(const char* piece, std::size_t length, std::size_t announced);
    bool EndText();
    bool StartList(std::uint32_t count);
    bool StartDictionary(std::uint32_t count);
    /// The innermost list or dictionary ends, or the message.
    void EndContainer();
    bool RefuseLength() { return Refuse("a message of more than 32 MiB"); }
    bool RefuseBytes() { return Refuse("bytes that are no MessagePack"); }
    bool RefuseExtension() { return Refuse("a value of an extension type"); }

private:
    /// What stands at a place of the message's outermost list.
    enum class EField
    {
        Before,
        Kind,
        Number,
        Method,
        Arguments,
        Error,
        Result,
    };

    /// A list or a dictionary that is being filled; one of the two is null.
    struct Container
    {
        BListC* list = nullptr;
        BDictionaryC* dictionary = nullptr;
        std::size_t announced = 0;
        // Where the next text of a long list goes.
        char* block = nullptr;
        std::size_t blockSize = 0;
        std::size_t blockUsed = 0;
    };

    bool Refuse(const char* problem);
    bool Claim(std::size_t bytes);
    EField NextField() const;
    bool WantsNumber() const
    {
        return m_open.empty() && (m_field == EField::Kind || m_field == EField::Number);
    }
    BListC* OpenList() const { return m_open.empty() ? nullptr : m_open.back().list; }
    bool TakeNumber(std::uint64_t value);
    bool TakeInteger(std::int64_t value);
    bool MakePlace(Container& container);
    bool MakeRoom(Container& container, std::size_t room);
    bool IsForBlock(std::size_t length) const;
    bool PlaceText(const char* text, std::size_t length);
    bool StartBlock(Container& container, std::size_t length);
    bool TakeString(std::string text);
    bool TakeNode(std::unique_ptr<BElementC> element);
    bool TakeFieldValue(std::unique_ptr<BElementC> element);
    bool CountElements(std::size_t count);
    bool Open(std::unique_ptr<BElementC> element, const Container& container);

    MessageC m_message;
    std::unique_ptr<BListC> m_begun;
    std::string m_problem;
    std::vector<Container> m_open;
    std::size_t m_elements = 0;
    std::size_t m_roomAhead = 0;
    std::size_t m_held = 0;
    std::uint32_t m_fieldCount = 0;
    EField m_field = EField::Before; // while no list or dictionary is open
    bool m_inKey = false;
    std::string m_key;
    std::string m_text; // the pieces of a text so far
};

#endif
