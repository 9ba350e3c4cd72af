#include "simulator/http/DriveKeeper.h"

#include <utility>

#include "report/ReportHtml.h"
#include "simulator/base/Version.h"
#include "simulator/http/AnswerHead.h"

void CDriveKeeper::Add(const CSimulation& world)
{
    const Pose truth = world.TruePose();
    DriveSample sample;
    sample.time = world.Time();
    sample.x = truth.position.x;
    sample.y = truth.position.y;
    sample.speed = world.Speed();
    sample.steeringAngle = world.SteeringAngle();
    sample.error = world.TrueCrossTrackError();
    sample.implementError = world.TrueImplementCrossTrackError();
    sample.driftError = world.ReceiverDriftError();
    sample.pass = world.Status().pass;
    sample.isEngaged = world.Engaged();
    m_newest.reserve(kSamplesOfAPiece);
    m_newest.push_back(sample);
    if (m_newest.size() < kSamplesOfAPiece) {
        return;
    }
    m_full.push_back(std::make_shared<const std::vector<DriveSample>>(std::exchange(m_newest, {})));
    if (m_full.size() > kMostPieces) {
        m_full.pop_front();
    }
}

std::vector<DrivePiece> CDriveKeeper::Pieces() const
{
    std::vector<DrivePiece> pieces(m_full.begin(), m_full.end());
    pieces.push_back(std::make_shared<const std::vector<DriveSample>>(m_newest));
    return pieces;
}

ServedAnswer ReportAnswer(const std::vector<DrivePiece>& drive, const std::string& run)
{
    CDriveReport report;
    std::string problem;
    for (const DrivePiece& piece : drive) {
        for (const DriveSample& sample : *piece) {
            problem = problem.empty() ? report.Add(sample) : problem;
        }
    }
    problem = problem.empty() ? report.Finish() : problem;
    if (!problem.empty()) {
        return RefusalOf(409, problem);
    }
    ReportOrigin origin;
    origin.source = "the drive so far, of the last hour at most";
    origin.made = std::string("navigation-simulator ") + ProgramVersion();
    origin.run = run;
    return {200,
            "text/html; charset=utf-8",
            std::make_shared<const std::string>(ReportHtml(report, origin)),
            {{"Content-Disposition", "attachment; filename=\"accuracy-report.html\""}}};
}
