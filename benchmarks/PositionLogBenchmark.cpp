// Measures how fast a log of NMEA sentences becomes position samples, beside cutting the same file
// into its lines: parsing alone, nothing is sent.
//
// usage: position-log-benchmark [--quick] RESULTS

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Results.h"
#include "tools/navctl/feed/NmeaReader.h"

namespace {

using Benchmarks::Target;

constexpr int kSentencesAnEpoch = 5;

void Append(std::string& log, const char* body)
{
    unsigned sum = 0;
    for (const char* character = body; *character != '\0'; ++character) {
        sum ^= static_cast<unsigned char>(*character);
    }
    char ending[8];
    std::snprintf(ending, sizeof ending, "*%02X\r\n", sum & 0xFFU);
    log.append("$").append(body).append(ending);
}

/// A receiver's log, ten epochs a second.
std::string LogOf(int epochs)
{
    std::string log;
    char body[160];
    for (int i = 0; i < epochs; ++i) {
        char clock[32];
        const int tenths = i % 864000;
        std::snprintf(clock, sizeof clock, "%02d%02d%02d.%d0", tenths / 36000 % 24,
                      tenths / 600 % 60, tenths / 10 % 60, tenths % 10);
        char place[64];
        std::snprintf(place, sizeof place, "48%02d.%07d,N,01107.1234567,E", i / 10000 % 60,
                      i % 10000 * 1000);
        std::snprintf(body, sizeof body, "GNGGA,%s,%s,4,12,0.7,480.123,M,47.012,M,1.0,0000", clock,
                      place);
        Append(log, body);
        std::snprintf(body, sizeof body, "GNVTG,%d.25,T,,M,3.888,N,7.2,K,R", i % 360);
        Append(log, body);
        std::snprintf(body, sizeof body, "GNHDT,%d.5,T", i % 360);
        Append(log, body);
        std::snprintf(body, sizeof body, "GNGST,%s,1.2,0.01,0.01,45.0,0.012,0.011,0.02", clock);
        Append(log, body);
        std::snprintf(body, sizeof body, "GNRMC,%s,A,%s,3.888,%d.25,010524,,,R", clock, place,
                      i % 360);
        Append(log, body);
    }
    return log;
}

/// A file in memory.
class CMemoryFile
{
public:
    explicit CMemoryFile(const std::string& content) : m_descriptor(memfd_create("log", 0))
    {
        std::size_t written = 0;
        while (m_descriptor >= 0 && written < content.size()) {
            const ssize_t count =
                write(m_descriptor, content.data() + written, content.size() - written);
            if (count <= 0) {
                throw std::runtime_error("cannot write to memory");
            }
            written += static_cast<std::size_t>(count);
        }
    }
    ~CMemoryFile() { close(m_descriptor); }
    CMemoryFile(const CMemoryFile&) = delete;
    CMemoryFile& operator=(const CMemoryFile&) = delete;

    int FromTheStart() const
    {
        lseek(m_descriptor, 0, SEEK_SET);
        return m_descriptor;
    }

private:
    int m_descriptor;
};

double ReadSamples(const CMemoryFile& file, int epochs)
{
    CLineReader lines(file.FromTheStart(), 65536);
    CNmeaReader reader(lines, {});
    PositionSample sample;
    int samples = 0;
    const double start = Benchmarks::ThreadTime();
    while (reader.Next(sample, -1) == ESample::Sample) {
        Benchmarks::Keep(sample.latitude);
        ++samples;
    }
    if (samples != epochs) {
        throw std::runtime_error("not every epoch has become a sample");
    }
    return (Benchmarks::ThreadTime() - start) * 1e9 / (epochs * kSentencesAnEpoch);
}

double CutIntoLines(const CMemoryFile& file, int epochs)
{
    const int descriptor = file.FromTheStart();
    const std::unique_ptr<char[]> buffer(new char[65536]);
    const double start = Benchmarks::ThreadTime();
    std::size_t lines = 0;
    for (ssize_t count = 0; (count = read(descriptor, buffer.get(), 65536)) > 0;) {
        const char* place = buffer.get();
        const char* const end = place + count;
        while (const void* found =
                   std::memchr(place, '\n', static_cast<std::size_t>(end - place))) {
            place = static_cast<const char*>(found) + 1;
            ++lines;
        }
    }
    Benchmarks::Keep(static_cast<double>(lines));
    return (Benchmarks::ThreadTime() - start) * 1e9 / (epochs * kSentencesAnEpoch);
}

void Measure(Benchmarks::CResults& results)
{
    const int epochs = results.IsQuick() ? 1000 : 200000;
    const CMemoryFile file(LogOf(epochs));
    const auto figures = Benchmarks::Interleave(
        results.Rounds(), {{"samples", [&] { return ReadSamples(file, epochs); }},
                           {"lines", [&] { return CutIntoLines(file, epochs); }}});
    const std::string what =
        "samples of a log of " + std::to_string(epochs * kSentencesAnEpoch) + " sentences";
    results.Add({what, "ns a sentence", {Target::ESense::AtMost, 1000.0}}, figures[0]);
    results.Add({what, "ns a sentence", {}}, figures[0], "memchr over its lines", figures[1]);
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
