#ifndef KESTROVE_SIMULATOR_ASIDE_LONGWORK_H
#define KESTROVE_SIMULATOR_ASIDE_LONGWORK_H

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>

/// Names a calculation within what asks for it: the same key stands for the same inputs.
struct WorkKey
{
    const char* what = "";    ///< a literal
    const void* of = nullptr; ///< what it is made from, which the calculation keeps
    double by = 0.0;

    bool operator==(const WorkKey& other) const
    {
        return what == other.what && of == other.of && by == other.by;
    }
};

/// What a calculation is for.
enum class EWork
{
    Query,  ///< an answer that changes nothing
    Change, ///< a change of the line, which can be out of date before it is made
};

/// The result of any calculation.
using WorkResult = std::shared_ptr<const void>;
/// A calculation, which uses nothing but what it owns and what never changes: it may run anywhere.
using Calculation = std::function<WorkResult()>;

/// Thrown where a result is needed that takes too long to be calculated on the spot. Whoever throws
/// or passes it has changed nothing.
class CWorkPending : public std::exception
{
public:
    CWorkPending(const WorkKey& key, EWork kind, Calculation calculate)
        : m_key(key), m_kind(kind), m_calculate(std::move(calculate))
    {
    }
    const char* what() const noexcept override { return "a calculation has to be made first"; }
    const WorkKey& Key() const { return m_key; }
    EWork Kind() const { return m_kind; }
    const Calculation& Calculate() const { return m_calculate; }

private:
    WorkKey m_key;
    EWork m_kind;
    Calculation m_calculate;
};

/// Thrown where work ends without effect; what() says why.
class CWorkEnded : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Where guidance has its long calculations made, so that nobody waits for them.
///
/// Thread safety: none; calculations alone run on another thread.
class CLongWork
{
public:
    virtual ~CLongWork() = default;

    /// The result of a calculation: made on the spot when it is short, or found when it has been
    /// made aside.
    ///
    /// @param points how many points it works on, which shows how long it takes.
    /// @throws CWorkPending when it has to be made aside first; CWorkEnded when it is a change that
    ///         has been overtaken.
    virtual WorkResult Get(const WorkKey& key, EWork kind, std::size_t points,
                           const Calculation& calculate) = 0;
    /// @throws CWorkEnded when the operation that is being carried out is a change that has been
    ///         overtaken while it waited for its calculations.
    virtual void EndIfOvertaken() const = 0;
    /// Has a calculation made that nobody waits for; a later Get() finds it.
    virtual void Prepare(const CWorkPending& pending) = 0;
    /// Whether calculations are all made on the spot at present.
    virtual bool OnTheSpot() const = 0;
    /// Destroys something large where nobody waits for it.
    virtual void Discard(std::shared_ptr<const void> thing) = 0;
    /// The line has been replaced: the change that is being calculated ends.
    virtual void LineReplaced() = 0;
    /// Steering has been ended by hand: all changes asked for so far end.
    virtual void Disengaged() = 0;
};

/// The result of a calculation, by way of `work`; on the spot without one.
template <typename TResult, typename TCalculate>
std::shared_ptr<const TResult> Calculated(CLongWork* work, const WorkKey& key, EWork kind,
                                          std::size_t points, TCalculate calculate)
{
    const Calculation make = [calculate] {
        return std::static_pointer_cast<const void>(std::make_shared<const TResult>(calculate()));
    };
    return std::static_pointer_cast<const TResult>(
        work != nullptr ? work->Get(key, kind, points, make) : make());
}

/// The order to stop that the calculations of this thread obey; null where there is none.
inline thread_local const std::atomic<bool>* g_workStop = nullptr;

/// Ends a calculation that has been ordered to stop. To be called in long loops.
inline void EndWorkIfStopped()
{
    if (g_workStop != nullptr && g_workStop->load(std::memory_order_relaxed)) {
        throw CWorkEnded("it was overtaken");
    }
}

#endif
