#include "tools/navctl/report/ReportJson.h"

#include <cmath>

namespace {

/// What is not a number is null.
Json NumberOrNull(double value)
{
    return std::isfinite(value) ? Json(value) : Json();
}

Json FiguresJson(const CErrorFigures& figures)
{
    if (figures.Count() == 0) {
        return nullptr;
    }
    const ErrorSummary summary = figures.Summary();
    return {{"samples", summary.count}, {"seconds", summary.seconds},
            {"rms", summary.rms},       {"within_95", NumberOrNull(summary.notExceeded95)},
            {"mean", summary.mean},     {"mean_size", summary.meanSize},
            {"worst", summary.worst}};
}

Json GroupJson(CPassToPass::EInterval interval, const Json& speed, const PassToPassGroup& group)
{
    const bool isShort = interval == CPassToPass::EInterval::Short;
    return {{"interval_to", isShort ? CPassToPass::kShortSeconds : CPassToPass::kLongSeconds},
            {"speed", speed},
            {"pairs", group.pairs},
            {"shortest_interval", group.shortest},
            {"longest_interval", group.longest},
            {"machine", FiguresJson(group.machine)},
            {"implement", FiguresJson(group.implement)}};
}

Json PassToPassJson(const CPassToPass& passes)
{
    Json groups = Json::array();
    for (const auto interval : {CPassToPass::EInterval::Short, CPassToPass::EInterval::Long}) {
        if (passes.All(interval).machine.Count() > 0) {
            groups.push_back(GroupJson(interval, nullptr, passes.All(interval)));
        }
    }
    for (const auto& [key, group] : passes.BySpeed()) {
        groups.push_back(GroupJson(key.first, key.second / 2.0, group));
    }
    return {{"runs", passes.Runs()}, {"groups", groups}};
}

} // namespace

Json ReportJson(const CDriveReport& report, const ReportOrigin& origin)
{
    const SteeringActivity steering = report.Steering();
    return {{"source", origin.source},
            {"errors_are_true", origin.isTrue},
            {"positions", report.Samples()},
            {"from", report.FirstTime()},
            {"to", report.LastTime()},
            {"metres", report.Metres()},
            {"engaged_metres", report.EngagedMetres()},
            {"engagements", report.Engagements()},
            {"machine", FiguresJson(report.Machine())},
            {"implement", FiguresJson(report.Implement())},
            {"machine_without_receiver_drift", FiguresJson(report.Guidance())},
            {"within_95_precision", CErrorHistogram::kBinMetres},
            {"pass_to_pass", PassToPassJson(report.PassToPass())},
            {"steering",
             {{"changes", steering.samples},
              {"rms_rate", steering.rmsRate},
              {"travel", steering.travel},
              {"greatest_angle", steering.greatestAngle}}},
            {"run", origin.run.empty() ? Json() : Json(origin.run)},
            {"command", origin.command},
            {"made_by", origin.made},
            {"remarks", origin.remarks}};
}
