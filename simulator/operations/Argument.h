#ifndef KESTROVE_SIMULATOR_OPERATIONS_ARGUMENT_H
#define KESTROVE_SIMULATOR_OPERATIONS_ARGUMENT_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/BElement.h"

/// Thrown where no use can be made of an argument although its type fits. The call then fails like
/// one with arguments of the wrong types.
class UnusableArgument : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A longer text is refused unread, bytes: what an operation does with a text takes the longer the
/// more there is of it, and everybody waits.
inline constexpr std::size_t kLongestTextArgument = 4096;
/// More nested lists are refused, for the same reason.
inline constexpr int kMostNestedLists = 100000;

/// The int that leads many argument lists. It says nothing to the service.
struct LeadingOne
{
};

/// All arguments of an operation whose argument list as a whole is the value.
struct WholeList
{
    const BListC& elements;
};

/// All arguments of an operation that takes any number of nested lists.
struct NestedLists
{
    const BListC& elements;
};

/// How an argument of type T stands in an argument list: what it is called in an error text, which
/// elements are one, and how it is read. Each type that a handler may take has a specialisation.
template <typename T>
struct Argument;

template <>
struct Argument<LeadingOne>
{
    static constexpr const char* kName = "int";
    static bool Fits(const BListC& list, int index)
    {
        return list.TypeAt(index) == EBElementType::Integer;
    }
    static LeadingOne Read(const BListC&, int) { return {}; }
};

template <>
struct Argument<int>
{
    static constexpr const char* kName = "int";
    static bool Fits(const BListC& list, int index)
    {
        return list.TypeAt(index) == EBElementType::Integer;
    }
    static int Read(const BListC& list, int index) { return list.GetInt(index); }
};

/// Any int but 0 is true.
template <>
struct Argument<bool>
{
    static constexpr const char* kName = "int";
    static bool Fits(const BListC& list, int index)
    {
        return list.TypeAt(index) == EBElementType::Integer;
    }
    static bool Read(const BListC& list, int index) { return list.GetInt(index) != 0; }
};

/// A whole number is taken too: many languages write 2.0 as 2.
template <>
struct Argument<double>
{
    static constexpr const char* kName = "double";
    static bool Fits(const BListC& list, int index)
    {
        const EBElementType type = list.TypeAt(index);
        return type == EBElementType::Double || type == EBElementType::Integer;
    }
    static double Read(const BListC& list, int index) { return list.GetDouble(index); }
};

template <>
struct Argument<std::string>
{
    static constexpr const char* kName = "text";
    static bool Fits(const BListC& list, int index)
    {
        return list.TypeAt(index) == EBElementType::String;
    }
    /// Valid as long as the list.
    /// @throws UnusableArgument for a text that is too long.
    static const std::string& Read(const BListC& list, int index);
};

/// What a list holds, as it stands in an error text: "[int, double, list]".
std::string DescribeTypes(const BListC& list);

/// The same of the types that an operation wants.
std::string DescribeTypes(const std::vector<const char*>& names);

#endif
