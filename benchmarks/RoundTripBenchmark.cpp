// Measures the round trip of CNavigationAPI::EngageSteering() against a bare TCP ping-pong of the
// same bytes, and against request and reply through other libraries where they are installed.
//
// usage: round-trip-benchmark [--quick] RESULTS
//
// All run in turn within every round, each over its own connection. All processes share one core,
// so that no migration and no idle core's waking up is measured.

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/NavigationAPI.h"
#include "benchmarks/peers/Peer.h"
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

/// The bare side: writes the bytes of a request, reads the bytes of its reply, no more.
class CPingPong : public CPeer
{
public:
    void Call() override
    {
        char reply[64];
        m_connection.Write(m_request);
        if (!m_connection.ReadWhole(reply, m_replyLength)) {
            throw std::runtime_error("the service is gone");
        }
    }

private:
    const std::string m_request = Benchmarks::RequestBytes();
    const std::size_t m_replyLength = Benchmarks::ReplyLength();
    const CTcp m_connection = CTcp::Connect(Benchmarks::kServicePort);
};

class CLibrary : public CPeer
{
public:
    void Call() override
    {
        if (m_navigation.EngageSteering() != 1) {
            throw std::runtime_error("EngageSteering failed: " + m_navigation.LastError().text);
        }
    }

private:
    CNavigationAPI m_navigation;
};

/// Who is measured, and the figures of its rounds in microseconds.
struct Runner
{
    std::string name;
    std::unique_ptr<CPeer> peer;
    std::vector<double> medians = {};
    std::vector<double> p99s = {};
};

/// All runners, the library first and the bare one second.
std::vector<Runner> MakeRunners()
{
    std::vector<Runner> runners;
    runners.push_back({"EngageSteering", std::make_unique<CLibrary>()});
    runners.push_back({"raw blocking ping-pong", std::make_unique<CPingPong>()});
#ifdef KESTROVE_WITH_ZEROMQ
    runners.push_back({"ZeroMQ request-reply", MakeZeroMqPeer()});
#endif
#ifdef KESTROVE_WITH_GRPC
    runners.push_back({"gRPC unary call", MakeGrpcPeer()});
#endif
    return runners;
}

double MeasureRound(Runner& runner, int calls)
{
    std::vector<double> microseconds;
    microseconds.reserve(static_cast<std::size_t>(calls));
    for (int call = 0; call < calls; ++call) {
        const double start = Benchmarks::Now();
        runner.peer->Call();
        microseconds.push_back(kMicroseconds * (Benchmarks::Now() - start));
    }
    runner.medians.push_back(Benchmarks::Quantile(microseconds, 0.5));
    runner.p99s.push_back(Benchmarks::Quantile(microseconds, 0.99));
    return runner.medians.back();
}

void Measure(CResults& results)
{
    Benchmarks::RunOnOneCore();
    const CTcp listener = CTcp::Listen(Benchmarks::kServicePort);
    const auto serve = [&listener] { Benchmarks::AnswerRequests(listener); };
    const Benchmarks::CChild services[] = {Benchmarks::CChild(serve), Benchmarks::CChild(serve)};
    std::vector<Runner> runners = MakeRunners();
    std::vector<Benchmarks::Contender> contenders;
    contenders.reserve(runners.size());
    const int calls = results.IsQuick() ? kQuickCalls : kCalls;
    for (Runner& runner : runners) {
        contenders.push_back(
            {runner.name, [&runner, calls] { return MeasureRound(runner, calls); }});
    }
    Benchmarks::Interleave(results.Rounds(), contenders);
    for (Runner& runner : runners) { // the round that does not count
        runner.medians.erase(runner.medians.begin());
        runner.p99s.erase(runner.p99s.begin());
    }
    const Runner& library = runners[0];
    results.Add({"round trip of EngageSteering, p50", "µs", {Target::ESense::AtMost, 1.06}},
                library.medians, runners[1].name, runners[1].medians);
    results.Add({"round trip of EngageSteering, p99", "µs", {Target::ESense::AtMost, 1.3}},
                library.p99s, runners[1].name, runners[1].p99s);
    for (std::size_t i = 2; i < runners.size(); ++i) {
        results.Add({"round trip of EngageSteering, p50", "µs", {Target::ESense::AtLeast, 2.5}},
                    library.medians, runners[i].name, runners[i].medians);
    }
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
