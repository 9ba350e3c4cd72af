#ifndef KESTROVE_BINDINGS_PYTHON_TEXT_H
#define KESTROVE_BINDINGS_PYTHON_TEXT_H

#include <string>

#include <pybind11/pybind11.h>

namespace Kestrove::Python {

/// A text that may be the service's, and so in whatever encoding.
///
/// @param text UTF-8, or what comes near it.
/// @return the same as a Python str, U+FFFD in place of what is not UTF-8.
inline pybind11::object ToPythonText(const std::string& text)
{
    auto result = pybind11::reinterpret_steal<pybind11::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<pybind11::ssize_t>(text.size()), "replace"));
    if (!result) {
        throw pybind11::error_already_set();
    }
    return result;
}

} // namespace Kestrove::Python

#endif
