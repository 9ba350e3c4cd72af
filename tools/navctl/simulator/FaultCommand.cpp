#include "tools/navctl/simulator/FaultCommand.h"

#include <memory>
#include <string>

#include "platform/Utilities.h"
#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/operations/ValueText.h"
#include "tools/navctl/simulator/SimulatorQuestion.h"

namespace {

const char* const kGroup = "simulator";

/// The command line of "fault".
struct FaultOptions
{
    std::string name;
    std::string value = "on";
    double seconds = 0.0;
};

/// A number where the word is one.
Json ValueOf(const std::string& word)
{
    double number = 0.0;
    if (Core::Utilities::ParseDouble(word, number) != 0) {
        return number;
    }
    return word;
}

void Fault(CContext& context, const FaultOptions& options)
{
    const char* const operation = "simulator_fault";
    if (!context.Reach()) {
        return;
    }
    const Json value = ValueOf(options.value);
    BListC arguments(nullptr);
    arguments.AddString(options.name);
    if (value.is_number()) {
        arguments.AddDouble(value.get<double>());
    } else {
        arguments.AddString(options.value);
    }
    arguments.AddDouble(options.seconds);
    const std::unique_ptr<BElementC> reply = AskSimulator(context, operation, &arguments);
    if (reply == nullptr) {
        return;
    }
    if (reply->Type() != EBElementType::Integer) {
        return FailByForm(context, operation);
    }
    context.Print({{"fault", options.name}, {"value", value}, {"for", options.seconds}},
                  options.name + " " + ValueText(value) +
                      (options.seconds > 0.0 ? " for " + NumberText(options.seconds) + " s" : ""));
}

/// A number or a text of a row.
Json Cell(const BListC& row, int index)
{
    if (row.TypeAt(index) == EBElementType::String) {
        return row.GetString(index);
    }
    return row.GetDouble(index);
}

/// A row of the reply; empty when it is of another form.
Json FaultOf(const BListC* row)
{
    const BListC* const words = row != nullptr && row->Size() == 8 ? row->GetList(5) : nullptr;
    if (words == nullptr) {
        return {};
    }
    Json fault{{"fault", Cell(*row, 0)}, {"what", Cell(*row, 1)}};
    if (Cell(*row, 2) != "") {
        fault["unit"] = Cell(*row, 2);
        fault["lowest"] = Cell(*row, 3);
        fault["highest"] = Cell(*row, 4);
    }
    fault["words"] = Json::array();
    for (int index = 0; index < words->Size(); ++index) {
        fault["words"].push_back(Cell(*words, index));
    }
    fault["value"] = Cell(*row, 6);
    if (Cell(*row, 7) != 0.0) {
        fault["until"] = Cell(*row, 7);
    }
    return fault;
}

/// A line of the list: "slope -30 to 30 degrees: the ground falls to the east; now 8".
std::string LineOf(const Json& fault)
{
    std::string allowed;
    for (const Json& word : fault["words"]) {
        allowed += (allowed.empty() ? "" : ", ") + ValueText(word);
    }
    if (fault.contains("unit")) {
        allowed = ValueText(fault["lowest"]) + " to " + ValueText(fault["highest"]) + " " +
                  ValueText(fault["unit"]);
    }
    return ValueText(fault["fault"]) + " " + allowed + ": " + ValueText(fault["what"]) +
           (fault["value"] == "off" ? "" : "; now " + ValueText(fault["value"]));
}

void Faults(CContext& context)
{
    const char* const operation = "simulator_faults";
    if (!context.Reach()) {
        return;
    }
    const std::unique_ptr<BElementC> reply = AskSimulator(context, operation, nullptr);
    if (reply == nullptr) {
        return;
    }
    const auto* const rows = dynamic_cast<const BListC*>(reply.get());
    if (rows == nullptr) {
        return FailByForm(context, operation);
    }
    Json all = Json::array();
    std::string text;
    for (int index = 0; index < rows->Size(); ++index) {
        all.push_back(FaultOf(rows->GetList(index)));
        if (all.back().empty()) {
            return FailByForm(context, operation);
        }
        text += (text.empty() ? "" : "\n") + Printable(LineOf(all.back()));
    }
    context.Print({{"faults", all}}, text);
}

/// The group of the simulator's commands.
CLI::App& GroupOf(CLI::App& app)
{
    const auto groups =
        app.get_subcommands([](const CLI::App* command) { return command->get_name() == kGroup; });
    if (!groups.empty()) {
        return *groups.front();
    }
    CLI::App* const group = app.add_subcommand(kGroup, "Makes things happen in the simulator");
    group->require_subcommand(1);
    group->fallthrough();
    return *group;
}

} // namespace

void AddFaultCommands(CLI::App& app, CContext& context)
{
    CLI::App& group = GroupOf(app);
    CLI::App* const fault =
        group.add_subcommand("fault", "Makes something happen to the simulator's machine");
    const auto options = std::make_shared<FaultOptions>();
    fault->add_option("name", options->name, "What; \"navctl simulator faults\" lists all")
        ->required()
        ->type_name("NAME");
    fault
        ->add_option("value", options->value,
                     "A number or a word; \"on\" without one, \"off\" ends it")
        ->type_name("VALUE");
    fault
        ->add_option("--for", options->seconds,
                     "How long, by the simulator's clock; without it, until it is ended")
        ->check(NumberWithin(0.0, 86400.0, "0 to 86400"))
        ->type_name("SECONDS");
    fault->callback([&context, options] { Fault(context, *options); });
    group.add_subcommand("faults", "Lists what can happen, with what is allowed and what goes on")
        ->callback([&context] { Faults(context); });
}
