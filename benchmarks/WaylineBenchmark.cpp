// Measures both encodings of a spline against the bare loops that they could be, and the memory
// that the list form takes.
//
// usage: wayline-benchmark [--quick] RESULTS
//
// The readers print to standard output, which goes to /dev/null.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/support/Allocations.h"
#include "benchmarks/support/Curves.h"
#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Results.h"
#include "core/Vector3.h"
#include "platform/BElement.h"
#include "wayline/Wayline.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::Keep;
using Benchmarks::NanosecondsAPoint;
using Benchmarks::Points;
using Benchmarks::Target;
using Core::Maths::Vector3;
using Kestrove::CSplineWayline;
using Work = std::function<void()>;

/// What a list keeps an element in.
struct Slot
{
    Slot(double value, int kind) : number(value), type(kind) {}
    double number;
    int type;
};
static_assert(sizeof(Slot) == 16, "a slot takes 16 bytes");

// Written in place: a slot made on the stack and copied costs three times as much.
void PushBackSlots(const Points& points)
{
    std::vector<Slot> slots;
    for (const Vector3<double>& point : points) {
        slots.emplace_back(point.x, 2);
        slots.emplace_back(point.y, 2);
        slots.emplace_back(point.z, 2);
    }
    Keep(slots.back().number);
}

void PushBackPoints(const Points& points)
{
    Points copy;
    for (const Vector3<double>& point : points) {
        copy.push_back(point);
    }
    Keep(copy.back().x);
}

void CopyPoints(const Points& points)
{
    const std::size_t size = points.size() * sizeof(Points::value_type);
    const std::unique_ptr<unsigned char[]> copy(new unsigned char[size]);
    std::memcpy(copy.get(), points.data(), size);
    Keep(copy[size / 2]);
}

/// Formats every point and keeps nothing.
void PrintPoints(const Points& points)
{
    char buffer[1024];
    int length = 0;
    for (const Vector3<double>& point : points) {
        length += std::snprintf(buffer, sizeof buffer, " %lf %lf %lf", point.x, point.y, point.z);
    }
    Keep(length);
}

/// Reads every number of a text and keeps nothing.
void ScanNumbers(const std::string& text)
{
    double sum = 0.0;
    const char* place = text.c_str();
    for (char* end = nullptr;; place = end) {
        const double number = std::strtod(place, &end);
        if (end == place) {
            break;
        }
        sum += number;
    }
    Keep(sum);
}

struct Yardstick
{
    std::string name;
    Target target;
    Work work;
};

/// Adds a row a yardstick: an operation on `count` points beside each of them.
void Compare(CResults& results, const std::string& operation, std::size_t count, const Work& work,
             const std::vector<Yardstick>& yardsticks)
{
    std::vector<Benchmarks::Contender> contenders;
    contenders.push_back({operation, [&] { return NanosecondsAPoint(count, work); }});
    for (const Yardstick& yardstick : yardsticks) {
        contenders.push_back(
            {yardstick.name, [&, count] { return NanosecondsAPoint(count, yardstick.work); }});
    }
    const auto figures = Benchmarks::Interleave(results.Rounds(), contenders);
    for (std::size_t i = 0; i < yardsticks.size(); ++i) {
        results.Add({operation + ", " + std::to_string(count) + " points", "ns a point",
                     yardsticks[i].target},
                    figures[0], yardsticks[i].name, figures[i + 1]);
    }
}

/// A target for a line that no processor cache hides, and none for shorter ones, whose yardsticks
/// cost next to nothing.
Target AtManyPoints(std::size_t count, const Target& target)
{
    constexpr std::size_t kMany = 100000;
    return count < kMany ? Target{} : target;
}

void CompareListForm(CResults& results, const CSplineWayline& spline)
{
    const Points& points = spline.points;
    Compare(results, "ToBList", points.size(),
            [&] { Keep(std::unique_ptr<BListC>(spline.ToBList())->Size()); },
            {{"push_back of 16-byte slots",
              {Target::ESense::AtMost, 1.5},
              [&] { PushBackSlots(points); }},
             {"memcpy of the points", AtManyPoints(points.size(), {Target::ESense::AtMost, 4.0}),
              [&] { CopyPoints(points); }}});
    const std::unique_ptr<BListC> list(spline.ToBList());
    Compare(results, "LoadBList", points.size(),
            [&] {
                CSplineWayline read;
                Keep(read.LoadBList(list.get()) ? read.points.back().x : 0.0);
            },
            {{"push_back of points", AtManyPoints(points.size(), {Target::ESense::AtMost, 1.6}),
              [&] { PushBackPoints(points); }}});
}

void CompareWriting(CResults& results, const std::string& name, const CSplineWayline& spline)
{
    Compare(
        results, name, spline.points.size(),
        [&] { Keep(static_cast<double>(spline.ToString().size())); },
        {{"snprintf loop", {Target::ESense::AtLeast, 12.0}, [&] { PrintPoints(spline.points); }}});
}

void CompareTextForm(CResults& results, const CSplineWayline& spline)
{
    const std::size_t count = spline.points.size();
    CompareWriting(results, "ToString", spline);
    // A third of the numbers is next to nothing.
    CompareWriting(results, "ToString of heights near 0",
                   CSplineWayline(Benchmarks::DrivenPoints(count, 0.0)));
    const std::string text = spline.ToString();
    Compare(results, "LoadString", count,
            [&] {
                CSplineWayline read;
                Keep(read.LoadString(text) ? read.points.back().x : 0.0);
            },
            {{"strtod loop", {Target::ESense::AtLeast, 5.0}, [&] { ScanNumbers(text); }}});
}

/// The most memory that writing the list form takes at a time, the list itself included; and what a
/// list takes whose length is known beforehand, as that of one that arrives is.
void MeasureMemory(CResults& results, const CSplineWayline& spline)
{
    const std::string size = std::to_string(spline.points.size()) + " points";
    const Benchmarks::CAllocations growing;
    const std::unique_ptr<BListC> list(spline.ToBList());
    results.Add({"memory of ToBList while it grows, " + size,
                 "bytes an element",
                 {Target::ESense::AtMost, 16.1}},
                {static_cast<double>(growing.PeakBytes()) / list->Size()});
    const Benchmarks::CAllocations sized;
    BListC copy(nullptr);
    copy.Reserve(list->Size());
    for (int i = 0; i < list->Size(); ++i) {
        copy.AddDouble(list->GetDouble(i));
    }
    results.Add({"memory of a list, " + size, "bytes an element", {Target::ESense::AtMost, 16.1}},
                {static_cast<double>(sized.PeakBytes()) / copy.Size()});
}

void Measure(CResults& results)
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        throw std::runtime_error("no /dev/null");
    }
    Benchmarks::KeepFreedMemory();
    for (const std::size_t count : Benchmarks::PointCounts(results.IsQuick())) {
        const CSplineWayline spline(Benchmarks::DrivenPoints(count));
        CompareListForm(results, spline);
        CompareTextForm(results, spline);
        MeasureMemory(results, spline);
    }
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
