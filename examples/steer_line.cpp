// Steers the machine onto an A-B line, nudges the line, and goes on along a curve; shows how the
// drive goes, prints how well the machine kept to the lines, and draws it. Needs a navigation
// service on this machine, for example: navigation-simulator --start=1.2,0,0 --speed=2.5
//
// usage: steer_line [PICTURE]
//   PICTURE  the file to draw into, demo.svg unless given
// Exits with 1 when the machine cannot be steered or the picture cannot be written.

#include <chrono>
#include <cmath>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <api/Subscription.h>

#include "examples/drive_display.h"
#include "examples/drive_picture.h"
#include "examples/drive_record.h"

namespace {

using Core::Maths::Vector2;
using Core::Maths::Vector3;

constexpr float kSpeed = 2.5F; // metres per second
constexpr double kNudge = 0.5; // metres to the right

/// A curve that swings by a right angle and back, three times, and turns with a radius of 22 m at
/// the tightest.
std::vector<Vector3<double>> CurveFrom(double x, double y)
{
    constexpr double kPi = 3.14159265358979323846;
    constexpr double kStep = 0.5;
    constexpr double kLength = 165.0;
    constexpr double kSwing = 110.0;
    std::vector<Vector3<double>> points;
    for (int place = 0; place * kStep <= kLength; ++place) {
        const double way = place * kStep;
        points.emplace_back(x, y, 0.0);
        const double heading = kPi / 4.0 * (1.0 - std::cos(2.0 * kPi * way / kSwing));
        x += kStep * std::sin(heading);
        y += kStep * std::cos(heading);
    }
    return points;
}

/// An application that steers: the connection, and what it has heard of the machine.
class CLineSteering
{
public:
    CLineSteering();
    /// Stops the machine and gives the steering back.
    ~CLineSteering();
    CLineSteering(const CLineSteering&) = delete;
    CLineSteering& operator=(const CLineSteering&) = delete;

    /// Drives the three legs. Throws std::runtime_error when the machine cannot be steered.
    void Drive();
    const CDriveRecord& Record() const { return m_record; }

private:
    void Listen();
    void Engage();
    void DriveLeg(double length);
    void BeginLeg(const std::string& name, double length);
    void WaitForEvents();
    [[noreturn]] void Fail(const std::string& what) const;

    CNavigationAPI m_navigation;
    CDriveRecord m_record;
    CDriveDisplay m_display;
    Vector2<double> m_position;
    bool m_canEngage = false;
    bool m_isEngaged = false;
    std::vector<Kestrove::Subscription> m_subscriptions; // behind what they use: they end first
};

CLineSteering::CLineSteering()
{
    Listen();
}

CLineSteering::~CLineSteering()
{
    if (m_navigation.IsLinkUp()) {
        m_navigation.SetVelocitySetPoint(0.0F);
        m_navigation.DisengageSteering();
        m_navigation.StopNavigation();
    }
}

void CLineSteering::Listen()
{
    m_subscriptions.push_back(Kestrove::OnEngageStatus(
        m_navigation, [this](bool engaged, bool canEngage, bool, bool, bool) {
            m_isEngaged = engaged;
            m_canEngage = canEngage;
        }));
    m_subscriptions.push_back(Kestrove::OnRelativePosition(
        m_navigation, [this](const Vector2<double>& position, double) { m_position = position; }));
    m_subscriptions.push_back(Kestrove::OnGuidanceStatus(
        m_navigation, [this](int, double crossTrackError, double, double) {
            m_record.Add(m_position, crossTrackError);
            if (!m_record.Legs().empty()) {
                m_display.Show(m_record.LegDistance(), crossTrackError);
            }
        }));
    m_subscriptions.push_back(Kestrove::OnDrawPoints(
        m_navigation, [this](const PointsC& points) { m_record.AddPass(points); }));
}

void CLineSteering::Fail(const std::string& what) const
{
    const std::string& reason = m_navigation.LastError().text;
    throw std::runtime_error(
        what + ": " + (reason.empty() ? "refused by the service, whose log tells why" : reason));
}

void CLineSteering::WaitForEvents()
{
    // Waits for at most the time-out, which is far longer than the service ever takes.
    if (!m_navigation.ProcessMessages(true)) {
        Fail("no word from the service");
    }
}

void CLineSteering::Engage()
{
    m_navigation.SetWayline(Kestrove::WaylinePtr(new Kestrove::CABWayline({0, 0, 0}, {0, 100, 0})));
    const bool followNearestPass = false;
    if (m_navigation.StartNavigation(followNearestPass) != 1) {
        Fail("navigation cannot be started");
    }
    m_navigation.SetVelocitySetPoint(kSpeed);
    // Steering can be engaged as soon as the machine is fast enough.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (!m_canEngage && std::chrono::steady_clock::now() < deadline) {
        WaitForEvents();
    }
    if (m_navigation.EngageSteering() != 1) {
        Fail("steering cannot be engaged");
    }
    m_isEngaged = true;
}

void CLineSteering::BeginLeg(const std::string& name, double length)
{
    m_navigation.CheckCallbacks(); // what is still waiting belongs to the leg before
    m_record.BeginLeg(name);
    m_display.BeginLeg(name, length);
}

void CLineSteering::DriveLeg(double length)
{
    while (m_record.LegDistance() < length) {
        WaitForEvents();
        if (!m_isEngaged && !m_navigation.IsSteeringEngaged()) {
            m_display.EndLeg();
            throw std::runtime_error("the service has dropped steering; its log tells why");
        }
    }
    m_display.EndLeg();
}

void CLineSteering::Drive()
{
    constexpr double kLineLength = 45.0;
    constexpr double kNudgeLength = 40.0;
    constexpr double kCurveLength = 170.0;

    Engage();
    BeginLeg("onto the A-B line", kLineLength);
    DriveLeg(kLineLength);

    BeginLeg("nudged by 0.5 m", kNudgeLength);
    Vector3<double> nudge;
    if (m_navigation.Nudge(nudge, false, kNudge) != 1) {
        Fail("the line cannot be nudged");
    }
    DriveLeg(kNudgeLength);

    // The curve leaves the line, without the nudge, a little ahead of the machine. Navigation and
    // steering go on along it.
    BeginLeg("along an A-B curve", kCurveLength);
    const double pointsAhead = 8.0;
    if (m_navigation.Nudge(nudge, false, 0.0) != 1) {
        Fail("the nudge cannot be taken back");
    }
    const Kestrove::WaylinePtr curve(
        new Kestrove::CABCurveWayline(CurveFrom(0.0, m_position.y + pointsAhead)));
    if (!m_navigation.SetWayline(curve)) {
        Fail("the curve cannot be sent");
    }
    DriveLeg(kCurveLength);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        const std::string picture = argumentCount > 1 ? arguments[1] : "demo.svg";
        CLineSteering steering;
        steering.Drive();
        std::cout << '\n';
        PrintFigures(std::cout, steering.Record());
        std::ofstream file(picture);
        DrawPicture(file, steering.Record());
        file.close();
        if (!file) {
            throw std::runtime_error("the picture cannot be written: " + picture);
        }
        std::cout << "\nThe drive is drawn in " << picture << ".\n";
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "steer_line: " << error.what() << '\n';
        return 1;
    }
}
