#include "tools/navctl/operations/OperationCommands.h"

#include <charconv>
#include <memory>

#include "tools/navctl/operations/Operation.h"

const char* const kOperationGroup = "Operations of the service";

namespace {

using Words = std::vector<std::string>;

/// An operation's command while the command line is read.
struct CPendingCall
{
    const COperation& operation;
    std::vector<Words> words; ///< what was given for each argument

    explicit CPendingCall(const COperation& which) : operation(which), words(which.arguments.size())
    {
    }
};

std::string TextOf(const Json& value);

std::string TextOfList(const Json& list)
{
    std::string text;
    for (const Json& element : list)
        text += (text.empty() ? "" : " ") + TextOf(element);
    return text;
}

/// A value as a script takes it. A wayline is its text form.
std::string TextOf(const Json& value)
{
    if (value.is_null())
        return "none";
    if (value.is_string())
        return value.get<std::string>();
    if (value.contains("text"))
        return TextOf(value["text"]);
    if (value.is_structured())
        return TextOfList(value);
    if (!value.is_number_float())
        return value.dump();
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value.get<double>()).ptr;
    return std::string(text, end);
}

std::string OutcomeWord(EOutcome outcome)
{
    switch (outcome) {
    case EOutcome::Done:
        return "done";
    case EOutcome::Value:
        return "value";
    case EOutcome::Sent:
        return "sent";
    case EOutcome::Answered:
        return "answered";
    default:
        return "refused";
    }
}

Json Report(const COperation& operation, const COutcome& outcome)
{
    Json report{{"operation", operation.name}, {"outcome", OutcomeWord(outcome.kind)}};
    if (outcome.kind == EOutcome::Value || !outcome.value.is_null()) {
        report["value"] = outcome.value;
        if (!operation.unit.empty())
            report["unit"] = operation.unit;
    }
    return report;
}

void Tell(CContext& context, const COperation& operation, const COutcome& outcome)
{
    if (outcome.kind == EOutcome::Refused) {
        const bool isEngaging = operation.name == "engage-steering";
        context.Refuse(Report(operation, outcome),
                       "the service refused " + operation.name +
                           (isEngaging ? "; \"navctl doctor\" tells what is missing" : ""));
        return;
    }
    const bool hasValue = outcome.kind == EOutcome::Value || !outcome.value.is_null();
    context.Print(Report(operation, outcome),
                  hasValue ? TextOf(outcome.value) : OutcomeWord(outcome.kind));
    context.Finish();
}

/// Whether the operation got past the link; LastError() tells, since a failure value alone may be
/// the service's own.
bool GotThrough(CContext& context, const COutcome& outcome)
{
    const ELinkError error = context.Navigation().LastError().code;
    if (error == ELinkError::NoValue)
        return outcome.kind == EOutcome::Value && outcome.value.is_null();
    return error == ELinkError::None && outcome.kind != EOutcome::NoAnswer;
}

void Run(CContext& context, const COperation& operation, const ArgumentValues& values)
{
    if (!context.Reach())
        return;
    const COutcome outcome = operation.invoke(context.Navigation(), values);
    if (GotThrough(context, outcome)) {
        Tell(context, operation, outcome);
    } else if (context.HasLinkFailed()) {
        context.FailByLink();
    } else {
        context.Fail(kExitProtocolError, "protocol error: the reply to " + operation.serviceName +
                                             " is of another form than the operation takes");
    }
}

/// Reads the arguments, which end the command when they are wrong, and runs the operation.
void ReadAndRun(CContext& context, const CPendingCall& call)
{
    ArgumentValues values;
    for (std::size_t place = 0; place < call.words.size(); ++place) {
        const CArgument& argument = call.operation.arguments[place];
        std::string problem;
        const auto value = argument.Read(call.words[place], problem);
        if (!value) {
            context.Fail(kExitUsage, problem);
            return;
        }
        values.push_back(*value);
    }
    Run(context, call.operation, values);
}

void AddArgument(CLI::App& command, const CArgument& argument, Words& words)
{
    const std::string name = argument.IsOption() ? "--" + argument.name : argument.name;
    if (argument.isFlag) {
        words = {"off"};
        command.add_flag_callback(
            name, [&words] { words = {"on"}; }, argument.Description());
        return;
    }
    CLI::Option* option = nullptr;
    if (argument.type == EArgumentType::Waylines) {
        option = command.add_option(name, words, argument.Description());
    } else {
        option = command.add_option_function<std::string>(
            name, [&words](const std::string& word) { words = {word}; }, argument.Description());
    }
    option->type_name(argument.IsOption() ? "VALUE" : "");
    option->required(!argument.IsOption())->default_str(argument.otherwise);
}

void AddOperationCommand(CLI::App& app, CContext& context, const COperation& operation)
{
    std::string help = operation.summary;
    if (!operation.unit.empty())
        help += ", " + operation.unit;
    CLI::App* const command = app.add_subcommand(operation.name, help)->group(kOperationGroup);
    if (operation.kind == EOperationKind::Notification)
        command->footer("Prints \"sent\": nothing tells whether the service took it.");
    const auto call = std::make_shared<CPendingCall>(operation);
    for (std::size_t place = 0; place < call->words.size(); ++place)
        AddArgument(*command, operation.arguments[place], call->words[place]);
    command->callback([&context, call] { ReadAndRun(context, *call); });
}

Json Listing(const CArgument& argument)
{
    Json listing{{"name", argument.name},
                 {"option", argument.IsOption()},
                 {"description", argument.Description()}};
    if (!argument.unit.empty())
        listing["unit"] = argument.unit;
    if (!argument.Words().empty())
        listing["words"] = argument.Words();
    return listing;
}

Json Listing(const COperation& operation)
{
    Json arguments = Json::array();
    for (const CArgument& argument : operation.arguments)
        arguments.push_back(Listing(argument));
    return {{"command", operation.name},
            {"operation", MemberName(operation.name)},
            {"service_name", operation.serviceName},
            {"kind", operation.kind == EOperationKind::Request ? "request" : "notification"},
            {"arguments", arguments},
            {"unit", operation.unit},
            {"summary", operation.summary}};
}

std::string Padded(const std::string& text, std::size_t width)
{
    return text + std::string(text.size() < width ? width - text.size() : 0, ' ') + ' ';
}

void ListOperations(CContext& context)
{
    Json list = Json::array();
    std::string lines;
    for (const COperation& operation : Operations()) {
        list.push_back(Listing(operation));
        const char* const kind =
            operation.kind == EOperationKind::Request ? "request" : "notification";
        lines += (lines.empty() ? "" : "\n") + Padded(operation.name, 32) +
                 Padded(operation.serviceName, 28) + kind;
    }
    context.Print(list, lines);
}

} // namespace

void AddOperationCommands(CLI::App& app, CContext& context)
{
    for (const COperation& operation : Operations())
        AddOperationCommand(app, context, operation);
}

void AddOperationsCommand(CLI::App& app, CContext& context)
{
    app.add_subcommand("operations", "Lists the operations with their names on the link")
        ->callback([&context] { ListOperations(context); });
}
