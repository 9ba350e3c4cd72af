#ifndef KESTROVE_RUNTIME_MESSAGEBUILDER_H
#define KESTROVE_RUNTIME_MESSAGEBUILDER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "runtime/MessageDecoder.h"

/// Builds a message while the MessagePack parser visits it: the parser calls the functions below,
/// whose names and shapes are its own, and each value goes straight to its place. A function
/// answers false to stop the parser; Problem() then tells why.
class MessageBuilderC
{
public:
    /// The number of elements that a message may hold.
    static constexpr std::size_t kMostElements = 4'194'304;
    /// How deep lists and dictionaries may be nested.
    static constexpr std::size_t kDeepestNesting = 64;

    /// About what a value costs that is kept in its place in a list, in bytes.
    static constexpr std::size_t kSlotBytes = 16;

    /// The message that has been built.
    MessageC& Message() { return m_message; }
    const std::string& Problem() const { return m_problem; }
    /// How many bytes have arrived that are not parsed yet: each may turn out to be an element, so
    /// no more room than this is made ahead.
    void SetArrived(std::size_t bytes) { m_roomAhead = bytes; }

    /// Lets the next list go on from where its decoding has come without the parser.
    void Adopt(std::unique_ptr<BListC> list) { m_begun = std::move(list); }

    void init();
    bool visit_nil() { return TakeElement(nullptr); }
    bool visit_boolean(bool value);
    bool visit_positive_integer(std::uint64_t value);
    bool visit_negative_integer(std::int64_t value);
    bool visit_float32(float value) { return visit_float64(static_cast<double>(value)); }
    bool visit_float64(double value);
    bool visit_str(const char* text, std::uint32_t length);
    bool visit_bin(const char* bytes, std::uint32_t length) { return visit_str(bytes, length); }
    bool visit_ext(const char* bytes, std::uint32_t length);
    bool start_array(std::uint32_t count);
    bool start_array_item();
    bool end_array_item() { return true; }
    bool end_array();
    bool start_map(std::uint32_t count);
    bool start_map_key();
    bool end_map_key() { return true; }
    bool start_map_value() { return true; }
    bool end_map_value() { return true; }
    bool end_map() { return end_array(); }
    void parse_error(std::size_t parsedOffset, std::size_t errorOffset);

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
    };

    bool Refuse(const char* problem);
    EField NextField() const;
    bool WantsNumber() const { return m_field == EField::Kind || m_field == EField::Number; }
    bool TakeNumber(std::uint64_t value);
    bool TakeInteger(std::int64_t value);
    bool TakeElement(std::unique_ptr<BElementC> element);
    bool TakeFieldValue(std::unique_ptr<BElementC> element);
    bool CountElements(std::size_t count);
    bool Open(std::unique_ptr<BElementC> element, Container container);

    MessageC m_message;
    std::unique_ptr<BListC> m_begun;
    std::string m_problem;
    std::array<Container, kDeepestNesting> m_open{};
    std::size_t m_depth = 0;
    std::size_t m_elements = 0;
    std::size_t m_roomAhead = 0;
    std::uint32_t m_fieldCount = 0;
    EField m_field = EField::Before; // while no list or dictionary is open
    bool m_inKey = false;
    std::string m_key;
};

#endif
