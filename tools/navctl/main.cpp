#include <exception>
#include <memory>
#include <sstream>

#include <CLI/CLI.hpp>

#include "tools/navctl/CommandLine.h"
#include "tools/navctl/Context.h"
#include "tools/navctl/Output.h"

namespace {

EExitCode Run(int argumentCount, char** arguments, COutput& output)
{
    CContext context(output);
    const std::unique_ptr<CLI::App> app = MakeCommandLine(context);
    try {
        app->parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        std::ostringstream help;
        std::ostringstream problem;
        const bool isUsageError = app->exit(error, help, problem) != 0;
        output.Write(help.str());
        std::fputs(problem.str().c_str(), stderr);
        return isUsageError ? kExitUsage : kExitDone;
    } catch (const std::exception& error) {
        context.Fail(kExitProtocolError, error.what());
    }
    return context.ExitCode();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    COutput output;
    const EExitCode code = Run(argumentCount, arguments, output);
    if (output.HasFailed()) {
        WriteError("cannot write the standard output: " + output.Problem());
        return kExitCannotWrite;
    }
    return code;
}
