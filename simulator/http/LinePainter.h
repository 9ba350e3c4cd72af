#ifndef KESTROVE_SIMULATOR_HTTP_LINEPAINTER_H
#define KESTROVE_SIMULATOR_HTTP_LINEPAINTER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/http/LineDrawing.h"
#include "simulator/http/LineEvent.h"

/// Draws the line and the passes around the machine, each pass once, and no more bytes a second
/// than a viewer's link is to carry: a machine that crosses a field of long curves comes to new
/// passes faster than they could be sent. Nor does it take more of a processor than a small share,
/// though the passes of a jagged curve take long. The followed pass comes first, then the line,
/// then the nearest.
///
/// Thread safety: none.
class CLinePainter
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    /// Gives how many seconds of a processor the calling thread has used.
    using ProcessorClock = std::function<double()>;

    /// How many bytes of points there are a second, over a longer time.
    static constexpr double kBytesASecond = 12000.0;
    /// How many of them may be saved up.
    static constexpr double kMostSavedBytes = 60000.0;
    /// How much of a processor drawing takes, over a longer time.
    static constexpr double kShareOfAProcessor = 0.015;
    /// How many seconds of it may be saved up.
    static constexpr double kMostSavedSeconds = 0.1;

    /// @param processor may be replaced where the pace of the machine is not to matter.
    explicit CLinePainter(ProcessorClock processor = UsedByThisThread);

    /// Has another drawing made, in place of the one before.
    void Take(LineDrawing drawing);
    /// Draws what is missing, as far as the bytes go.
    ///
    /// @return when to go on; nothing when all is drawn.
    std::optional<TimePoint> Draw(TimePoint now);
    /// What is drawn by now.
    LinePicturePtr Picture() const;

private:
    static double UsedByThisThread();
    void SaveUp(TimePoint now);
    double SecondsToWait() const;
    bool BelongsToPicture(const LineDrawing& drawing) const;
    std::vector<int> WantedPasses() const;
    std::vector<Point> PointsOf(int pass) const;

    std::optional<LineDrawing> m_drawing;
    std::vector<LineLabel> m_labels;
    std::uint64_t m_number = 0;
    std::map<int, std::shared_ptr<const std::string>> m_drawn; ///< of the present picture
    ProcessorClock m_processor;
    double m_savedBytes = kMostSavedBytes;
    double m_savedSeconds = kMostSavedSeconds; ///< of the processor
    std::optional<TimePoint> m_lastDraw;
};

#endif
