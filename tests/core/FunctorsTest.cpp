#include "core/Functors.h"

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using Core::Functors::MakeFunctor;
using std::string;

int Doubled(int value)
{
    return 2 * value;
}

int Negated(int value) noexcept
{
    return -value;
}

/// A call operator that changes the object.
struct CCounter
{
    int operator()(int step) { return m_count += step; }
    int m_count = 0;
};

template <typename Functor>
using Owned = std::unique_ptr<Functor>;

TEST(MakeFunctor, PicksTheTemplateByTheNumberOfArguments)
{
    const Owned<Core::Functors::Functor1<int, int>> one(MakeFunctor([](int a) { return a; }));
    const Owned<Core::Functors::Functor2<int, int, int>> two(
        MakeFunctor([](int a, int b) { return a + b; }));
    const Owned<Core::Functors::Functor3<int, int, int, int>> three(
        MakeFunctor([](int a, int b, int c) { return a + b + c; }));
    const Owned<Core::Functors::Functor4<int, int, int, int, int>> four(
        MakeFunctor([](int a, int b, int c, int d) { return a + b + c + d; }));
    const Owned<Core::Functors::Functor5<int, int, int, int, int, int>> five(
        MakeFunctor([](int a, int b, int c, int d, int e) { return a + b + c + d + e; }));

    EXPECT_EQ((*one)(1), 1);
    EXPECT_EQ((*two)(1, 2), 3);
    EXPECT_EQ((*three)(1, 2, 4), 7);
    EXPECT_EQ((*four)(1, 2, 4, 8), 15);
    EXPECT_EQ((*five)(1, 2, 4, 8, 16), 31);
}

TEST(MakeFunctor, HandsReferencesThroughWithoutACopy)
{
    const std::string* seen = nullptr;
    const Owned<Core::Functors::Functor1<void, const std::string&>> functor(
        MakeFunctor([&seen](const std::string& text) { seen = &text; }));
    const std::string text = "offset";

    (*functor)(text);

    EXPECT_EQ(seen, &text);
}

TEST(MakeFunctor, TakesObjectsThatChangeInTheirCalls)
{
    const Owned<Core::Functors::Functor1<int, int>> functor(MakeFunctor(CCounter()));

    EXPECT_EQ((*functor)(2), 2);
    EXPECT_EQ((*functor)(3), 5);
}

TEST(MakeFunctor, TakesFunctionsAndFunctionObjects)
{
    const Owned<Core::Functors::Functor1<int, int>> function(MakeFunctor(Doubled));
    const Owned<Core::Functors::Functor1<int, int>> safe(MakeFunctor(&Negated));
    const Owned<Core::Functors::Functor1<int, int>> object(
        MakeFunctor(std::function<int(int)>(Doubled)));
    const Owned<Core::Functors::Functor1<int, int>> lambda(
        MakeFunctor([](int value) noexcept { return value + 1; }));

    EXPECT_EQ((*function)(4), 8);
    EXPECT_EQ((*safe)(4), -4);
    EXPECT_EQ((*object)(4), 8);
    EXPECT_EQ((*lambda)(4), 5);
}

TEST(MakeFunctor, DestroysTheCallableWithTheFunctor)
{
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> held = token;
    Core::Functors::Functor1<void, double>* functor =
        MakeFunctor([token = std::move(token)](double) {});
    EXPECT_FALSE(held.expired());

    delete functor;

    EXPECT_TRUE(held.expired());
}

TEST(MakeFunctor, TakesCallablesThatCanOnlyBeMoved)
{
    const Owned<Core::Functors::Functor1<int, int>> functor(
        MakeFunctor([base = std::make_unique<int>(40)](int value) { return *base + value; }));

    EXPECT_EQ((*functor)(2), 42);
}

TEST(MakeFunctorWithTypes, TakesGenericLambdas)
{
    const auto text = [](auto... values) { return (std::to_string(values) + ... + string()); };
    const Owned<Core::Functors::Functor1<std::string, int>> one(
        Core::Functors::MakeFunctor1<std::string, int>(text));
    const Owned<Core::Functors::Functor2<std::string, int, bool>> two(
        Core::Functors::MakeFunctor2<std::string, int, bool>(text));
    const Owned<Core::Functors::Functor3<std::string, int, int, int>> three(
        Core::Functors::MakeFunctor3<std::string, int, int, int>(text));
    const Owned<Core::Functors::Functor4<std::string, int, int, int, int>> four(
        Core::Functors::MakeFunctor4<std::string, int, int, int, int>(text));
    const Owned<Core::Functors::Functor5<std::string, int, int, int, int, int>> five(
        Core::Functors::MakeFunctor5<std::string, int, int, int, int, int>(text));

    EXPECT_EQ((*one)(1), "1");
    EXPECT_EQ((*two)(1, true), "11");
    EXPECT_EQ((*three)(1, 2, 3), "123");
    EXPECT_EQ((*four)(1, 2, 3, 4), "1234");
    EXPECT_EQ((*five)(1, 2, 3, 4, 5), "12345");
}

TEST(MakeFunctorWithTypes, DropsTheResultWhereNoneIsWanted)
{
    double last = 0.0;
    const Owned<Core::Functors::Functor1<void, double>> functor(
        Core::Functors::MakeFunctor1<void, double>([&last](double value) { return last = value; }));

    (*functor)(0.5);

    EXPECT_EQ(last, 0.5);
}

} // namespace
