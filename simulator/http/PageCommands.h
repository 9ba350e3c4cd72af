#ifndef KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H
#define KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "simulator/http/LogTap.h"
#include "simulator/service/ServiceCore.h"

/// An answer to a request of the page.
struct PageAnswer
{
    int status = 200;
    std::string json;
};

/// A request of the page, made ready to be carried out.
struct PageCommand
{
    PageAnswer refusal; ///< when there is anything wrong with it; its text is empty otherwise
    std::string operation;
    std::unique_ptr<BListC> arguments;
    bool isWayline = false;
    std::uint64_t arrival = 0;  ///< its place among the commands
    std::shared_ptr<void> turn; ///< of one that is long, while it is there

    bool IsRefused() const { return !refusal.json.empty(); }
};

/// What became of it.
struct PageOutcome
{
    Answer answer;
    std::vector<std::string> reasons; ///< that the service logged
    bool isTooMuch = false;           ///< it takes long, and too many that do wait already
};

/// Carries out what the page asks for, in three steps, of which just the middle one is for the
/// thread that the service core belongs to: what is long is read and written elsewhere.
class CPageCommands
{
public:
    /// How many commands that take long may be at their work or wait for it.
    static constexpr int kMostQueued = 8;
    /// The operation that overtakes the others.
    static constexpr const char* kDisengage = "DisengageSteering";

    /// All must outlive this object.
    CPageCommands(CServiceCore& core, CLogTap& log);

    /// Reads the request to carry out an operation. Thread safety: any thread.
    ///
    /// @param body {"operation": name, "arguments": [...]}
    PageCommand ReadCommand(const std::string& body) const;
    /// Reads the request to make a wayline the service's. Thread safety: any thread.
    ///
    /// @param body {"text": its text form}
    static PageCommand ReadWayline(const std::string& body);
    /// Carries a command out; on the service's thread. What takes long is queued with the service's
    /// other long work, and nothing of this object is used for it later. No EngageSteering is
    /// carried out after a DisengageSteering that has come behind it. What takes long while
    /// kMostQueued do so already is not carried out.
    ///
    /// @param isWanted asked when a command that is queued has its turn, whether it is to be
    /// carried
    ///        out still.
    /// @param done is called once it has been carried out, now or later.
    void CarryOut(PageCommand& command, const std::shared_ptr<PageOutcome>& outcome,
                  std::function<bool()> isWanted, std::function<void()> done);
    /// Writes the answer. Thread safety: any thread.
    static PageAnswer Write(const PageCommand& command, const PageOutcome& outcome);

private:
    bool IsOvertaken(const PageCommand& command, PageOutcome& outcome);
    void Queue(PageCommand& command, const std::shared_ptr<PageOutcome>& outcome,
               std::function<bool()> isWanted, std::function<void()> done);

    CServiceCore& m_core;
    CLogTap& m_log;
    std::uint64_t m_disengaged = 0; ///< the arrival of the last to end steering
    std::set<std::string> m_operations;
    std::shared_ptr<int> m_queued = std::make_shared<int>(0); ///< shared with what is queued
};

#endif
