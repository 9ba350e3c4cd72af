#include "tools/navctl/operations/OperationCommands.h"

#include <memory>

#include "tools/navctl/operations/Confirmation.h"
#include "tools/navctl/operations/OperationRun.h"

const char* const kOperationGroup = "Operations of the service";

namespace {

using Words = std::vector<std::string>;

/// An operation's command while the command line is read.
struct CPendingCall
{
    const COperation& operation;
    std::vector<Words> words; ///< what was given for each argument
    bool checks = true;       ///< whether to ask what the service holds afterwards

    explicit CPendingCall(const COperation& which) : operation(which), words(which.arguments.size())
    {
    }
};

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
    RunOperation(context, call.operation, values, call.checks);
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
    // A wayline's text form without quotes comes as several words, too.
    if (argument.type == EArgumentType::Waylines || argument.type == EArgumentType::Wayline) {
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
    if (!operation.unit.empty()) {
        help += ", " + operation.unit;
    }
    CLI::App* const command = app.add_subcommand(operation.name, help)->group(kOperationGroup);
    const auto call = std::make_shared<CPendingCall>(operation);
    for (std::size_t place = 0; place < call->words.size(); ++place) {
        AddArgument(*command, operation.arguments[place], call->words[place]);
    }
    if (const CConfirmation* const confirmation = FindConfirmation(operation.name)) {
        command->footer("Asks with " + std::string(confirmation->getter) +
                        " what the service holds then; exits with 1 when it is something else.");
        command->add_flag_callback(
            "--no-check", [call] { call->checks = false; },
            "The operation alone: do not ask what the service holds then");
    } else if (operation.kind == EOperationKind::Notification) {
        command->footer(
            "Asks why_refused, and exits with 1 when the service gives a reason; otherwise "
            "nothing confirms that the service took it.");
    }
    command->callback([&context, call] { ReadAndRun(context, *call); });
}

Json Listing(const CArgument& argument)
{
    Json listing{{"name", argument.name},
                 {"option", argument.IsOption()},
                 {"description", argument.Description()}};
    if (!argument.unit.empty()) {
        listing["unit"] = argument.unit;
    }
    if (!argument.Words().empty()) {
        listing["words"] = argument.Words();
    }
    return listing;
}

Json Listing(const COperation& operation)
{
    Json arguments = Json::array();
    for (const CArgument& argument : operation.arguments) {
        arguments.push_back(Listing(argument));
    }
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
    for (const COperation& operation : Operations()) {
        AddOperationCommand(app, context, operation);
    }
}

bool AddOperationCommand(CLI::App& app, CContext& context, const std::string& name)
{
    for (const COperation& operation : Operations()) {
        if (operation.name == name) {
            AddOperationCommand(app, context, operation);
            return true;
        }
    }
    return false;
}

void AddOperationsCommand(CLI::App& app, CContext& context)
{
    app.add_subcommand("operations", "Lists the operations with their names on the link")
        ->callback([&context] { ListOperations(context); });
}
