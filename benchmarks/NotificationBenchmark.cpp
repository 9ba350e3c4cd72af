// Measures what notifications cost: as many as go, against bare sends of the same bytes, and at the
// pace of a position feed.
//
// usage: notification-benchmark [--quick] RESULTS

#include <cstddef>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/NavigationAPI.h"
#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Process.h"
#include "benchmarks/support/Results.h"
#include "benchmarks/support/Service.h"
#include "benchmarks/support/Tcp.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::CTcp;
using Benchmarks::Target;

constexpr int kNotifications = 20000;
constexpr int kQuickNotifications = 200;
constexpr int kSamples = 1000;
constexpr int kQuickSamples = 20;
constexpr std::size_t kBytesOfASample = 190; // as most samples have on the link
constexpr long kPaceNanoseconds = 1'000'000;
constexpr long kSecondInNanoseconds = 1'000'000'000;

// A list of three, 2 for a notification, the name, and the arguments [2.5, 0].
const std::string kNotification = "\x93\x02\xb2"
                                  "set_lookahead_time" +
                                  std::string("\x92\xcb\x40\x04\0\0\0\0\0\0\0", 11);

template <typename TSend>
double MicrosecondsEach(int count, TSend send)
{
    const double start = Benchmarks::Now();
    for (int i = 0; i < count; ++i) {
        send();
    }
    return 1e6 * (Benchmarks::Now() - start) / count;
}

void MeasureRate(CResults& results, CNavigationAPI& navigation, const CTcp& bare)
{
    const int count = results.IsQuick() ? kQuickNotifications : kNotifications;
    const auto figures = Benchmarks::Interleave(
        results.Rounds(),
        {{"SetLookAheadTime",
          [&] {
              return MicrosecondsEach(count, [&] { navigation.SetLookAheadTime(2.5, false); });
          }},
         {"raw one-way sends",
          [&] { return MicrosecondsEach(count, [&] { bare.Write(kNotification); }); }},
         {"raw looks and sends", [&] {
              return MicrosecondsEach(count, [&] {
                  bare.Look();
                  bare.Write(kNotification);
              });
          }}});
    const std::string what = "SetLookAheadTime notification";
    results.Add({what, "µs", {}}, figures[0], "raw one-way send", figures[1]);
    results.Add({what, "µs", {Target::ESense::AtMost, 1.15}}, figures[0],
                "raw look and one-way send", figures[2]);
}

void SendSample(CNavigationAPI& navigation, int number)
{
    const double part = 1e-7 * number;
    if (navigation.SetPositionData(51.5 + part, -0.25 + part, 101.25, 1.57, 2.5, 0.01, -0.02, 1.571,
                                   0.001, 0.002, 0.003, 0.02, 0.02, 0.04, true, 4, 17, true, false,
                                   number, 1.7e9 + 0.001 * number) != 0) {
        throw std::runtime_error("SetPositionData failed: " + navigation.LastError().text);
    }
}

/// The share of a core, in per cent, that sending 1000 times a second takes.
template <typename TSend>
double ShareOfPaced(int samples, TSend send)
{
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);
    const double startTime = Benchmarks::Now();
    const double start = Benchmarks::ProcessTime();
    for (int number = 0; number < samples; ++number) {
        send(number);
        next.tv_nsec += kPaceNanoseconds;
        if (next.tv_nsec >= kSecondInNanoseconds) {
            next.tv_nsec -= kSecondInNanoseconds;
            ++next.tv_sec;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
    }
    return 100.0 * (Benchmarks::ProcessTime() - start) / (Benchmarks::Now() - startTime);
}

void MeasurePositionFeed(CResults& results, CNavigationAPI& navigation, const CTcp& bare)
{
    const int samples = results.IsQuick() ? kQuickSamples : kSamples;
    const std::string bytes(kBytesOfASample, 'x');
    const auto shares = Benchmarks::Interleave(
        results.Rounds(),
        {{"SetPositionData",
          [&] {
              return ShareOfPaced(samples, [&](int number) { SendSample(navigation, number); });
          }},
         {"raw looks and sends",
          [&] {
              return ShareOfPaced(samples, [&](int) {
                  bare.Look();
                  bare.Write(bytes);
              });
          }},
         {"timer alone", [&] { return ShareOfPaced(samples, [](int) {}); }}});
    results.Add({"SetPositionData, 1000 a second", "% of a core", {Target::ESense::AtMost, 1.4}},
                shares[0]);
    results.Add({"raw looks and sends of as many bytes, 1000 a second", "% of a core", {}},
                shares[1]);
    results.Add({"the timer of 1000 a second alone", "% of a core", {}}, shares[2]);
}

void Measure(CResults& results)
{
    Benchmarks::RunOnOneCore();
    const CTcp listener = CTcp::Listen(Benchmarks::kServicePort);
    const auto serve = [&listener] { Benchmarks::DropEverything(listener); };
    const Benchmarks::CChild services[] = {Benchmarks::CChild(serve), Benchmarks::CChild(serve)};
    CNavigationAPI navigation;
    const CTcp bare = CTcp::Connect(Benchmarks::kServicePort);
    MeasureRate(results, navigation, bare);
    MeasurePositionFeed(results, navigation, bare);
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
