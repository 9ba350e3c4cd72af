#ifndef KESTROVE_BINDINGS_PYTHON_CASTERS_H
#define KESTROVE_BINDINGS_PYTHON_CASTERS_H

#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "api/TuningParameter.h"
#include "bindings/python/Points.h"
#include "bindings/python/Waylines.h"
#include "core/Vector2.h"
#include "core/Vector3.h"
#include "wayline/Wayline.h"

// How the library's values cross to Python and back. Every source that binds something with such a
// value includes this header.
namespace pybind11::detail {

/// An enumeration whose codes need not have a name: any int comes in, a member of the Python
/// enumeration or an int goes out.
template <typename Code>
class OpenEnumerationCaster
{
public:
    bool load(handle source, bool convert)
    {
        make_caster<int> code;
        if (!code.load(source, convert)) {
            return false;
        }
        value = static_cast<Code>(cast_op<int>(code));
        return true;
    }

protected:
    static handle NamedCode(const char* enumeration, Code code)
    {
        const auto values = module_::import("kestrove_navigation._values");
        return values.attr("named_code")(values.attr(enumeration), static_cast<int>(code))
            .release();
    }

    Code value{};
};

template <>
class type_caster<Kestrove::EWaylineType> : public OpenEnumerationCaster<Kestrove::EWaylineType>
{
public:
    static constexpr auto name = const_name("WaylineType");
    template <typename>
    using cast_op_type = Kestrove::EWaylineType;
    operator Kestrove::EWaylineType() const { return value; }
    static handle cast(Kestrove::EWaylineType code, return_value_policy, handle)
    {
        return NamedCode("WaylineType", code);
    }
};

template <>
class type_caster<Kestrove::ETuningParameter>
    : public OpenEnumerationCaster<Kestrove::ETuningParameter>
{
public:
    static constexpr auto name = const_name("TuningParameter");
    template <typename>
    using cast_op_type = Kestrove::ETuningParameter;
    operator Kestrove::ETuningParameter() const { return value; }
    static handle cast(Kestrove::ETuningParameter code, return_value_policy, handle)
    {
        return NamedCode("TuningParameter", code);
    }
};

/// A point in space: any three numbers come in, a Vector3 goes out.
template <>
class type_caster<Core::Maths::Vector3<double>>
{
public:
    PYBIND11_TYPE_CASTER(Core::Maths::Vector3<double>, const_name("Vector3"));
    bool load(handle source, bool) { return Kestrove::Python::ReadPoint(source, value); }
    static handle cast(const Core::Maths::Vector3<double>& vector, return_value_policy, handle)
    {
        return Kestrove::Python::ToPython(vector).release();
    }
};

/// A point in the plane, of an event.
template <>
class type_caster<Core::Maths::Vector2<double>>
{
public:
    static constexpr auto name = const_name("Vector2");
    static handle cast(const Core::Maths::Vector2<double>& vector, return_value_policy, handle)
    {
        return Kestrove::Python::ToPython(vector).release();
    }
};

/// Points in the plane, of an event.
template <>
class type_caster<std::vector<Core::Maths::Vector2<double>>>
{
public:
    static constexpr auto name = const_name("Points");
    static handle cast(const std::vector<Core::Maths::Vector2<double>>& points, return_value_policy,
                       handle)
    {
        return Kestrove::Python::ToPython(points).release();
    }
};

/// A wayline: copied in, since Python may change its own while a call runs, and copied out as the
/// class of its kind; None for null.
template <>
class type_caster<Kestrove::WaylinePtr>
{
public:
    PYBIND11_TYPE_CASTER(Kestrove::WaylinePtr, const_name("Wayline"));
    bool load(handle source, bool)
    {
        if (source.is_none() || !isinstance<Kestrove::CWayline>(source)) {
            return false;
        }
        value = Kestrove::Python::CopyOf(source.cast<const Kestrove::CWayline&>());
        return true;
    }
    static handle cast(const Kestrove::WaylinePtr& wayline, return_value_policy, handle)
    {
        return Kestrove::Python::ToPython(wayline).release();
    }
};

} // namespace pybind11::detail

#endif
