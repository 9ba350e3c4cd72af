#ifndef KESTROVE_BENCHMARKS_SUPPORT_RESULTS_H
#define KESTROVE_BENCHMARKS_SUPPORT_RESULTS_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace Benchmarks {

/// What a figure, or its ratio to a yardstick, must reach.
struct Target
{
    enum class ESense
    {
        None,    ///< only reported
        AtMost,  ///< the figure; against a yardstick, how many times its cost
        AtLeast, ///< against a yardstick, how many times as fast
    };
    ESense sense = ESense::None;
    double limit = 0.0;
};

/// What is measured. All figures are costs: less is better.
struct Subject
{
    std::string what;
    std::string unit;
    Target target;
};

/// The command line of a benchmark, and the file that it writes its rows to: a JSON object a line,
/// which scripts/benchmark puts into the table. Not standard output, which the readers of waylines
/// print to.
///
/// usage: PROGRAM [--quick] RESULTS
class CResults
{
public:
    /// Throws std::runtime_error when the command line is wrong or the file cannot be written.
    CResults(int argumentCount, char** arguments);
    ~CResults();
    CResults(const CResults&) = delete;
    CResults& operator=(const CResults&) = delete;

    /// True for a run that only shows that the benchmark works: one round of little work.
    bool IsQuick() const { return m_isQuick; }
    /// How many rounds are measured.
    int Rounds() const { return m_isQuick ? 1 : 9; }

    /// Writes a row without a yardstick.
    ///
    /// @param figures a figure a round.
    void Add(const Subject& subject, const std::vector<double>& figures);
    /// Writes a row of a figure beside its yardstick's.
    ///
    /// @param figures,theirs a figure a round each, of the same rounds.
    /// @param yardstick what is measured beside it.
    void Add(const Subject& subject, const std::vector<double>& figures,
             const std::string& yardstick, const std::vector<double>& theirs);

private:
    bool m_isQuick = false;
    std::FILE* m_file = nullptr;
};

/// Runs a benchmark: what it throws becomes a line on standard error.
///
/// @return the exit code of the program.
int Run(int argumentCount, char** arguments, const std::function<void(CResults&)>& benchmark);

} // namespace Benchmarks

#endif
