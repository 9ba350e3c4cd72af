#include "bindings/python/Lists.h"

#include <cstdint>
#include <string>
#include <utility>

#include "bindings/python/Text.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

void Append(BListC& list, py::handle element)
{
    // An array is asked as a sequence: it passes for a number, too.
    if (element.is_none()) {
        list.AddNothing();
    } else if (py::isinstance<py::str>(element)) {
        list.AddString(element.cast<std::string>());
    } else if (py::isinstance<py::sequence>(element)) {
        list.Add(ToList(py::reinterpret_borrow<py::sequence>(element)).release());
    } else if (PyIndex_Check(element.ptr()) != 0) {
        const py::object number = py::reinterpret_steal<py::object>(PyNumber_Index(element.ptr()));
        if (!number) {
            throw py::error_already_set();
        }
        const std::int64_t value = PyLong_AsLongLong(number.ptr());
        if (value == -1 && PyErr_Occurred() != nullptr) {
            throw py::error_already_set();
        }
        list.AddInt64(value);
    } else if (PyNumber_Check(element.ptr()) != 0) {
        list.AddDouble(py::float_(py::reinterpret_borrow<py::object>(element)).cast<double>());
    } else {
        throw py::type_error("a list form holds numbers, texts, None and lists");
    }
}

/// What a list holds as a value of its own: a text, a list or a dictionary; null for nothing.
py::object ElementToPython(const BElementC* element)
{
    if (const auto* list = dynamic_cast<const BListC*>(element)) {
        return ToPython(*list);
    }
    if (const auto* dictionary = dynamic_cast<const BDictionaryC*>(element)) {
        py::dict result;
        for (int i = 0; i < dictionary->Size(); ++i) {
            result[ToPythonText(dictionary->KeyAt(i))] = ElementToPython(dictionary->ValueAt(i));
        }
        return py::object(std::move(result));
    }
    const auto* atom = dynamic_cast<const BAtomC*>(element);
    switch (atom == nullptr ? EBElementType::Nothing : atom->Type()) {
    case EBElementType::Integer:
        return py::int_(atom->Int64Value());
    case EBElementType::Double:
        return py::float_(atom->DoubleValue());
    case EBElementType::String:
        return ToPythonText(atom->StringValue());
    default:
        return py::none();
    }
}

} // namespace

std::unique_ptr<BListC> ToList(const py::sequence& list)
{
    auto result = std::make_unique<BListC>(nullptr);
    // Some sequences, such as arrays, make an element only when it is asked for: it must be held.
    for (const py::object element : list) {
        Append(*result, element);
    }
    return result;
}

py::list ToPython(const BListC& list)
{
    py::list result;
    for (int i = 0; i < list.Size(); ++i) {
        if (list.TypeAt(i) == EBElementType::Integer) {
            result.append(list.GetInt64(i));
        } else if (list.TypeAt(i) == EBElementType::Double) {
            result.append(list.GetDouble(i));
        } else {
            result.append(ElementToPython(list.GetElement(i)));
        }
    }
    return result;
}

} // namespace Kestrove::Python
