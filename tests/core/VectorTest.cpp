#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "core/Vector2.h"
#include "core/Vector3.h"

namespace {

using Core::Maths::Vector2;
using Core::Maths::Vector3;

static_assert(std::is_trivially_copyable_v<Vector2<double>>);
static_assert(std::is_trivially_copyable_v<Vector3<double>>);
static_assert(sizeof(Vector2<double>) == 2 * sizeof(double));
static_assert(sizeof(Vector3<double>) == 3 * sizeof(double));
static_assert(offsetof(Vector2<double>, y) == sizeof(double));
static_assert(offsetof(Vector3<double>, y) == sizeof(double));
static_assert(offsetof(Vector3<double>, z) == 2 * sizeof(double));

TEST(Vectors, StartAtZero)
{
    EXPECT_EQ(Vector2<double>(), Vector2<double>(0.0, 0.0));
    EXPECT_EQ(Vector3<double>(), Vector3<double>(0.0, 0.0, 0.0));
}

TEST(Vectors, KeepTheirComponentsInOrder)
{
    const Vector2<double> two(1.0, 2.0);
    const Vector3<double> three(1.0, 2.0, 3.0);

    EXPECT_EQ(two.x, 1.0);
    EXPECT_EQ(two.y, 2.0);
    EXPECT_EQ(three.x, 1.0);
    EXPECT_EQ(three.y, 2.0);
    EXPECT_EQ(three.z, 3.0);
}

TEST(Vectors, DifferWhenOneComponentDiffers)
{
    EXPECT_NE(Vector2<double>(1.0, 2.0), Vector2<double>(9.0, 2.0));
    EXPECT_NE(Vector2<double>(1.0, 2.0), Vector2<double>(1.0, 9.0));
    EXPECT_NE(Vector3<double>(1.0, 2.0, 3.0), Vector3<double>(9.0, 2.0, 3.0));
    EXPECT_NE(Vector3<double>(1.0, 2.0, 3.0), Vector3<double>(1.0, 9.0, 3.0));
    EXPECT_NE(Vector3<double>(1.0, 2.0, 3.0), Vector3<double>(1.0, 2.0, 9.0));
}

TEST(Vectors, AreCopiedByValue)
{
    Vector3<double> original(1.0, 2.0, 3.0);
    const Vector3<double> copy = original;

    original.x = 9.0;

    EXPECT_EQ(copy, Vector3<double>(1.0, 2.0, 3.0));
}

} // namespace
