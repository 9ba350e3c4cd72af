#include "simulator/program/RecordingView.h"

#include <csignal>
#include <string>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "simulator/base/Version.h"
#include "simulator/view/DriveReader.h"
#include "simulator/view/RecordingPage.h"

EExitCode ViewRecording(const ProgramOptions& options, CProgramOutput& output)
{
    std::string problem = ProblemOfRecording(options.viewFile);
    if (!problem.empty()) {
        output.Log(problem);
        return kExitWrongOptions;
    }
    asio::io_context loop;
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    signals.async_wait([&loop](const auto&, int) { loop.stop(); });
    CRecordingPage page(loop, options.viewFile,
                        [&output](const std::string& line) { output.Log(line); });
    problem = page.Listen(*options.httpPort);
    if (!problem.empty()) {
        output.Log("live page: " + problem);
        return kExitCannotListen;
    }
    output.Print("live page at http://localhost:" + std::to_string(page.Port()) +
                 "/\nnavigation-simulator " + ProgramVersion() +
                 " shows a recording: nothing is driven\n");
    loop.run();
    page.Stop();
    return kExitSuccess;
}
