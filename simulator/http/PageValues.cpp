#include "simulator/http/PageValues.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <nlohmann/json.hpp>

#include "simulator/aside/LongWork.h"

using nlohmann::json;

namespace {

constexpr double kPlacesPerMetre = 1000.0;

bool IsInteger(const json& value)
{
    constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
    return value.is_number_integer() &&
           (!value.is_number_unsigned() ||
            value.get<std::uint64_t>() <= static_cast<std::uint64_t>(kLargest));
}

std::unique_ptr<BListC> ListFrom(const json& list, int depth, std::string& problem);

/// Adds a value to a list; false when it is not one that an operation takes.
bool AddTo(BListC& list, const json& value, int depth, std::string& problem)
{
    if (value.is_boolean()) {
        list.AddInt(value.get<bool>() ? 1 : 0);
    } else if (IsInteger(value)) {
        list.AddInt64(value.get<std::int64_t>());
    } else if (value.is_number_float()) {
        list.AddDouble(value.get<double>());
    } else if (value.is_string()) {
        list.AddString(value.get<std::string>());
    } else if (value.is_array() && depth < kDeepestNesting) {
        std::unique_ptr<BListC> nested = ListFrom(value, depth + 1, problem);
        if (!nested) {
            return false;
        }
        list.Add(nested.release());
    } else {
        problem = value.is_array() ? NestingProblem()
                                   : std::string("an argument is ") + value.type_name() +
                                         ", allowed are numbers, true and false, texts and lists";
        return false;
    }
    return true;
}

std::unique_ptr<BListC> ListFrom(const json& list, int depth, std::string& problem)
{
    auto read = std::make_unique<BListC>(nullptr);
    for (const json& value : list) {
        EndWorkIfStopped();
        if (!AddTo(*read, value, depth, problem)) {
            return nullptr;
        }
    }
    return read;
}

json ElementJson(const BListC& list, int index)
{
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return list.GetInt64(index);
    case EBElementType::Double:
        return list.GetDouble(index);
    case EBElementType::String:
        return list.GetString(index);
    case EBElementType::List:
        return ReplyJson(list.GetList(index));
    default:
        return nullptr;
    }
}

double ToTheMillimetre(double metres)
{
    return std::round(metres * kPlacesPerMetre) / kPlacesPerMetre;
}

} // namespace

std::string NestingProblem()
{
    return "arguments are nested more than " + std::to_string(kDeepestNesting) + " deep";
}

std::unique_ptr<BListC> ArgumentsFrom(const json& list, std::string& problem)
{
    return ListFrom(list, 1, problem);
}

json ReplyJson(const BElementC* value)
{
    if (const auto* list = dynamic_cast<const BListC*>(value)) {
        json elements = json::array();
        for (int index = 0; index < list->Size(); ++index) {
            EndWorkIfStopped();
            elements.push_back(ElementJson(*list, index));
        }
        return elements;
    }
    const auto* atom = dynamic_cast<const BAtomC*>(value);
    if (atom == nullptr || atom->Type() == EBElementType::Nothing) {
        return nullptr;
    }
    if (atom->Type() == EBElementType::Integer) {
        return atom->Int64Value();
    }
    if (atom->Type() == EBElementType::Double) {
        return atom->DoubleValue();
    }
    return atom->StringValue();
}

json PointJson(const Point& point)
{
    return {ToTheMillimetre(point.x), ToTheMillimetre(point.y)};
}

json PointsJson(const std::vector<Point>& points)
{
    json list = json::array();
    for (const Point& point : points) {
        list.push_back(PointJson(point));
    }
    return list;
}

std::string JsonText(const json& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string TextJson(const std::string& text)
{
    return JsonText({{"text", text}});
}

std::string ErrorJson(const std::string& reason)
{
    return JsonText({{"error", reason}});
}
