// Whatever an event carries, its handler calls the functor or does not; nothing but the length
// error of a negative number of points leaves it.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/NavigationAPI.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

using Core::Functors::MakeFunctor;
using Points = std::vector<Core::Maths::Vector2<double>>;

/// A client without a service, with a functor for every event.
class CListener
{
public:
    CListener()
    {
        m_client.SetEngageStatusCallback(
            MakeFunctor([this](bool, bool, bool, bool, bool) { ++m_calls; }));
        m_client.SetWaylineStatusCallback(
            MakeFunctor([this](bool, bool, bool, Kestrove::EWaylineType) { ++m_calls; }));
        m_client.SetWaylineStatusCallback(
            MakeFunctor([this](bool, bool, bool, Kestrove::EWaylineType, double) { ++m_calls; }));
        m_client.SetGuidanceStatusCallback(
            MakeFunctor([this](int, double, double, double) { ++m_calls; }));
        m_client.SetDrawPointsCallback(
            MakeFunctor([this](const Points& points) { m_points = points.size(); }));
        m_client.SetRelativePositionCallback(
            MakeFunctor([this](const Core::Maths::Vector2<double>&, double) { ++m_calls; }));
        m_client.SetTuningParameterChangedCallback(
            MakeFunctor([this](Kestrove::ETuningParameter, double) { ++m_calls; }));
        m_client.SetImplementWidthCallback(MakeFunctor([this](double) { ++m_calls; }));
        m_client.SetOffsetCallback(MakeFunctor([this](double) { ++m_calls; }));
    }

    void Deliver(const std::string& event, BListC& payload)
    {
        try {
            m_client.DoCallback(event, &payload);
        } catch (const std::length_error&) {
            FuzzMessages::Require(payload.GetInt(0) < 0, "only a negative count is a length error");
        }
    }

private:
    CNavigationAPI m_client;
    std::size_t m_calls = 0;
    std::size_t m_points = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzMessages::SilenceStandardOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CListener listener;
    for (const MessageC& message : FuzzMessages::Decode(data, size).messages) {
        if (message.arguments != nullptr) {
            listener.Deliver(message.method, *message.arguments);
        }
    }
    return 0;
}
