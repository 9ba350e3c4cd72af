#include "tools/navctl/report/ReportCommand.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "report/ReportHtml.h"
#include "tools/navctl/Version.h"
#include "tools/navctl/report/DriveSource.h"
#include "tools/navctl/report/PdfFile.h"
#include "tools/navctl/report/ReportJson.h"
#include "tools/navctl/report/WholeFile.h"

namespace {

const char* const kToOutput = "-";

struct ReportOptions
{
    std::string source;
    std::string html; ///< empty: none
    std::string pdf;
    std::string json;
    std::string run; ///< what it takes to repeat the drive, where the file does not say it
};

/// A file that has been made and is to be written.
struct MadeFile
{
    std::string path;
    std::string content;
};

/// A word as a shell takes it.
std::string ShellWord(const std::string& word)
{
    const char* const plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                              "-_=+,./:@%";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char letter : word) {
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return quoted + "'";
}

std::string CommandOf(const ReportOptions& options)
{
    std::string command = "navctl report " + ShellWord(options.source);
    for (const auto& [name, value] :
         {std::pair<const char*, const std::string&>{"run", options.run},
          {"html", options.html},
          {"pdf", options.pdf},
          {"json", options.json}}) {
        if (!value.empty()) {
            command += std::string(" --") + name + " " + ShellWord(value);
        }
    }
    return command;
}

ReportOrigin OriginOf(const ReportOptions& options, const DriveReading& reading)
{
    ReportOrigin origin;
    const std::size_t slash = options.source.find_last_of('/');
    origin.source =
        options.source == kToOutput ? "the standard input" : options.source.substr(slash + 1);
    origin.made = std::string("navctl ") + ProgramVersion();
    origin.run = options.run.empty() ? reading.run : options.run;
    origin.command = CommandOf(options);
    origin.isTrue = reading.isTrue;
    origin.remarks = reading.remarks;
    return origin;
}

/// Characters as a terminal counts them.
std::size_t WidthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) & 0xC0U) != 0x80U;
    }));
}

/// A table with its columns below each other.
std::string ColumnsText(const ReportTable& table)
{
    std::vector<std::size_t> widths(table.columns.size(), 0);
    std::vector<std::vector<std::string>> rows{table.columns};
    rows.insert(rows.end(), table.rows.begin(), table.rows.end());
    for (const std::vector<std::string>& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    std::string text;
    for (const std::vector<std::string>& row : rows) {
        std::string line = " ";
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += " " + row[i] + std::string(widths[i] - WidthOf(row[i]) + 1, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

/// A table of two columns, one below the other where a value is long.
std::string TableText(const ReportTable& table)
{
    std::string text = table.title + "\n";
    if (table.columns.size() == 2) {
        for (const std::vector<std::string>& row : table.rows) {
            text += "  " + row[0] + ": " + row[1] + "\n";
        }
        return text;
    }
    if (!table.rows.empty()) {
        return text + ColumnsText(table);
    }
    return text + "  " + table.note + "\n";
}

std::string ReportText(const CDriveReport& report, const ReportOrigin& origin)
{
    std::string text;
    for (const ReportTable& table : TablesOf(report, origin)) {
        text += (text.empty() ? "" : "\n") + TableText(table);
    }
    text.pop_back();
    return Printable(text);
}

std::string WordsOf(const Json& json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// Writes the files once all of them have been made.
void Give(CContext& context, const std::vector<MadeFile>& files, const Json& json,
          const std::string& text)
{
    std::string written;
    for (const MadeFile& file : files) {
        if (file.path == kToOutput) {
            context.Output().Write(file.content);
            return context.Finish();
        }
        const std::string problem = PutWholeFile(file.path, file.content);
        if (!problem.empty()) {
            return context.Fail(kExitCannotWrite, problem);
        }
        written += (written.empty() ? "" : "\n") + std::string("written: ") + Printable(file.path);
    }
    context.Print(json, files.empty() ? text : written);
}

/// What is wrong with the options before anything is read; empty when nothing is.
std::string TargetsProblem(const ReportOptions& options)
{
    std::vector<std::string> targets;
    for (const std::string* target : {&options.html, &options.pdf, &options.json}) {
        if (!target->empty()) {
            targets.push_back(*target);
        }
    }
    const bool hasOutput = std::count(targets.begin(), targets.end(), kToOutput) > 0;
    if (hasOutput && targets.size() > 1) {
        return "one file goes to the standard output, and no other beside it";
    }
    for (const std::string& target : targets) {
        if (std::count(targets.begin(), targets.end(), target) > 1) {
            return "two files cannot both be " + target;
        }
        if (target == options.source && target != kToOutput) {
            return target + " is what is read, and is not written over";
        }
    }
    return {};
}

void Report(CContext& context, const ReportOptions& options)
{
    const std::string usage = TargetsProblem(options);
    if (!usage.empty()) {
        return context.Fail(kExitUsage, usage);
    }
    const std::string pdfProgram = options.pdf.empty() ? std::string() : PdfProgram();
    if (!options.pdf.empty() && pdfProgram.empty()) {
        return context.Fail(kExitCannotWrite, NoPdfProgram());
    }
    CDriveReport report;
    const DriveReading reading = ReadDrive(options.source, report);
    if (!reading.problem.empty()) {
        return context.Fail(kExitUsage, reading.problem);
    }
    const ReportOrigin origin = OriginOf(options, reading);
    for (const std::string& remark : origin.remarks) {
        WriteError(remark);
    }
    const Json json = ReportJson(report, origin);
    std::vector<MadeFile> files;
    if (!options.html.empty()) {
        files.push_back({options.html, ReportHtml(report, origin)});
    }
    if (!options.json.empty()) {
        files.push_back({options.json, WordsOf(json)});
    }
    if (!options.pdf.empty()) {
        std::string pdf;
        const std::string problem = MakePdf(pdfProgram, ReportHtml(report, origin), pdf);
        if (!problem.empty()) {
            return context.Fail(kExitCannotWrite, problem);
        }
        files.push_back({options.pdf, std::move(pdf)});
    }
    Give(context, files, json, ReportText(report, origin));
}

} // namespace

void AddReportCommand(CLI::App& app, CContext& context)
{
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* const command =
        app.add_subcommand("report", "Tells how accurately a recorded drive was steered");
    command
        ->add_option("FILE", options->source,
                     "A track of the simulator or a recording; - for standard input")
        ->required();
    command->add_option("--html", options->html, "Write the report as one HTML file; - for output")
        ->type_name("FILE");
    command
        ->add_option("--pdf", options->pdf,
                     "Write it as PDF, with chromium or weasyprint where one is installed")
        ->type_name("FILE");
    command
        ->add_option_function<std::string>(
            "--json",
            [&context, options](const std::string& path) {
                options->json = path;
                context.options.json = context.options.json || path.empty();
            },
            "Write the figures as JSON; without FILE to standard output")
        ->expected(0, 1)
        ->type_name("FILE");
    command
        ->add_option("--run", options->run,
                     "What it takes to repeat the drive, where the file does not say it")
        ->type_name("TEXT");
    command->footer("What each figure is, and what pass-to-pass means, is told in "
                    "accuracy-report.md.");
    command->callback([&context, options] { Report(context, *options); });
}
