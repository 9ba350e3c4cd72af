#ifndef KESTROVE_CORE_VECTOR2_H
#define KESTROVE_CORE_VECTOR2_H

/// @file
/// Points and vectors in the plane.

namespace Core::Maths {

/// Two numbers that belong together, such as a point in the plane. A plain value: copied,
/// compared and destroyed like its components.
///
/// @tparam T the components' type.
template <typename T>
class Vector2
{
public:
    T x{}; ///< first component
    T y{}; ///< second component

    /// Both components zero.
    constexpr Vector2() = default;
    /// The vector of these components.
    ///
    /// @param xValue,yValue the components, in their order.
    constexpr Vector2(T xValue, T yValue) : x(xValue), y(yValue) {}
};

/// @param left,right two vectors.
/// @return true when both components are equal.
template <typename T>
constexpr bool operator==(const Vector2<T>& left, const Vector2<T>& right)
{
    return left.x == right.x && left.y == right.y;
}

/// @param left,right two vectors.
/// @return true when a component differs.
template <typename T>
constexpr bool operator!=(const Vector2<T>& left, const Vector2<T>& right)
{
    return !(left == right);
}

} // namespace Core::Maths

#endif
