// Measures what a recording of the link adds to the round trip of CNavigationAPI::EngageSteering().
//
// usage: recording-benchmark [--quick] RESULTS
//
// A client that records and one that does not run in turn within every round, each over its own
// connection: once with the service on a core of its own, as on a machine that drives, and once
// with all on one core, where nothing of the recording can happen while the service is at work.

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sched.h>
#include <unistd.h>

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

constexpr int kCalls = 3000;
constexpr int kQuickCalls = 20;
constexpr double kMicroseconds = 1e6;

/// A file that goes with the benchmark.
class CFile
{
public:
    CFile() { std::filesystem::remove(m_path); }
    ~CFile() { std::filesystem::remove(m_path); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    const std::string& Path() const { return m_path; }

private:
    const std::string m_path = std::filesystem::temp_directory_path() /
                               ("recording-" + std::to_string(::getpid()) + ".mcap");
};

void RunOn(int core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(core), &cores);
    if (::sched_setaffinity(0, sizeof cores, &cores) != 0) {
        throw std::runtime_error("the process cannot be bound to a core");
    }
}

/// The median of a round, which joins those of the rounds before.
double MeasureRound(CNavigationAPI& navigation, int calls, std::vector<double>& medians)
{
    std::vector<double> microseconds;
    for (int call = 0; call < calls; ++call) {
        const double start = Benchmarks::Now();
        if (navigation.EngageSteering() != 1) {
            throw std::runtime_error("EngageSteering failed: " + navigation.LastError().text);
        }
        microseconds.push_back(kMicroseconds * (Benchmarks::Now() - start));
    }
    medians.push_back(Benchmarks::Quantile(microseconds, 0.5));
    return medians.back();
}

void MeasureOn(CResults& results, int clientsCore, int servicesCore, const std::string& where,
               const Target& target)
{
    const CTcp listener = CTcp::Listen(Benchmarks::kServicePort);
    const auto serve = [&listener, servicesCore] {
        RunOn(servicesCore);
        Benchmarks::AnswerRequests(listener);
    };
    const Benchmarks::CChild services[] = {Benchmarks::CChild(serve), Benchmarks::CChild(serve)};
    RunOn(clientsCore);
    const CFile file;
    CNavigationAPI plain;
    CNavigationAPI recorded;
    if (!recorded.StartRecording(file.Path())) {
        throw std::runtime_error(recorded.LastRecordingError());
    }
    std::vector<double> without;
    std::vector<double> with;
    const int calls = results.IsQuick() ? kQuickCalls : kCalls;
    Benchmarks::Interleave(
        results.Rounds(),
        {{"without", [&] { return MeasureRound(plain, calls, without); }},
         {"with a recording", [&] { return MeasureRound(recorded, calls, with); }}});
    without.erase(without.begin()); // the round that does not count
    with.erase(with.begin());
    if (!recorded.LastRecordingError().empty()) {
        throw std::runtime_error(recorded.LastRecordingError());
    }
    results.Add({"EngageSteering with a recording, " + where + ", p50", "µs", target}, with,
                "without a recording", without);
}

void Measure(CResults& results)
{
    cpu_set_t cores;
    ::sched_getaffinity(0, sizeof cores, &cores);
    std::vector<int> usable;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(static_cast<std::size_t>(core), &cores)) {
            usable.push_back(core);
        }
    }
    if (usable.size() > 1) {
        MeasureOn(results, usable[0], usable[1], "service on another core",
                  {Target::ESense::AtMost, 1.10});
    }
    MeasureOn(results, usable[0], usable[0], "all on one core", {});
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
