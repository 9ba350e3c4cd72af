#include "simulator/http/LinePainter.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"
#include "simulator/http/Polyline.h"

namespace {

/// How many passes beside the chosen one are drawn, to each side.
constexpr int kNeighbours = 3;

} // namespace

CLinePainter::CLinePainter(ProcessorClock processor) : m_processor(std::move(processor)) {}

double CLinePainter::UsedByThisThread()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

bool CLinePainter::BelongsToPicture(const LineDrawing& drawing) const
{
    if (!m_drawing) {
        return false;
    }
    const LineLayout& before = m_drawing->layout;
    const LineLayout& now = drawing.layout;
    // The shape is kept, so that no other has its place in memory.
    return before.line == now.line && before.width == now.width && before.shift == now.shift &&
           before.repeats == now.repeats && m_drawing->station == drawing.station;
}

void CLinePainter::Take(LineDrawing drawing)
{
    if (!BelongsToPicture(drawing)) {
        ++m_number;
        m_drawn.clear();
    }
    // Those of a complete wayline are kept: to find them takes time with a long one.
    if (!m_drawing || !drawing.wayline || m_drawing->wayline != drawing.wayline ||
        m_drawing->drives != drawing.drives) {
        m_labels = LabelsOf(drawing);
    }
    m_drawing = std::move(drawing);
    for (auto drawn = m_drawn.begin(); drawn != m_drawn.end();) {
        const bool isFar = drawn->first != LinePiece::kTheLine &&
                           std::abs(drawn->first - m_drawing->layout.pass) > kKeptPasses;
        drawn = isFar ? m_drawn.erase(drawn) : std::next(drawn);
    }
}

std::vector<int> CLinePainter::WantedPasses() const
{
    const LineLayout& layout = m_drawing->layout;
    std::vector<int> wanted;
    if (layout.followed) {
        wanted.push_back(layout.pass);
    }
    if (layout.line) {
        wanted.push_back(LinePiece::kTheLine);
    }
    for (int aside = 1; layout.line && layout.repeats && aside <= kNeighbours; ++aside) {
        wanted.push_back(layout.pass - aside);
        wanted.push_back(layout.pass + aside);
    }
    return wanted;
}

std::vector<Point> CLinePainter::PointsOf(int pass) const
{
    const LineLayout& layout = m_drawing->layout;
    const double station = m_drawing->station;
    if (pass == LinePiece::kTheLine) {
        return PolylineOf(*layout.line, station);
    }
    const double offset = pass * layout.width + layout.shift;
    LineShapePtr shape = offset == 0.0 ? layout.line : nullptr;
    if (pass == layout.pass && layout.followed) {
        shape = layout.followed;
    } else if (!shape) {
        shape = layout.line->Parallel(offset);
    }
    return shape ? PolylineOf(*shape, shape->StationFromBase(station)) : std::vector<Point>();
}

void CLinePainter::SaveUp(TimePoint now)
{
    const std::chrono::duration<double> passed = now - m_lastDraw.value_or(now);
    m_savedBytes = std::min(kMostSavedBytes, m_savedBytes + kBytesASecond * passed.count());
    m_savedSeconds =
        std::min(kMostSavedSeconds, m_savedSeconds + kShareOfAProcessor * passed.count());
    m_lastDraw = now;
}

/// Until something may be drawn again; below 0 when it may be now.
double CLinePainter::SecondsToWait() const
{
    return std::max(-m_savedBytes / kBytesASecond, -m_savedSeconds / kShareOfAProcessor);
}

std::optional<CLinePainter::TimePoint> CLinePainter::Draw(TimePoint now)
{
    SaveUp(now);
    for (const int pass : WantedPasses()) {
        if (m_drawn.count(pass) > 0) {
            continue;
        }
        const std::chrono::duration<double> pause(SecondsToWait());
        if (pause.count() > 0.0) {
            return now + std::chrono::duration_cast<std::chrono::milliseconds>(pause) +
                   std::chrono::milliseconds(1);
        }
        const double used = m_processor();
        m_drawn[pass] = std::make_shared<const std::string>(PointsJson(PointsOf(pass)).dump());
        m_savedBytes -= static_cast<double>(m_drawn[pass]->size());
        m_savedSeconds -= m_processor() - used;
    }
    return std::nullopt;
}

LinePicturePtr CLinePainter::Picture() const
{
    auto picture = std::make_shared<LinePicture>();
    picture->number = m_number;
    picture->members = LineMembers(*m_drawing, m_labels, m_number);
    picture->pass = m_drawing->layout.pass;
    picture->hasLine = m_drawing->layout.line != nullptr;
    picture->isFollowed = m_drawing->layout.followed != nullptr;
    for (const int pass : WantedPasses()) {
        const auto drawn = m_drawn.find(pass);
        // Of a pass that lies inside of a bend tighter than it is away there may be nothing.
        if (drawn != m_drawn.end() && *drawn->second != "[]") {
            picture->pieces.push_back({pass, drawn->second});
        }
    }
    return picture;
}
