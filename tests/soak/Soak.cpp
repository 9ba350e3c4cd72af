// Lets a client work against a service that is restarted again and again, and counts wrong replies,
// lost and reordered events, and what memory and descriptors do. Operations whose argument lists
// are kept by the protocol (the tuning limits and the velocity set point) are left out: they grow
// by design.
//
// usage: soak [--minutes N]

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <limits>
#include <random>
#include <string>

#include <unistd.h>

#include "api/NavigationAPI.h"
#include "tests/soak/SoakClient.h"
#include "tests/soak/SoakService.h"

namespace {

constexpr double kRestartsPerMinute = 60.0;

long ResidentKibibytes()
{
    std::ifstream file("/proc/self/statm");
    long pages = 0;
    file >> pages >> pages;
    return pages * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// The client's memory and descriptors, looked at after every restart, and what becomes of both
/// once the first tenth is over.
class CSeries
{
public:
    void Sample()
    {
        const long memory = ResidentKibibytes();
        const int descriptors = CSoakClient::Descriptors();
        if (!m_isJudged) {
            m_firstMemory = std::max(m_firstMemory, memory);
            m_firstDescriptors = descriptors;
        }
        m_mostMemory = std::max(m_mostMemory, memory);
        m_leastDescriptors = std::min(m_leastDescriptors, descriptors);
        m_mostDescriptors = std::max(m_mostDescriptors, descriptors);
    }
    /// What has been seen so far is what the rest is compared with.
    void EndFirstTenth()
    {
        m_isJudged = true;
        m_mostMemory = m_firstMemory;
        m_leastDescriptors = m_firstDescriptors;
        m_mostDescriptors = m_firstDescriptors;
    }
    long Growth() const { return m_mostMemory - m_firstMemory; }
    bool HasConstantDescriptors() const { return m_leastDescriptors == m_mostDescriptors; }

private:
    bool m_isJudged = false;
    long m_firstMemory = 0;
    long m_mostMemory = 0;
    int m_firstDescriptors = 0;
    int m_leastDescriptors = std::numeric_limits<int>::max();
    int m_mostDescriptors = 0;
};

void PrintRow(int part, const CSoakClient& client, long restarts)
{
    const SoakCounts& counts = client.Counts();
    std::cout << part << "/10  " << counts.requests << " requests, " << counts.events << " events, "
              << restarts << " restarts, " << counts.resets << " of them with a reset, wrong "
              << counts.wrong << ", lost " << counts.lost << ", dropped " << client.Dropped()
              << ", out of order " << counts.reordered << ", memory " << ResidentKibibytes()
              << " KiB, descriptors " << CSoakClient::Descriptors() << '\n'
              << std::flush;
}

void StartOrExit(CSoakClient& client, CSoakService& service)
{
    if (!service.Start(client.NextEpoch())) {
        std::cerr << "soak: the service cannot listen on port 5010\n";
        std::exit(3);
    }
}

/// Works until a tenth of the time is over, with a new service process as often as is due.
long WorkATenth(CSoakClient& client, CSoakService& service, CSeries& series, double seconds,
                long restartsBefore)
{
    const long restarts = std::max(1L, std::lround(seconds / 60.0 * kRestartsPerMinute));
    for (long restart = 0; restart < restarts; ++restart) {
        client.WorkFor(seconds / static_cast<double>(restarts));
        client.CompareEvents();
        const auto how = static_cast<CSoakService::EEnd>((restartsBefore + restart) % 3);
        service.End(how);
        client.AwaitTheEnd(how == CSoakService::EEnd::Reset);
        client.FindNoService();
        StartOrExit(client, service);
        series.Sample();
    }
    return restarts;
}

/// Whether enough was done for the outcome to mean something: in ten minutes a million requests, a
/// million events and 500 restarts, a third of them with a reset. A run of less than a minute,
/// which may fall into a busy moment of the machine, has to do a tenth as much.
bool HasDoneEnough(const SoakCounts& counts, long restarts, double minutes)
{
    const double rate = minutes < 1.0 ? 10'000.0 : 100'000.0;
    return static_cast<double>(std::min(counts.requests, counts.events)) >= rate * minutes &&
           static_cast<double>(restarts) >= 50 * minutes && counts.resets >= restarts / 3;
}

int Soak(double minutes)
{
    constexpr long kMostGrowthKibibytes = 1024;
    std::mt19937 random(1);
    CSoakService service;
    CSoakClient client(random);
    CSeries series;
    StartOrExit(client, service);
    long restarts = 0;
    for (int part = 1; part <= 10; ++part) {
        restarts += WorkATenth(client, service, series, minutes * 6.0, restarts);
        PrintRow(part, client, restarts);
        if (part == 1) {
            series.EndFirstTenth();
        }
    }
    const SoakCounts& counts = client.Counts();
    const bool hasDoneEnough = HasDoneEnough(counts, restarts, minutes);
    const bool isWell = counts.wrong == 0 && counts.lost == 0 && counts.reordered == 0 &&
                        client.Dropped() == 0 && hasDoneEnough &&
                        series.Growth() <= kMostGrowthKibibytes && series.HasConstantDescriptors();
    std::cout << (isWell ? "passed" : "FAILED") << "; after the first tenth memory grew by at most "
              << series.Growth() << " KiB, descriptors "
              << (series.HasConstantDescriptors() ? "stayed" : "changed")
              << (hasDoneEnough ? "" : "; too little was done") << '\n';
    return isWell ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 4 && std::string(arguments[1]) == "--serve") {
        return CSoakService::Serve(std::atoi(arguments[2]), std::atoi(arguments[3]));
    }
    double minutes = 1.0;
    if (count == 3 && std::string(arguments[1]) == "--minutes") {
        minutes = std::atof(arguments[2]);
    } else if (count != 1) {
        minutes = 0.0;
    }
    if (!(minutes > 0.0)) {
        std::cerr << "usage: soak [--minutes N]\n";
        return 2;
    }
    return Soak(minutes);
}
