#ifndef KESTROVE_TESTING_VALUE_H
#define KESTROVE_TESTING_VALUE_H

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
    CValue(int value);
    CValue(double value);
    CValue(const char* value);
    CValue(std::string value);
    /// A list.
    CValue(std::initializer_list<CValue> elements);
    /// A list whose elements are computed.
    static CValue List(std::vector<CValue> elements);
    /// The value "nothing".
    static CValue Nothing();

    /// This value as the library's.
    std::unique_ptr<BElementC> ToElement() const;

private:
    explicit CValue(EBElementType type) : m_type(type) {}

    EBElementType m_type;
    int m_integer = 0;
    double m_double = 0.0;
    std::string m_string;
    std::vector<CValue> m_elements;
};

/// A list of such values as the library's list.
std::unique_ptr<BListC> ToList(const std::vector<CValue>& elements);

/// A value as text, for example `[int 1, double 2.5, "line", [int 3], nothing]`: whole numbers as
/// "int", floating-point numbers as "double" in their shortest form that reads back to the same
/// value, texts in quotes with unprintable bytes as \xHH, dictionaries as {"key": value}.
std::string Describe(const BElementC& value);

/// A copy that stands alone.
std::unique_ptr<BListC> Copy(const BListC& list);

} // namespace Kestrove::Testing

#endif
