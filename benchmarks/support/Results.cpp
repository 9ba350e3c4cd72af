#include "benchmarks/support/Results.h"

#include <cstddef>
#include <cstring>
#include <exception>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "benchmarks/support/Measurement.h"

namespace Benchmarks {

namespace {

nlohmann::ordered_json Describe(const std::vector<double>& figures)
{
    const Spread spread = SpreadOf(figures);
    return {{"median", spread.median}, {"lowest", spread.lowest}, {"highest", spread.highest}};
}

nlohmann::ordered_json Head(const Subject& subject, const std::vector<double>& figures)
{
    nlohmann::ordered_json row;
    row["what"] = subject.what;
    row["unit"] = subject.unit;
    row["rounds"] = figures.size();
    row["figure"] = Describe(figures);
    return row;
}

void AddTarget(nlohmann::ordered_json& row, const Target& target, double reached)
{
    if (target.sense == Target::ESense::None) {
        return;
    }
    const bool isMost = target.sense == Target::ESense::AtMost;
    row["target"] = {{isMost ? "at most" : "at least", target.limit}};
    row["reached"] = isMost ? reached <= target.limit : reached >= target.limit;
}

void WriteLine(std::FILE* file, const nlohmann::ordered_json& row)
{
    std::fprintf(file, "%s\n", row.dump().c_str());
    std::fflush(file);
}

} // namespace

CResults::CResults(int argumentCount, char** arguments)
    : m_isQuick(argumentCount > 1 && std::strcmp(arguments[1], "--quick") == 0)
{
    const int place = m_isQuick ? 2 : 1;
    if (argumentCount != place + 1) {
        throw std::runtime_error("usage: [--quick] RESULTS");
    }
    m_file = std::fopen(arguments[place], "w");
    if (m_file == nullptr) {
        throw std::runtime_error(std::string("cannot write ") + arguments[place]);
    }
}

CResults::~CResults()
{
    std::fclose(m_file);
}

void CResults::Add(const Subject& subject, const std::vector<double>& figures)
{
    nlohmann::ordered_json row = Head(subject, figures);
    AddTarget(row, subject.target, SpreadOf(figures).median);
    WriteLine(m_file, row);
}

void CResults::Add(const Subject& subject, const std::vector<double>& figures,
                   const std::string& yardstick, const std::vector<double>& theirs)
{
    const bool isSpeed = subject.target.sense == Target::ESense::AtLeast;
    std::vector<double> ratios;
    for (std::size_t round = 0; round < figures.size(); ++round) {
        ratios.push_back(isSpeed ? theirs[round] / figures[round] : figures[round] / theirs[round]);
    }
    nlohmann::ordered_json row = Head(subject, figures);
    row["yardstick"] = Describe(theirs);
    row["yardstick"]["name"] = yardstick;
    row["ratio"] = Describe(ratios);
    AddTarget(row, subject.target, SpreadOf(ratios).median);
    WriteLine(m_file, row);
}

int Run(int argumentCount, char** arguments, const std::function<void(CResults&)>& benchmark)
{
    try {
        CResults results(argumentCount, arguments);
        benchmark(results);
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s: %s\n", arguments[0], problem.what());
        return 1;
    }
}

} // namespace Benchmarks
