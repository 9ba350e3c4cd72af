#include "platform/BEncoder.h"

#include <array>
#include <cstring>

#include <msgpack.hpp>

namespace {

constexpr int kDeepestNesting = 64;
/// A buffer that has grown beyond this is given back when the next message begins.
constexpr std::size_t kLargestKeptBuffer = std::size_t{1024} * 1024;

/// What the packer writes into.
class StringSink
{
public:
    explicit StringSink(std::string& bytes) : m_bytes(bytes) {}
    void write(const char* data, std::size_t count) { m_bytes.append(data, count); }

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
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        std::array<char, 9> bytes{'\xcb'};
        for (std::size_t place = 8; place > 0; --place, bits >>= 8) {
            bytes[place] = static_cast<char>(bits & 0xff);
        }
        m_sink.write(bytes.data(), bytes.size());
    }

private:
    StringSink& m_sink;
};

void PackString(Packer& packer, const std::string& text)
{
    packer.pack_str(static_cast<std::uint32_t>(text.size()));
    packer.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
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
    const int count = list.Size();
    packer.pack_array(static_cast<std::uint32_t>(count));
    for (int index = 0; index < count; ++index) {
        if (const BElementC* const element = list.GetElement(index)) {
            if (!PackElement(packer, *element, level)) {
                return false;
            }
        } else if (list.TypeAt(index) == EBElementType::Integer) {
            packer.pack_int64(list.GetInt64(index));
        } else if (list.TypeAt(index) == EBElementType::Double) {
            packer.PackDouble(list.GetDouble(index));
        } else {
            packer.pack_nil();
        }
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
    packer.pack_str(static_cast<std::uint32_t>(length));
    packer.pack_str_body(text, static_cast<std::uint32_t>(length));
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
