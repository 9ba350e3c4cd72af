#include "tools/navctl/wayline/GeoJsonPositions.h"

#include <numeric>

using Json = CGeoJsonBuilder::Json;

namespace {

using Members = Json::object_t::Container;

constexpr std::size_t kDeepest = 64;
constexpr std::size_t kMostKept = 5000000;

bool IsPosition(const Json& array)
{
    const auto isNumber = [](const Json& value) { return value.is_number_float(); };
    return array.size() >= 2 && std::all_of(array.begin(), array.end(), isNumber);
}

/// Leaves of several members of a name the last one.
void LeaveLast(Members& members)
{
    std::vector<std::size_t> byName(members.size());
    std::iota(byName.begin(), byName.end(), std::size_t{0});
    std::stable_sort(byName.begin(), byName.end(), [&](std::size_t left, std::size_t right) {
        return members[left].first < members[right].first;
    });
    std::vector<bool> isReplaced(members.size());
    bool isAny = false;
    for (std::size_t i = 1; i < byName.size(); ++i) {
        if (members[byName[i - 1]].first == members[byName[i]].first) {
            isReplaced[byName[i - 1]] = isAny = true;
        }
    }
    if (!isAny) {
        return;
    }
    Members left;
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (!isReplaced[i]) {
            left.emplace_back(members[i].first, std::move(members[i].second));
        }
    }
    members.swap(left);
}

} // namespace

bool CGeoJsonBuilder::key(std::string& name)
{
    Count();
    m_isInCoordinates = name == "coordinates";
    // Not by the object's operator [], which looks at all members that there are.
    Members& members = m_open.back()->get_ref<Json::object_t&>();
    members.emplace_back(std::move(name), nullptr);
    m_member = &members.back().second;
    return true;
}

bool CGeoJsonBuilder::end_object()
{
    Members& members = m_open.back()->get_ref<Json::object_t&>();
    if (members.size() > 1) {
        LeaveLast(members);
    }
    m_open.pop_back();
    return true;
}

bool CGeoJsonBuilder::end_array()
{
    Json& array = *m_open.back();
    m_open.pop_back();
    if (!m_isInCoordinates || !IsPosition(array)) {
        return true;
    }
    if (m_positions.size() >= m_most) {
        throw BadFeature{"it has more places than are read"};
    }
    m_positions.push_back(PositionIn(array));
    m_kept -= array.size();
    array = m_positions.size() - 1;
    return true;
}

bool CGeoJsonBuilder::parse_error(std::size_t byte, const std::string& /*token*/,
                                  const Json::exception& problem)
{
    if (dynamic_cast<const Json::parse_error*>(&problem) == nullptr) {
        throw BadFeature{"there is a number in it that is too large"};
    }
    m_badByte = byte;
    return false;
}

bool CGeoJsonBuilder::Add(Json value)
{
    Put(std::move(value));
    return true;
}

bool CGeoJsonBuilder::Open(Json container)
{
    if (m_open.size() > kDeepest) {
        throw BadFeature{"it is nested deeper than " + std::to_string(kDeepest) + " levels"};
    }
    m_open.push_back(&Put(std::move(container)));
    return true;
}

/// Puts a value where it belongs; what is in front of it keeps its place until it is complete.
Json& CGeoJsonBuilder::Put(Json value)
{
    Count();
    if (m_open.empty()) {
        return m_root = std::move(value);
    }
    if (m_open.back()->is_object()) {
        return *m_member = std::move(value);
    }
    m_open.back()->push_back(std::move(value));
    return m_open.back()->back();
}

void CGeoJsonBuilder::Count()
{
    if (++m_kept > kMostKept) {
        throw BadFeature{"it has more values than are read"};
    }
}
