#ifndef KESTROVE_SIMULATOR_HTTP_PAGERESOURCES_H
#define KESTROVE_SIMULATOR_HTTP_PAGERESOURCES_H

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "simulator/http/DriveKeeper.h"
#include "simulator/http/LoopGate.h"
#include "simulator/http/PageAside.h"
#include "simulator/http/PageFiles.h"
#include "simulator/http/SharedAnswer.h"
#include "simulator/http/Trail.h"
#include "simulator/http/WaylineText.h"
#include "simulator/service/ServiceCore.h"

inline constexpr const char* kFailed = "the request could not be carried out";

/// Does something, and refuses where it throws: for want of memory, for one.
template <typename Action>
void DoOrRefuse(const CSharedAnswer::Reply& reply, const Action& action)
{
    try {
        action();
    } catch (const std::exception&) {
        reply(RefusalOf(500, kFailed));
    }
}

/// What follows work that the service has been asked for: what is to be done once it is done, or a
/// refusal where it is not, or where what is done then throws.
CLoopGate::Then WhenDone(CSharedAnswer::Reply reply, std::function<void()> then);

/// What the page fetches, beside the stream: its files, the trail, the wayline, and the report of
/// the drive so far.
///
/// Thread safety: none; lives on the page's thread.
class CPageResources
{
public:
    /// All must outlive this object.
    CPageResources(asio::io_context& loop, CLoopGate& gate, CPageAside& aside, CServiceCore& core,
                   const CTrail& trail);

    /// Answers a connection with what it asks for, now or later.
    ///
    /// @return false when there is no such thing.
    bool Give(const std::shared_ptr<CHttpConnection>& connection);
    /// Another text for each start of the service.
    const std::string& Run() const { return m_run; }

private:
    using Reply = CSharedAnswer::Reply;

    void GiveTrail(const Reply& reply);
    void GiveWayline(const Reply& reply);
    void GiveReport(const Reply& reply);

    CLoopGate& m_gate;
    CPageAside& m_aside;
    CServiceCore& m_core;
    const CTrail& m_trail;
    const CPageFiles m_files;
    const std::string m_run =
        std::to_string(std::chrono::system_clock::now().time_since_epoch().count());
    CSharedAnswer m_sharedTrail;
    CSharedAnswer m_sharedWayline;
    CWaylineText m_waylineText;
    /// Shared with the service, which hands it the world.
    const std::shared_ptr<CDriveKeeper> m_drive = std::make_shared<CDriveKeeper>();
    CSharedAnswer m_sharedReport;
};

#endif
