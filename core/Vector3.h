#ifndef KESTROVE_CORE_VECTOR3_H
#define KESTROVE_CORE_VECTOR3_H

/// @file
/// Points and vectors in space.

namespace Core::Maths {

/// Three numbers that belong together, such as a point in space. A plain value: copied,
/// compared and destroyed like its components.
///
/// @tparam T the components' type.
template <typename T>
class Vector3
{
public:
    T x{}; ///< first component
    T y{}; ///< second component
    T z{}; ///< third component

    /// All components zero.
    constexpr Vector3() = default;
    /// The vector of these components.
    ///
    /// @param xValue,yValue,zValue the components, in their order.
    constexpr Vector3(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}
};

/// @param left,right two vectors.
/// @return true when all three components are equal.
template <typename T>
constexpr bool operator==(const Vector3<T>& left, const Vector3<T>& right)
{
    return left.x == right.x && left.y == right.y && left.z == right.z;
}

/// @param left,right two vectors.
/// @return true when a component differs.
template <typename T>
constexpr bool operator!=(const Vector3<T>& left, const Vector3<T>& right)
{
    return !(left == right);
}

} // namespace Core::Maths

#endif
