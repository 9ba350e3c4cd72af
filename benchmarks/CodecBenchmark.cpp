// Measures the way of a list onto the wire and back against msgpack-cxx packing plain numbers, and
// against its parser that only counts what it finds; and the memory that a message takes.
//
// usage: codec-benchmark [--quick] RESULTS

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <msgpack.hpp>

#include "benchmarks/support/Allocations.h"
#include "benchmarks/support/Curves.h"
#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Results.h"
#include "platform/BElement.h"
#include "platform/BEncoder.h"
#include "runtime/MessageDecoder.h"
#include "wayline/Wayline.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::Keep;
using Benchmarks::NanosecondsAPoint;
using Benchmarks::Target;

const std::string kName = "SetWayline";

/// A notification that carries the list.
void WriteMessage(BEncoderC& encoder, const BListC& list)
{
    encoder.Clear();
    encoder.WriteListHeader(3);
    encoder.WriteInteger(2);
    encoder.WriteString(kName.data(), kName.size());
    Keep(encoder.Write(list) ? static_cast<double>(encoder.Size()) : 0.0);
}

/// The numbers of a list as msgpack-cxx packs them, from a plain vector into a buffer that is kept.
void PackNumbers(msgpack::sbuffer& buffer, const std::vector<double>& numbers)
{
    buffer.clear();
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    packer.pack_array(static_cast<std::uint32_t>(numbers.size()));
    for (const double number : numbers) {
        packer.pack_double(number);
    }
    Keep(static_cast<double>(buffer.size()));
}

/// Decodes a message that arrives in pieces as large as the decoder has room for.
void DecodeMessage(MessageDecoderC& decoder, const std::string& bytes)
{
    MessageC message;
    for (std::size_t gone = 0; gone < bytes.size();) {
        std::size_t room = 0;
        char* const space = decoder.Space(room);
        const std::size_t count = std::min(room, bytes.size() - gone);
        std::copy_n(bytes.data() + gone, count, space);
        decoder.Arrived(count);
        gone += count;
        decoder.Next(message);
    }
    if (message.arguments == nullptr) {
        throw std::runtime_error("the message was not decoded");
    }
    Keep(message.arguments->Size());
}

class CountingVisitor : public msgpack::null_visitor
{
public:
    bool visit_float64(double /*value*/)
    {
        ++m_count;
        return true;
    }
    double Count() const { return static_cast<double>(m_count); }

private:
    std::size_t m_count = 0;
};

void CountNumbers(const std::string& bytes)
{
    CountingVisitor visitor;
    std::size_t place = 0;
    msgpack::parse(bytes.data(), bytes.size(), place, visitor);
    Keep(visitor.Count());
}

std::vector<double> NumbersOf(const BListC& list)
{
    std::vector<double> numbers;
    numbers.reserve(static_cast<std::size_t>(list.Size()));
    for (int i = 0; i < list.Size(); ++i) {
        numbers.push_back(list.GetDouble(i) + 0.5); // a whole number would be packed shorter
    }
    return numbers;
}

void CompareWriting(CResults& results, const BListC& list, std::size_t count)
{
    BEncoderC encoder;
    msgpack::sbuffer buffer;
    const std::vector<double> numbers = NumbersOf(list);
    const auto figures = Benchmarks::Interleave(
        results.Rounds(),
        {{"library",
          [&] { return NanosecondsAPoint(count, [&] { WriteMessage(encoder, list); }); }},
         {"msgpack-cxx",
          [&] { return NanosecondsAPoint(count, [&] { PackNumbers(buffer, numbers); }); }}});
    results.Add({"list to wire, " + std::to_string(count) + " points",
                 "ns a point",
                 {Target::ESense::AtLeast, 1.5}},
                figures[0], "msgpack-cxx packing plain doubles", figures[1]);
}

void CompareReading(CResults& results, const std::string& bytes, std::size_t count)
{
    MessageDecoderC decoder;
    const auto figures = Benchmarks::Interleave(
        results.Rounds(),
        {{"library",
          [&] { return NanosecondsAPoint(count, [&] { DecodeMessage(decoder, bytes); }); }},
         {"msgpack-cxx", [&] { return NanosecondsAPoint(count, [&] { CountNumbers(bytes); }); }}});
    results.Add({"wire to list, " + std::to_string(count) + " points",
                 "ns a point",
                 {Target::ESense::AtLeast, 1.5}},
                figures[0], "msgpack-cxx visitor, counting only", figures[1]);
}

/// What encoding takes beside the list, in sizes of the message.
void MeasureMemory(CResults& results, const BListC& list, std::size_t count)
{
    const Benchmarks::CAllocations allocations;
    BEncoderC encoder;
    WriteMessage(encoder, list);
    results.Add(
        {"memory of a message in flight, " + std::to_string(count) + " points, at its most",
         "sizes of the message",
         {Target::ESense::AtMost, 1.02}},
        {static_cast<double>(allocations.PeakBytes()) / static_cast<double>(encoder.Size())});
}

void Measure(CResults& results)
{
    Benchmarks::KeepFreedMemory();
    for (const std::size_t count : Benchmarks::PointCounts(results.IsQuick())) {
        const Kestrove::CSplineWayline spline(Benchmarks::DrivenPoints(count));
        const std::unique_ptr<BListC> list(spline.ToBList());
        CompareWriting(results, *list, count);
        BEncoderC encoder;
        WriteMessage(encoder, *list);
        CompareReading(results, std::string(encoder.Data(), encoder.Size()), count);
        MeasureMemory(results, *list, count);
    }
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
