#ifndef KESTROVE_SIMULATOR_OPERATIONS_SIGNATURE_H
#define KESTROVE_SIMULATOR_OPERATIONS_SIGNATURE_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "simulator/operations/Argument.h"

/// The arguments that a handler with the given parameter types wants.
template <typename... Types>
struct Signature
{
    static std::string Wants()
    {
        return DescribeTypes(std::vector<const char*>{Argument<Types>::kName...});
    }

    static bool Fits(const BListC& list)
    {
        return list.Size() == static_cast<int>(sizeof...(Types)) &&
               FitsEach(list, std::index_sequence_for<Types...>());
    }

    /// Calls the handler with the arguments that the list holds.
    template <typename Object, typename Handler>
    static auto Call(Object& object, Handler handler, const BListC& list)
    {
        return CallEach(object, handler, list, std::index_sequence_for<Types...>());
    }

private:
    template <std::size_t... Index>
    static bool FitsEach([[maybe_unused]] const BListC& list, std::index_sequence<Index...>)
    {
        return (Argument<Types>::Fits(list, static_cast<int>(Index)) && ...);
    }

    template <typename Object, typename Handler, std::size_t... Index>
    static auto CallEach(Object& object, Handler handler, [[maybe_unused]] const BListC& list,
                         std::index_sequence<Index...>)
    {
        return (object.*handler)(Argument<Types>::Read(list, static_cast<int>(Index))...);
    }
};

/// A wayline's list form is an argument list of its own; the handler judges it.
template <>
struct Signature<WholeList>
{
    static std::string Wants() { return "a wayline's list form"; }
    static bool Fits(const BListC&) { return true; }

    template <typename Object, typename Handler>
    static auto Call(Object& object, Handler handler, const BListC& list)
    {
        return (object.*handler)(WholeList{list});
    }
};

/// Any number of nested lists.
template <>
struct Signature<NestedLists>
{
    static std::string Wants() { return "[list, ...]"; }

    /// Too many are not looked at: Call() refuses them, and says why.
    static bool Fits(const BListC& list)
    {
        for (int index = 0; index < list.Size() && list.Size() <= kMostNestedLists; ++index) {
            if (list.TypeAt(index) != EBElementType::List) {
                return false;
            }
        }
        return true;
    }

    template <typename Object, typename Handler>
    static auto Call(Object& object, Handler handler, const BListC& list)
    {
        if (list.Size() > kMostNestedLists) {
            throw UnusableArgument(std::to_string(list.Size()) +
                                   " arguments are too many, allowed is " +
                                   std::to_string(kMostNestedLists));
        }
        return (object.*handler)(NestedLists{list});
    }
};

#endif
