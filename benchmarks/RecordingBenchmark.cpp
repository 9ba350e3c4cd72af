// Measures what a recording of the link adds to the round trip of CNavigationAPI::EngageSteering(),
// and how fast and in how much memory one is read.
//
// usage: recording-benchmark [--quick] RESULTS
//
// A client that records and one that does not run in turn within every round, each over its own
// connection: once with the service on a core of its own, as on a machine that drives, and once
// with all on one core, where nothing of the recording can happen while the service is at work.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "api/NavigationAPI.h"
#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Process.h"
#include "benchmarks/support/Results.h"
#include "benchmarks/support/Service.h"
#include "benchmarks/support/Tcp.h"
#include "recording/FileSource.h"
#include "recording/LinkRecording.h"
#include "recording/LiveFile.h"
#include "recording/McapReader.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::CTcp;
using Benchmarks::Target;

constexpr int kCalls = 3000;
constexpr int kQuickCalls = 20;
constexpr double kMicroseconds = 1e6;
constexpr std::uint64_t kFileMegabytes = 256;
constexpr std::uint64_t kQuickFileMegabytes = 1;
constexpr std::size_t kPortionBytes = 100; // as of a request or an event

/// A file that goes with the benchmark.
class CFile
{
public:
    explicit CFile(const std::string& what = "")
        : m_path(std::filesystem::temp_directory_path() /
                 ("recording-" + std::to_string(::getpid()) + what + ".mcap"))
    {
        std::filesystem::remove(m_path);
    }
    ~CFile() { std::filesystem::remove(m_path); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    const std::string& Path() const { return m_path; }

private:
    const std::string m_path;
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

void MeasureOn(CResults& results, int clientsCore, int servicesCore, const std::string& where)
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
    results.Add({"EngageSteering with a recording, " + where + ", p50",
                 "µs",
                 {Target::ESense::AtMost, 1.10}},
                with, "without a recording", without);
}

void WriteFile(const std::string& path, std::uint64_t megabytes)
{
    CLiveFile file;
    CLinkRecording recording(file);
    bool isWritten =
        file.Create(path) && recording.Begin({"", "benchmark", "1", "", "application"});
    const std::string portion(kPortionBytes, 'x');
    for (std::uint64_t time = 0; isWritten && recording.Writer().Size() < megabytes * 1'000'000;
         ++time) {
        isWritten = recording.Bytes(time, 1, ELinkDirection::ToService, portion);
    }
    if (!isWritten || !recording.Finish()) {
        throw std::runtime_error(file.Problem());
    }
}

/// How long reading a file to its end takes, in milliseconds for 100 MB.
double ReadFile(const std::string& path)
{
    const double start = Benchmarks::Now();
    CFileSource source(path);
    CMcapReader reader(source);
    EMcapStep step = EMcapStep::Record;
    while (step == EMcapStep::Record) {
        step = reader.Next();
    }
    if (step != EMcapStep::End) {
        throw std::runtime_error("the recording cannot be read: " + reader.Problem());
    }
    return 1e3 * (Benchmarks::Now() - start) * 1e8 / static_cast<double>(source.Size());
}

double PeakMegabytes()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
}

void MeasureReading(CResults& results)
{
    const CFile small("-small");
    const CFile large("-large");
    WriteFile(small.Path(), kQuickFileMegabytes);
    WriteFile(large.Path(), results.IsQuick() ? kQuickFileMegabytes : kFileMegabytes);
    ReadFile(small.Path());
    const double before = PeakMegabytes();
    std::vector<double> milliseconds;
    for (int round = 0; round <= results.Rounds(); ++round) {
        milliseconds.push_back(ReadFile(large.Path()));
    }
    milliseconds.erase(milliseconds.begin()); // the round that does not count
    results.Add({"reading a recording, 100 MB", "ms", {Target::ESense::AtMost, 500}}, milliseconds);
    results.Add({"memory to read a recording of 256 MB, beyond that for 1 MB",
                 "MB",
                 {Target::ESense::AtMost, 1}},
                {PeakMegabytes() - before});
}

void Measure(CResults& results)
{
    MeasureReading(results);
    cpu_set_t cores;
    ::sched_getaffinity(0, sizeof cores, &cores);
    std::vector<int> usable;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(static_cast<std::size_t>(core), &cores)) {
            usable.push_back(core);
        }
    }
    if (usable.size() > 1) {
        MeasureOn(results, usable[0], usable[1], "service on another core");
    }
    MeasureOn(results, usable[0], usable[0], "all on one core");
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
