#include "simulator/nmea/NmeaSentences.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace {

constexpr double kKnot = 1852.0 / 3600.0;
/// A tenth of a micro-minute is a fifth of a millimetre.
constexpr long long kMinuteParts = 10'000'000;
constexpr int kSatellites = 14;

[[gnu::format(printf, 1, 2)]] std::string Text(const char* format, ...)
{
    char text[160];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

/// A number, or nothing where there is none.
std::string Field(const std::optional<double>& value, int decimals)
{
    char text[40] = "";
    if (value) {
        std::snprintf(text, sizeof text, "%.*f", decimals, *value);
    }
    return text;
}

/// Degrees within [0, 360) with three decimals: what would round up to a whole turn is 0.
std::string Direction(const std::optional<double>& radians)
{
    if (!radians) {
        return {};
    }
    const long long hundredths =
        std::llround(Degrees(NormaliseHeading(*radians)) * 1000.0) % 360'000;
    return Text("%lld.%03lld", hundredths / 1000, hundredths % 1000);
}

/// Degrees and minutes with the letter of the side, rounded as one number: minutes are never 60.
std::string Coordinate(double degrees, int width, char positive, char negative)
{
    const long long parts = std::llround(std::abs(degrees) * 60.0 * kMinuteParts);
    const long long minutes = parts / kMinuteParts;
    return Text("%0*lld%02lld.%07lld,%c", width, minutes / 60, minutes % 60, parts % kMinuteParts,
                degrees < 0.0 ? negative : positive);
}

/// The numbers and letters by which sentences say what a fix is.
struct FixWords
{
    int quality;  ///< of GGA
    char mode;    ///< of RMC and VTG
    int attitude; ///< of PASHR
};

FixWords WordsOf(EFix fix)
{
    switch (fix) {
    case EFix::Single:
        return {1, 'A', 1};
    case EFix::Differential:
        return {2, 'D', 2};
    case EFix::Float:
        return {5, 'F', 2};
    case EFix::Fixed:
        return {4, 'R', 2};
    case EFix::None:
        break;
    }
    return {0, 'N', 0};
}

/// The sentences of one moment, field by field.
class CSentences
{
public:
    explicit CSentences(const NmeaMoment& moment) : m_moment(moment), m_words(WordsOf(moment.fix))
    {
        const std::time_t seconds = static_cast<std::time_t>(moment.unixMilliseconds / 1000);
        ::gmtime_r(&seconds, &m_date);
        m_time = Text("%02d%02d%02d.%02d", m_date.tm_hour, m_date.tm_min, m_date.tm_sec,
                      static_cast<int>(moment.unixMilliseconds % 1000 / 10));
        m_place = HasFix() ? Coordinate(moment.place.latitude, 2, 'N', 'S') + "," +
                                 Coordinate(moment.place.longitude, 3, 'E', 'W')
                           : ",,,";
    }

    std::string Gga() const
    {
        const bool isCorrected = HasFix() && m_moment.correctionAge;
        return "GNGGA," + m_time + "," + m_place + "," + std::to_string(m_words.quality) + "," +
               (HasFix() ? Text("%d,0.8,%.4f,M,0.0,M,", kSatellites, m_moment.place.height)
                         : std::string("0,,,M,,M,")) +
               (isCorrected ? Field(m_moment.correctionAge, 1) + ",0000" : ",");
    }

    std::string Vtg() const
    {
        const std::optional<double> speed = Known(m_moment.speed);
        const std::optional<double> kilometres = speed ? std::optional(*speed * 3.6) : std::nullopt;
        return "GNVTG," + Direction(Course()) + ",T,,M," + Field(Knots(), 4) + ",N," +
               Field(kilometres, 4) + ",K," + m_words.mode;
    }

    std::string Hdt() const { return "GNHDT," + Direction(m_moment.heading) + ",T"; }

    std::string Rot() const
    {
        const std::optional<double> perMinute =
            m_moment.yawRate ? std::optional(Degrees(*m_moment.yawRate) * 60.0) : std::nullopt;
        return "GNROT," + Field(perMinute, 3) + (perMinute ? ",A" : ",V");
    }

    std::string Pashr() const
    {
        return "PASHR," + m_time + "," + Direction(m_moment.heading) + ",T," +
               Text("%+.3f,%+.3f,%+.2f,%.3f,%.3f,%.3f,%d,1", Degrees(m_moment.roll),
                    Degrees(m_moment.pitch), 0.0, kAttitudeSigma, kAttitudeSigma,
                    Degrees(m_moment.headingSigma), m_words.attitude);
    }

    std::string Gst() const
    {
        const double sigma = m_moment.positionSigma;
        return "GNGST," + m_time +
               (HasFix() ? Text(",%.4f,%.4f,%.4f,0.0,%.4f,%.4f,%.4f", sigma, sigma, sigma, sigma,
                                sigma, kHeightSigmas * sigma)
                         : std::string(",,,,,,,"));
    }

    std::string Zda() const
    {
        return "GNZDA," + m_time +
               Text(",%02d,%02d,%04d,00,00", m_date.tm_mday, m_date.tm_mon + 1,
                    m_date.tm_year + 1900);
    }

    std::string Rmc() const
    {
        return "GNRMC," + m_time + (HasFix() ? ",A," : ",V,") + m_place + "," + Field(Knots(), 4) +
               "," + Direction(Course()) +
               Text(",%02d%02d%02d,,,%c", m_date.tm_mday, m_date.tm_mon + 1, m_date.tm_year % 100,
                    m_words.mode);
    }

private:
    static constexpr double kAttitudeSigma = 0.1; ///< degrees
    static constexpr double kHeightSigmas = 1.5;  ///< heights are less certain than places

    bool HasFix() const { return m_moment.fix != EFix::None; }
    std::optional<double> Known(double value) const
    {
        return HasFix() ? std::optional(value) : std::nullopt;
    }
    std::optional<double> Knots() const { return Known(m_moment.speed / kKnot); }
    std::optional<double> Course() const { return HasFix() ? m_moment.course : std::nullopt; }

    const NmeaMoment& m_moment;
    FixWords m_words;
    std::tm m_date{};
    std::string m_time;
    std::string m_place;
};

} // namespace

std::string NmeaSentence(const std::string& body)
{
    unsigned checksum = 0;
    for (const char character : body) {
        checksum ^= static_cast<unsigned char>(character);
    }
    return "$" + body + Text("*%02X\r\n", checksum);
}

std::string NmeaSentences(const NmeaMoment& moment)
{
    const CSentences sentences(moment);
    std::string text;
    for (const std::string& body :
         {sentences.Gga(), sentences.Vtg(), sentences.Hdt(), sentences.Rot(), sentences.Pashr(),
          sentences.Gst(), sentences.Zda(), sentences.Rmc()}) {
        text += NmeaSentence(body);
    }
    return text;
}
