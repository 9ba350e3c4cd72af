#include "tests/soak/SoakClient.h"

#include <chrono>
#include <filesystem>
#include <iterator>
#include <vector>

#include <poll.h>

namespace {

using Core::Maths::Vector2;
using Core::Maths::Vector3;

bool HavePoints(const Kestrove::WaylinePtr& wayline, const std::vector<Vector3<double>>& points)
{
    const auto* const curve = dynamic_cast<const Kestrove::CABCurveWayline*>(wayline.Get());
    if (curve == nullptr || curve->points.size() != points.size()) {
        return false;
    }
    for (std::size_t place = 0; place < points.size(); ++place) {
        if (curve->points[place].x != points[place].x ||
            curve->points[place].y != points[place].y ||
            curve->points[place].z != points[place].z) {
            return false;
        }
    }
    return true;
}

} // namespace

CSoakClient::CSoakClient(std::mt19937& random) : m_random(random)
{
    m_navigation.SetTimeout(10000);
    m_navigation.SetRelativePositionCallback(
        Core::Functors::MakeFunctor([this](const Vector2<double>& epochAndNumber, double) {
            ++m_counts.events;
            if (epochAndNumber.x != m_epoch || epochAndNumber.y != m_nextEvent) {
                ++m_counts.reordered;
            }
            m_nextEvent = epochAndNumber.y + 1.0;
        }));
}

int CSoakClient::NextEpoch()
{
    m_nextEvent = 0.0;
    return ++m_epoch;
}

void CSoakClient::WorkFor(double seconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        switch (m_random() % 4) {
        case 0:
            Expect(m_navigation.EngageSteering() == m_epoch);
            break;
        case 1:
            RoundTripOfASetting();
            break;
        case 2:
            RoundTripOfAWayline();
            break;
        default:
            AskForEvents();
        }
    }
}

void CSoakClient::CompareEvents()
{
    const double pushed = m_navigation.GetFieldOffset();
    ++m_counts.requests;
    m_navigation.ProcessMessages(false); // what was pushed came before that answer
    m_counts.lost += std::lround(pushed - m_nextEvent);
}

void CSoakClient::AwaitTheEnd(bool isReset)
{
    pollfd watched = {m_navigation.Descriptor(), POLLRDHUP, 0};
    const bool hasEnded = ::poll(&watched, 1, 10000) == 1;
    const bool wasReset = (watched.revents & POLLERR) != 0;
    m_counts.resets += wasReset ? 1 : 0;
    m_counts.wrong += hasEnded && (wasReset || !isReset) ? 0 : 1;
}

void CSoakClient::FindNoService()
{
    Expect(m_navigation.EngageSteering() == -1);
    Expect(m_navigation.GetLookAheadTime() == 0.0);
    m_navigation.SetLookAheadTime(1.0, false);
    m_navigation.ProcessMessages(false);
}

int CSoakClient::Descriptors()
{
    using std::filesystem::directory_iterator;
    return static_cast<int>(
        std::distance(directory_iterator("/proc/self/fd"), directory_iterator()));
}

void CSoakClient::Expect(bool isRight)
{
    ++m_counts.requests;
    m_counts.wrong += isRight ? 0 : 1;
}

void CSoakClient::RoundTripOfASetting()
{
    const double value = static_cast<double>(m_random()) / 1000.0;
    if (m_random() % 2 == 0) {
        m_navigation.SetLookAheadTime(value, false);
        Expect(m_navigation.GetLookAheadTime() == value);
    } else {
        Expect(m_navigation.SetImplementWidth(value) == 1);
        Expect(m_navigation.GetImplementWidth() == value);
    }
}

void CSoakClient::RoundTripOfAWayline()
{
    std::vector<Vector3<double>> points(1 + m_random() % 50);
    for (Vector3<double>& point : points) {
        point.x = static_cast<double>(m_random()) / 7.0;
        point.y = -static_cast<double>(m_random());
    }
    Expect(m_navigation.SetWayline(Kestrove::WaylinePtr(new Kestrove::CABCurveWayline(points))));
    Expect(HavePoints(m_navigation.GetWayline(), points));
}

void CSoakClient::AskForEvents()
{
    Expect(m_navigation.SetFieldOffset(static_cast<double>(m_random() % 20)) == 1);
    if (m_random() % 4 == 0) { // else they wait, around later replies
        m_navigation.ProcessMessages(false);
    }
}
