#ifndef KESTROVE_TESTING_VALUE_H
#define KESTROVE_TESTING_VALUE_H

/// @file
/// Values of messages, as tests write them.

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"

namespace Kestrove::Testing {

/// A value as a test writes it down: 1, 2.5, "text", or a list of such in braces: {1, {2.5,
/// "text"}}.
///
/// Braces always make a list, also around a single value. A value type; copies are independent.
class CValue
{
public:
    /// A whole number.
    ///
    /// @param value the number.
    CValue(int value);
    /// A floating-point number.
    ///
    /// @param value the number.
    CValue(double value);
    /// A text.
    ///
    /// @param value the text; copied. Must not be null.
    CValue(const char* value);
    /// A text.
    ///
    /// @param value the text.
    CValue(std::string value);
    /// A list.
    ///
    /// @param elements its elements, in order; any mixture.
    CValue(std::initializer_list<CValue> elements);
    /// A list whose elements are computed.
    ///
    /// @param elements its elements, in order.
    /// @return the list.
    [[nodiscard]] static CValue List(std::vector<CValue> elements);
    /// @return the value "nothing".
    [[nodiscard]] static CValue Nothing();

    /// @return this value as the library's, owned by the caller.
    [[nodiscard]] std::unique_ptr<BElementC> ToElement() const;

private:
    explicit CValue(EBElementType type) : m_type(type) {}

    EBElementType m_type;
    int m_integer = 0;
    double m_double = 0.0;
    std::string m_string;
    std::vector<CValue> m_elements;
};

/// Makes the library's list of such values.
///
/// @param elements the elements, in order.
/// @return the list, owned by the caller.
std::unique_ptr<BListC> ToList(const std::vector<CValue>& elements);

/// Writes a value as text, for example `[int 1, double 2.5, "line", [int 3], nothing]`.
///
/// @param value stays as it is.
/// @return whole numbers as "int", floating-point numbers as "double" in their shortest form that
///         reads back to the same value, texts in quotes with unprintable bytes as `\xHH`,
///         dictionaries as {"key": value}.
std::string Describe(const BElementC& value);

/// Copies a list.
///
/// @param list stays the caller's.
/// @return a copy that stands alone, owned by the caller.
std::unique_ptr<BListC> Copy(const BListC& list);

} // namespace Kestrove::Testing

#endif
