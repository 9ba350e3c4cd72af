#include "platform/BEncoder.h"

#include <array>
#include <vector>

#include <msgpack.hpp>

#include "runtime/BigEndian.h"
#include "runtime/ListAccess.h"

namespace {

constexpr int kDeepestNesting = 64;
/// A buffer that has grown beyond this is given back when the next message begins.
constexpr std::size_t kLargestKeptBuffer = std::size_t{1024} * 1024;
/// A number on the wire: its kind, and at most eight bytes.
constexpr std::size_t kMostBytesANumber = 9;
/// How many numbers are put into one piece before it joins the message.
constexpr std::size_t kNumbersAPiece = 256;
constexpr char kFloat64 = '\xcb';

/// What the packer writes into.
class StringSink
{
public:
    explicit StringSink(std::string& bytes) : m_bytes(bytes) {}
    void write(const char* data, std::size_t count) { m_bytes.append(data, count); }

    /// Makes room for numbers that follow, so that a long list takes one buffer. A short one does
    /// without: it fits where the last message did.
    void ReserveNumbers(std::size_t count)
    {
        const std::size_t needed = m_bytes.size() + count * kMostBytesANumber;
        if (count > kNumbersAPiece && needed > m_bytes.capacity()) {
            m_bytes.reserve(needed);
        }
    }

private:
    std::string& m_bytes;
};

class Packer : public msgpack::packer<StringSink>
{
public:
    explicit Packer(StringSink& sink) : msgpack::packer<StringSink>(sink), m_sink(sink) {}

    /// Packs a double as float 64 whatever its value. The library's own operation turns a whole
    /// number into an integer, but what was sent as a double must arrive as one.
    void PackDouble(double value)
    {
        std::array<char, kMostBytesANumber> bytes{kFloat64};
        BigEndian::StoreDouble(bytes.data() + 1, value);
        m_sink.write(bytes.data(), bytes.size());
    }

    /// Packs the floating-point numbers from `slot` on, up to the first element that is not one.
    ///
    /// @return where that stands.
    const BListAccessC::Slot* PackDoubles(const BListAccessC::Slot* slot,
                                          const BListAccessC::Slot* end)
    {
        std::array<char, kNumbersAPiece * kMostBytesANumber> piece;
        char* place = piece.data();
        for (; slot != end && IsDouble(*slot); ++slot) {
            *place = kFloat64;
            BigEndian::StoreDouble(place + 1, slot->number);
            place += kMostBytesANumber;
            if (place == piece.data() + piece.size()) {
                m_sink.write(piece.data(), piece.size());
                place = piece.data();
            }
        }
        m_sink.write(piece.data(), static_cast<std::size_t>(place - piece.data()));
        return slot;
    }

    static bool IsDouble(const BListAccessC::Slot& slot)
    {
        return slot.type == EBElementType::Double && !slot.isNode;
    }
    void ReserveNumbers(std::size_t count) { m_sink.ReserveNumbers(count); }

private:
    StringSink& m_sink;
};

void PackText(Packer& packer, const char* text, std::size_t length)
{
    packer.pack_str(static_cast<std::uint32_t>(length));
    packer.pack_str_body(text, static_cast<std::uint32_t>(length));
}

void PackString(Packer& packer, const std::string& text)
{
    PackText(packer, text.data(), text.size());
}

void PackAtom(Packer& packer, const BAtomC& atom)
{
    switch (atom.Type()) {
    case EBElementType::Integer:
        packer.pack_int64(atom.Int64Value());
        break;
    case EBElementType::Double:
        packer.PackDouble(atom.DoubleValue());
        break;
    case EBElementType::String:
        PackString(packer, atom.StringValue());
        break;
    default:
        packer.pack_nil();
    }
}

bool PackElement(Packer& packer, const BElementC& element, int level);

bool PackList(Packer& packer, const BListC& list, int level)
{
    const std::vector<BListAccessC::Slot>& slots = BListAccessC::SlotsOf(list);
    packer.pack_array(static_cast<std::uint32_t>(slots.size()));
    packer.ReserveNumbers(slots.size());
    const BListAccessC::Slot* const end = slots.data() + slots.size();
    for (const BListAccessC::Slot* slot = slots.data(); slot != end;) {
        if (Packer::IsDouble(*slot)) {
            slot = packer.PackDoubles(slot, end);
            continue;
        }
        if (slot->isNode) {
            if (!PackElement(packer, *slot->element, level)) {
                return false;
            }
        } else if (slot->type == EBElementType::Integer) {
            packer.pack_int64(slot->integer);
        } else if (BListAccessC::IsText(*slot)) {
            PackText(packer, slot->text, slot->length);
        } else {
            packer.pack_nil();
        }
        ++slot;
    }
    return true;
}

bool PackDictionary(Packer& packer, const BDictionaryC& dictionary, int level)
{
    const int count = dictionary.Size();
    packer.pack_map(static_cast<std::uint32_t>(count));
    for (int index = 0; index < count; ++index) {
        PackString(packer, dictionary.KeyAt(index));
        if (!PackElement(packer, *dictionary.ValueAt(index), level)) {
            return false;
        }
    }
    return true;
}

/// `level` counts the lists and dictionaries that hold the element.
bool PackElement(Packer& packer, const BElementC& element, int level)
{
    switch (element.Type()) {
    case EBElementType::List:
        return level < kDeepestNesting &&
               PackList(packer, static_cast<const BListC&>(element), level + 1);
    case EBElementType::Dictionary:
        return level < kDeepestNesting &&
               PackDictionary(packer, static_cast<const BDictionaryC&>(element), level + 1);
    default:
        PackAtom(packer, static_cast<const BAtomC&>(element));
        return true;
    }
}

} // namespace

BEncoderC::BEncoderC() = default;
BEncoderC::~BEncoderC() = default;

void BEncoderC::Clear()
{
    m_bytes.clear();
    if (m_bytes.capacity() > kLargestKeptBuffer) {
        m_bytes.shrink_to_fit();
    }
}

void BEncoderC::WriteListHeader(std::uint32_t count)
{
    StringSink sink(m_bytes);
    Packer(sink).pack_array(count);
}

void BEncoderC::WriteInteger(std::int64_t value)
{
    StringSink sink(m_bytes);
    Packer(sink).pack_int64(value);
}

void BEncoderC::WriteUnsigned(std::uint64_t value)
{
    StringSink sink(m_bytes);
    Packer(sink).pack_uint64(value);
}

void BEncoderC::WriteString(const char* text, std::size_t length)
{
    StringSink sink(m_bytes);
    Packer packer(sink);
    PackText(packer, text, length);
}

void BEncoderC::WriteNothing()
{
    StringSink sink(m_bytes);
    Packer(sink).pack_nil();
}

bool BEncoderC::Write(const BElementC& element)
{
    StringSink sink(m_bytes);
    Packer packer(sink);
    return PackElement(packer, element, 0);
}
