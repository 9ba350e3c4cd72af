#ifndef KESTROVE_BINDINGS_PYTHON_COLLECTION_H
#define KESTROVE_BINDINGS_PYTHON_COLLECTION_H

#include <pybind11/pybind11.h>

namespace Kestrove::Python {

/// Shows one held Python object to Python's search.
///
/// @param object the object, or none.
/// @param visit,argument what the search has handed over.
/// @return what the search wants returned at once unless it is 0.
inline int Visit(const pybind11::object& object, visitproc visit, void* argument)
{
    return object ? visit(object.ptr(), argument) : 0;
}

/// The value inside a Python object; null while its constructor runs, which pybind11 shows here
/// alone: its public cast would make room for a value without making one.
template <typename Value>
Value* ValueOf(PyObject* object)
{
    auto* instance = reinterpret_cast<pybind11::detail::instance*>(object);
    const auto value = instance->get_value_and_holder();
    return value.holder_constructed() ? value.template value_ptr<Value>() : nullptr;
}

/// Lets Python's search for objects that only refer to each other go through a class: a callable
/// that uses the client that calls it is the ordinary case.
///
/// @tparam Value has Traverse(), which shows the Python objects that it holds, and DropListeners(),
///         which lets go of them.
template <typename Value>
pybind11::custom_type_setup TakesPartInCollection()
{
    return pybind11::custom_type_setup([](PyHeapTypeObject* heapType) {
        PyTypeObject& type = heapType->ht_type;
        type.tp_flags |= Py_TPFLAGS_HAVE_GC;
        type.tp_traverse = [](PyObject* object, visitproc visit, void* argument) {
            // Objects own a share of their class, from Python 3.9 on.
            if (PY_VERSION_HEX >= 0x03090000) {
                const int result = visit(reinterpret_cast<PyObject*>(Py_TYPE(object)), argument);
                if (result != 0) {
                    return result;
                }
            }
            const auto* value = ValueOf<Value>(object);
            return value == nullptr ? 0 : value->Traverse(visit, argument);
        };
        type.tp_clear = [](PyObject* object) {
            if (auto* value = ValueOf<Value>(object)) {
                value->DropListeners();
            }
            return 0;
        };
    });
}

} // namespace Kestrove::Python

#endif
