// Lets a client work against a service that is restarted again and again, and counts wrong replies,
// lost and reordered events, and what memory and descriptors do. Operations whose argument lists
// are kept by the protocol (the tuning limits and the velocity set point) are left out: they grow
// by design.
//
// usage: soak [--minutes N]

#include <cstdlib>
#include <fstream>
#include <iostream>
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

void PrintRow(int part, const CSoakClient& client, long restarts)
{
    const SoakCounts& counts = client.Counts();
    std::cout << part << "/10  " << counts.requests << " requests, " << counts.events << " events, "
              << restarts << " restarts, wrong " << counts.wrong << ", lost " << counts.lost
              << ", out of order " << counts.reordered << ", memory " << ResidentKibibytes()
              << " KiB, descriptors " << CSoakClient::Descriptors() << '\n'
              << std::flush;
}

/// Works until a tenth of the time is over, with a new service process as often as is due.
long WorkATenth(CSoakClient& client, CSoakService& service, std::mt19937& random, double seconds)
{
    const long restarts = std::max(1L, std::lround(seconds / 60.0 * kRestartsPerMinute));
    for (long restart = 0; restart < restarts; ++restart) {
        client.WorkFor(seconds / static_cast<double>(restarts));
        client.CompareEvents();
        service.End(random() % 2 == 0);
        client.FindNoService();
        if (!service.Start(client.NextEpoch())) {
            std::cerr << "soak: the service cannot listen on port 5010\n";
            std::exit(3);
        }
    }
    return restarts;
}

int Soak(double minutes)
{
    constexpr long kMostGrowthKibibytes = 1024;
    std::mt19937 random(1);
    CSoakService service;
    CSoakClient client(random);
    if (!service.Start(client.NextEpoch())) {
        std::cerr << "soak: the service cannot listen on port 5010\n";
        return 3;
    }
    long restarts = 0;
    long memoryAtFirst = 0;
    int descriptorsAtFirst = 0;
    for (int part = 1; part <= 10; ++part) {
        restarts += WorkATenth(client, service, random, minutes * 6.0);
        PrintRow(part, client, restarts);
        if (part == 1) {
            memoryAtFirst = ResidentKibibytes();
            descriptorsAtFirst = CSoakClient::Descriptors();
        }
    }
    const long growth = ResidentKibibytes() - memoryAtFirst;
    const SoakCounts& counts = client.Counts();
    const bool isWell = counts.wrong == 0 && counts.lost == 0 && counts.reordered == 0 &&
                        growth <= kMostGrowthKibibytes &&
                        CSoakClient::Descriptors() == descriptorsAtFirst && counts.events > 0;
    std::cout << (isWell ? "passed" : "FAILED") << "; memory grew by " << growth
              << " KiB after the first tenth\n";
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
