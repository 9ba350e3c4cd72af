#ifndef KESTROVE_TESTS_API_OPERATIONSDOCUMENT_H
#define KESTROVE_TESTS_API_OPERATIONSDOCUMENT_H

#include <map>
#include <string>
#include <vector>

/// docs/operations.md as data, and the parts of a declaration that its cells speak of.

using Cells = std::vector<std::string>;

/// The columns of the tables of operations.
enum Column
{
    kOperation,
    kService,
    kGuard,
    kKind,
    kArguments,
    kReply,
    kReturns,
    kFailure,
    kDisposal,
    kColumns,
};

/// The columns of the table of events.
enum EventColumn
{
    kSetter,
    kEvent,
    kPayload,
    kElements,
    kTrace,
    kCall,
    kEventColumns,
};

/// The documented operations by their declarations.
std::map<std::string, Cells> DocumentedOperations();
/// The documented events, in order.
std::vector<Cells> DocumentedEvents();

/// The text before the first blank, comma or colon.
std::string FirstWord(const std::string& text);
/// What a text in brackets of any kind lists between commas, for example of "[int 1, double x]";
/// commas inside further brackets part nothing.
Cells Elements(const std::string& list);
/// Joined by commas.
std::string Joined(const Cells& parts);

/// A parameter of an operation.
struct Parameter
{
    std::string type;
    std::string name;

    /// Whether the operation writes it.
    bool IsOut() const;
    /// How it travels: "int", "double", or the name of a type that has another form.
    std::string WireType() const;
};

/// The parameters of a declaration.
std::vector<Parameter> ParametersOf(const std::string& operation);
/// The names of those that the operation writes.
Cells OutParametersOf(const std::string& operation);
/// What a declaration starts with.
std::string ResultTypeOf(const std::string& operation);

#endif
