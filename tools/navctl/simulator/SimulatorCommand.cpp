#include "tools/navctl/simulator/SimulatorCommand.h"

#include <memory>
#include <string>

#include "tools/navctl/operations/ValueText.h"
#include "tools/navctl/simulator/SimulatorQuestion.h"

namespace {

/// An advance takes real time too: the longest one a moment, on a busy machine more.
constexpr double kMoreSecondsForAdvance = 10.0;

void PrintTime(CContext& context, const char* operation, BListC* arguments)
{
    const std::unique_ptr<BElementC> reply = AskSimulator(context, operation, arguments);
    if (reply == nullptr) {
        return;
    }
    const auto* const time = dynamic_cast<const BAtomC*>(reply.get());
    if (time == nullptr || time->Type() != EBElementType::Double) {
        return FailByForm(context, operation);
    }
    const Json seconds = time->DoubleValue();
    context.Print({{"value", seconds}, {"unit", "s"}}, ValueText(seconds));
}

void Advance(CContext& context, double seconds)
{
    if (!context.Reach()) {
        return;
    }
    context.WaitLonger(kMoreSecondsForAdvance);
    BListC arguments(nullptr);
    arguments.AddDouble(seconds);
    PrintTime(context, "simulator_advance", &arguments);
}

void Time(CContext& context)
{
    if (context.Reach()) {
        PrintTime(context, "simulator_time", nullptr);
    }
}

void Describe(CContext& context)
{
    const char* const operation = "simulator_describe";
    if (!context.Reach()) {
        return;
    }
    const std::unique_ptr<BElementC> reply = AskSimulator(context, operation, nullptr);
    if (reply == nullptr) {
        return;
    }
    const auto* const text = dynamic_cast<const BAtomC*>(reply.get());
    if (text == nullptr || text->Type() != EBElementType::String) {
        return FailByForm(context, operation);
    }
    context.Print({{"value", text->StringValue()}}, Printable(text->StringValue()));
}

} // namespace

void AddSimulatorCommand(CLI::App& app, CContext& context)
{
    CLI::App* const group = app.add_subcommand(
        "simulator", "Moves the simulator's time on, and tells how its run can be repeated");
    group->require_subcommand(1);
    group->fallthrough();
    CLI::App* const advance = group->add_subcommand(
        "advance", "Moves time on in a simulator that was started with --clock stepped, and prints "
                   "the time then");
    const auto seconds = std::make_shared<double>(0.0);
    advance->add_option("seconds", *seconds, "By how much, in steps of 0.02 s, 0 to 60")
        ->required()
        ->type_name("SECONDS");
    advance->callback([&context, seconds] { Advance(context, *seconds); });
    group->add_subcommand("time", "Prints the seconds since the simulator's start, by its clock")
        ->callback([&context] { Time(context); });
    group
        ->add_subcommand("describe", "Prints what it takes to repeat the simulator's run: version, "
                                     "options, seed and time")
        ->callback([&context] { Describe(context); });
}
