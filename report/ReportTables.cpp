#include "report/ReportTables.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;
constexpr double kCentimetres = 100.0;
const char* const kNothing = "\u2013";

std::string Centimetres(double metres)
{
    return FixedText(metres * kCentimetres, 2);
}

/// A mean has a side.
std::string MeanText(double metres)
{
    const std::string size = Centimetres(std::abs(metres));
    if (size == "0.00" || !std::isfinite(metres)) {
        return size;
    }
    return size + (metres > 0.0 ? " right" : " left");
}

std::vector<std::string> ErrorRow(const std::string& name, const CErrorFigures& figures)
{
    if (figures.Count() == 0) {
        return {name, kNothing, kNothing, kNothing, kNothing, kNothing, "not known"};
    }
    const ErrorSummary summary = figures.Summary();
    return {name,
            Centimetres(summary.rms),
            Centimetres(summary.notExceeded95),
            MeanText(summary.mean),
            Centimetres(summary.meanSize),
            Centimetres(summary.worst),
            RestText(summary)};
}

ReportTable ErrorTable(const CDriveReport& report, const ReportOrigin& origin)
{
    ReportTable table;
    table.title = "Cross-track error";
    table.note = std::string(origin.isTrue ? "True errors" : "Errors as guidance had them") +
                 ", while steering was engaged and the machine moved, its ways to the line "
                 "included. Right and left of the line, looking along it.";
    table.columns = {"",          "RMS, cm", "95\u00a0%, cm", "mean, cm", "mean size, cm",
                     "worst, cm", "rests on"};
    table.rows = {ErrorRow("Machine", report.Machine()), ErrorRow("Implement", report.Implement())};
    if (report.Guidance().Count() > 0) {
        table.rows.push_back(ErrorRow("Machine, without the receiver's drift", report.Guidance()));
    }
    if (std::isnan(report.Machine().Summary().notExceeded95)) {
        table.note += " What 95 % do not exceed takes 20 samples at least.";
    }
    return table;
}

std::vector<std::string> PairRow(const std::string& interval, const std::string& speed,
                                 const PassToPassGroup& group)
{
    const ErrorSummary machine = group.machine.Summary();
    const bool hasImplement = group.implement.Count() > 0;
    const ErrorSummary implement = group.implement.Summary();
    return {interval,
            speed,
            Centimetres(machine.rms),
            Centimetres(machine.notExceeded95),
            MeanText(machine.mean),
            Centimetres(machine.worst),
            hasImplement ? Centimetres(implement.rms) : kNothing,
            hasImplement ? Centimetres(implement.notExceeded95) : kNothing,
            CountText(group.pairs, "pair") + ", " + CountText(machine.count, "place") + ", " +
                FixedText(group.shortest / 60.0, 1) + " to " + FixedText(group.longest / 60.0, 1) +
                " min"};
}

ReportTable PairTable(const CDriveReport& report)
{
    using EInterval = CPassToPass::EInterval;
    const CPassToPass& passes = report.PassToPass();
    ReportTable table;
    table.title = "Pass to pass";
    table.note = "By how much the distance between two runs, along the same pass or passes beside "
                 "each other, is another one than planned: at each place of the later run, from "
                 "the nearest place, interpolated, of the earlier one. In the manner of ISO "
                 "12188-2, within 15 minutes; " +
                 CountText(passes.Runs(), "run") + " of 20 m at least at a steady speed.";
    table.columns = {"interval", "speed, m/s", "RMS, cm",           "95\u00a0%, cm",
                     "mean, cm", "worst, cm",  "implement RMS, cm", "implement 95\u00a0%, cm",
                     "rests on"};
    for (const auto& [interval, name] :
         {std::pair<EInterval, const char*>{EInterval::Short, "up to 15 min"},
          std::pair<EInterval, const char*>{EInterval::Long, "15 to 60 min"}}) {
        if (passes.All(interval).machine.Count() == 0) {
            continue;
        }
        table.rows.push_back(PairRow(name, "all", passes.All(interval)));
        for (const auto& [key, group] : passes.BySpeed()) {
            if (key.first == interval) {
                table.rows.push_back(PairRow(name, FixedText(key.second / 2.0, 1), group));
            }
        }
    }
    if (table.rows.empty()) {
        table.note += " There were no two such runs beside each other.";
    }
    return table;
}

ReportTable SteeringTable(const CDriveReport& report)
{
    const SteeringActivity steering = report.Steering();
    ReportTable table{"Steering activity", "", {"", "value", "rests on"}, {}};
    const std::string rest = CountText(steering.samples, "change") + " of the angle";
    if (steering.samples == 0) {
        table.rows.push_back({"Steering angle", kNothing, "not known"});
        return table;
    }
    const double metres = report.EngagedMetres();
    table.rows = {
        {"Rate, RMS, degrees/s", FixedText(steering.rmsRate * kDegreesPerRadian, 2), rest},
        {"Turned to and fro, degrees a metre",
         metres > 0.0 ? FixedText(steering.travel * kDegreesPerRadian / metres, 2) : kNothing,
         rest},
        {"Greatest angle, degrees", FixedText(steering.greatestAngle * kDegreesPerRadian, 1),
         rest}};
    return table;
}

ReportTable DriveTable(const CDriveReport& report, const ReportOrigin& origin)
{
    ReportTable table{"The drive", "", {"", "value"}, {}};
    table.rows = {
        {"From", origin.source},
        {"Time, s", FixedText(report.FirstTime(), 1) + " to " + FixedText(report.LastTime(), 1)},
        {"Positions", std::to_string(report.Samples())},
        {"Driven, m", FixedText(report.Metres(), 1)},
        {"Driven with steering engaged, m", FixedText(report.EngagedMetres(), 1)},
        {"Engaged", CountText(report.Engagements(), "time")}};
    for (const std::string& remark : origin.remarks) {
        table.rows.push_back({"Note", remark});
    }
    return table;
}

ReportTable RepeatTable(const ReportOrigin& origin)
{
    ReportTable table{"To repeat it", "", {"", "value"}, {}};
    table.rows.push_back(
        {"Options, seed and version of the drive",
         origin.run.empty() ? "not said in the file; --run adds them" : origin.run});
    if (!origin.command.empty()) {
        table.rows.push_back({"This report", origin.command});
    }
    table.rows.push_back({"Made by", origin.made});
    return table;
}

} // namespace

std::string FixedText(double value, int decimals)
{
    if (!std::isfinite(value)) {
        return kNothing;
    }
    std::array<char, 400> text;
    const std::to_chars_result written = std::to_chars(text.data(), text.data() + text.size(),
                                                       value, std::chars_format::fixed, decimals);
    std::string number(text.data(), written.ptr);
    const bool isZero = number.find_first_not_of("-0.") == std::string::npos;
    return isZero && number.front() == '-' ? number.substr(1) : number;
}

std::string CountText(std::uint64_t count, const std::string& one)
{
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string RestText(const ErrorSummary& summary)
{
    return CountText(summary.count, "sample") + ", " + FixedText(summary.seconds, 1) + " s";
}

std::vector<ReportTable> TablesOf(const CDriveReport& report, const ReportOrigin& origin)
{
    return {ErrorTable(report, origin), PairTable(report), SteeringTable(report),
            DriveTable(report, origin), RepeatTable(origin)};
}
