// Measures the way of an event from the socket to the application's functor, against msgpack-cxx
// decoding the same bytes in memory and doing nothing else.
//
// usage: event-benchmark [--quick] RESULTS
//
// The service sends the events in blocks, as many at a time as the connection keeps. The figure is
// processor time of the client, reading from the socket included.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <msgpack.hpp>

#include "api/NavigationAPI.h"
#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Process.h"
#include "benchmarks/support/Results.h"
#include "benchmarks/support/Tcp.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::CTcp;
using Benchmarks::Target;

constexpr int kEventsABlock = 2000;
constexpr int kBlocks = 50;
constexpr int kQuickBlocks = 1;
constexpr double kNanoseconds = 1e9;
constexpr double kNanosecondsAMicrosecond = 1e3;
constexpr std::size_t kBytesARead = std::size_t{64} * 1024;

using Buffer = msgpack::sbuffer;

/// A block of guidance states: the pass, and three numbers.
std::string GuidanceBlock()
{
    Buffer buffer;
    msgpack::packer<Buffer> packer(buffer);
    for (int i = 0; i < kEventsABlock; ++i) {
        packer.pack_array(3);
        packer.pack(2);
        packer.pack("cb_guidance_status");
        packer.pack_array(4);
        packer.pack(i % 100);
        packer.pack(0.0123 + i);
        packer.pack(0.0456);
        packer.pack(-0.0789);
    }
    return {buffer.data(), buffer.size()};
}

/// A block of shifts of the line: one number each.
std::string OffsetBlock()
{
    Buffer buffer;
    msgpack::packer<Buffer> packer(buffer);
    for (int i = 0; i < kEventsABlock; ++i) {
        packer.pack_array(3);
        packer.pack(2);
        packer.pack("cb_offsets");
        packer.pack_array(1);
        packer.pack(0.05 + i);
    }
    return {buffer.data(), buffer.size()};
}

/// The service of one connection: a block for each request for one, which the client makes with a
/// notification without arguments.
void SendBlocks(const CTcp& listener, const std::string& block)
{
    constexpr char kNoArguments = '\x90';
    const CTcp connection = listener.Accept();
    char space[256] = {};
    for (std::size_t count = 1; count > 0; count = connection.Read(space, sizeof(space))) {
        if (space[count - 1] == kNoArguments) {
            connection.Write(block);
        }
    }
}

/// Nanoseconds an event from the socket to the functor.
double DeliverBlocks(CNavigationAPI& navigation, const int& delivered, int blocks)
{
    double passed = 0.0;
    for (int block = 0; block < blocks; ++block) {
        const int wanted = delivered + kEventsABlock;
        navigation.ResetIntegral(); // asks the service for the next block
        const double start = Benchmarks::ThreadTime();
        while (delivered < wanted) {
            if (!navigation.ProcessMessages(true)) {
                throw std::runtime_error("events are missing: " + navigation.LastError().text);
            }
        }
        passed += Benchmarks::ThreadTime() - start;
    }
    return kNanoseconds * passed / (blocks * kEventsABlock);
}

/// Nanoseconds an event for decoding alone, into the library's own objects.
double DecodeBlocks(const std::string& block, int blocks)
{
    double sum = 0.0;
    const double start = Benchmarks::ThreadTime();
    msgpack::unpacker unpacker;
    for (int number = 0; number < blocks; ++number) {
        for (std::size_t place = 0; place < block.size(); place += kBytesARead) {
            const std::size_t count = std::min(kBytesARead, block.size() - place);
            unpacker.reserve_buffer(count);
            std::memcpy(unpacker.buffer(), block.data() + place, count);
            unpacker.buffer_consumed(count);
            msgpack::object_handle event;
            while (unpacker.next(event)) {
                sum += static_cast<double>(event.get().via.array.size);
            }
        }
    }
    Benchmarks::Keep(sum);
    return kNanoseconds * (Benchmarks::ThreadTime() - start) / (blocks * kEventsABlock);
}

void MeasureEvent(CResults& results, const std::string& name, const std::string& block,
                  const std::function<void(CNavigationAPI&, int&)>& subscribe)
{
    const CTcp listener = CTcp::Listen(Benchmarks::kServicePort);
    const Benchmarks::CChild service([&] { SendBlocks(listener, block); });
    int delivered = 0;
    CNavigationAPI navigation;
    subscribe(navigation, delivered);
    const int blocks = results.IsQuick() ? kQuickBlocks : kBlocks;
    const auto figures = Benchmarks::Interleave(
        results.Rounds(), {{name, [&] { return DeliverBlocks(navigation, delivered, blocks); }},
                           {"msgpack-cxx", [&] { return DecodeBlocks(block, blocks); }}});
    results.Add({"event to functor, " + name, "ns", {}}, figures[0], "msgpack-cxx, decoding alone",
                figures[1]);
    std::vector<double> rates;
    for (const double nanoseconds : figures[0]) {
        rates.push_back(kNanosecondsAMicrosecond / nanoseconds);
    }
    results.Add({"events to functors, " + name, "million a second", {Target::ESense::AtLeast, 20}},
                rates);
}

void Measure(CResults& results)
{
    Benchmarks::RunOnOneCore();
    MeasureEvent(results, "cb_guidance_status (4 numbers)", GuidanceBlock(),
                 [](CNavigationAPI& navigation, int& delivered) {
                     navigation.SetGuidanceStatusCallback(Core::Functors::MakeFunctor(
                         [&delivered](int, double, double, double) { ++delivered; }));
                 });
    MeasureEvent(results, "cb_offsets (1 number)", OffsetBlock(),
                 [](CNavigationAPI& navigation, int& delivered) {
                     navigation.SetOffsetCallback(
                         Core::Functors::MakeFunctor([&delivered](double) { ++delivered; }));
                 });
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
