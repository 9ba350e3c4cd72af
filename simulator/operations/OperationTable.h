#ifndef KESTROVE_SIMULATOR_OPERATIONS_OPERATIONTABLE_H
#define KESTROVE_SIMULATOR_OPERATIONS_OPERATIONTABLE_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "simulator/operations/Reply.h"
#include "simulator/operations/Signature.h"

/// What became of a call: a value, or an error text.
struct Answer
{
    Value value;       ///< null for "nothing"
    std::string error; ///< why the call was not carried out; empty when it was
    /// In place of the value, when it has been written aside: its bytes on the link.
    std::shared_ptr<const std::string> bytes;
};

/// The service's operations by name. Each is bound to a member function whose parameter types say
/// which arguments the operation wants and whose result type says what it answers:
///
///     table.Add("StartNavigation", steering, &CSteeringOperations::StartNavigation);
///
/// Arguments that do not fit are refused before the member function is called.
/// Thread safety: none.
class COperationTable
{
public:
    /// Adds an operation. `object` must outlive the table.
    template <typename Object, typename Result, typename... Parameters>
    void Add(const char* name, Object& object, Result (Object::*handler)(Parameters...))
    {
        using Wanted = Signature<std::decay_t<Parameters>...>;
        auto call = [&object, handler](const BListC& arguments) -> Answer {
            if constexpr (std::is_void_v<Result>) {
                Wanted::Call(object, handler, arguments);
                return {};
            } else if constexpr (std::is_same_v<Result, Answer>) {
                return Wanted::Call(object, handler, arguments);
            } else {
                return {ToValue(Wanted::Call(object, handler, arguments)), {}, nullptr};
            }
        };
        // No plain function: its type's name would be seen by programs that the service is in.
        const auto fits = [](const BListC& arguments) { return Wanted::Fits(arguments); };
        m_operations[name] = {Wanted::Wants(), fits, call};
    }

    /// Carries out an operation.
    ///
    /// @return its value; or an error, when there is no such operation or the arguments are not
    ///         what it wants. The text names the operation and what it wanted.
    Answer Call(const std::string& name, const BListC& arguments) const;

    /// The names of all operations, in alphabetical order.
    std::vector<std::string> Names() const;

private:
    struct Operation
    {
        std::string wants;
        std::function<bool(const BListC&)> fits;
        std::function<Answer(const BListC&)> call;
    };

    std::map<std::string, Operation> m_operations;
};

#endif
