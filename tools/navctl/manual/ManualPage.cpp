#include "tools/navctl/manual/ManualPage.h"

#include "tools/navctl/Version.h"
#include "tools/navctl/operations/OperationCommands.h"

namespace {

/// Text as the page holds it: what roff would take for its own is escaped.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char letter : text) {
        const bool startsLine = escaped.empty() || escaped.back() == '\n';
        if (startsLine && (letter == '.' || letter == '\'')) {
            escaped += "\\&";
        }
        if (letter == '\\') {
            escaped += "\\e";
        } else if (letter == '-') {
            escaped += "\\-";
        } else {
            escaped += letter;
        }
    }
    return escaped;
}

/// Lines of prose, a paragraph each.
std::string Paragraphs(const std::string& text)
{
    std::string page;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        page += ".PP\n" + Escaped(text.substr(begin, end - begin)) + "\n";
        begin = end + 1;
    }
    return page;
}

std::string Tagged(const std::string& tag, const std::string& text)
{
    return ".TP\n" + tag + "\n" + Escaped(text) + "\n";
}

std::string Bold(const std::string& text)
{
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string& text)
{
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string ArgumentsOf(CLI::App& command)
{
    std::string line;
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_positional()) {
            const std::string name = Italic(option->get_name(true));
            line += " " + (option->get_required() ? name : "[" + name + "]");
        }
    }
    return line;
}

std::string OptionEntry(const CLI::Option& option)
{
    const std::string value = option.get_type_size() > 0 ? option.get_type_name() : "";
    std::string text = option.get_description();
    if (!option.get_default_str().empty()) {
        text += "; " + option.get_default_str() + " unless given";
    }
    if (option.get_positional()) {
        return Tagged(Italic(option.get_name(true)), text);
    }
    std::string names;
    for (const std::string& name : option.get_snames()) {
        names += (names.empty() ? "" : ", ") + Bold("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names += (names.empty() ? "" : ", ") + Bold("--" + name);
    }
    return Tagged(names + (value.empty() ? "" : " " + Italic(value)), text);
}

std::string OptionsOf(CLI::App& command, bool withHelp)
{
    std::string page;
    for (const CLI::Option* const option : command.get_options()) {
        if (withHelp || option != command.get_help_ptr()) {
            page += OptionEntry(*option);
        }
    }
    return page;
}

std::string CommandEntry(CLI::App& command, const std::string& prefix)
{
    const std::string name = prefix + command.get_name();
    std::string page = Tagged(Bold(name) + ArgumentsOf(command), command.get_description() + ".");
    const std::string options = OptionsOf(command, false);
    // A command without a footer of its own has that of the command above it.
    const bool isInherited = command.get_footer() == command.get_parent()->get_footer();
    const std::string footer = isInherited ? "" : command.get_footer();
    if (!options.empty() || !footer.empty()) {
        page += ".RS\n" + options + Paragraphs(footer) + ".RE\n";
    }
    for (CLI::App* const below : command.get_subcommands(nullptr)) {
        page += CommandEntry(*below, name + " ");
    }
    return page;
}

std::string CommandsOf(CLI::App& app, bool areOperations)
{
    std::string page;
    for (CLI::App* const command : app.get_subcommands(nullptr)) {
        if ((command->get_group() == kOperationGroup) == areOperations) {
            page += CommandEntry(*command, "");
        }
    }
    return page;
}

std::string Head()
{
    return ".TH NAVCTL 1 \"\" \"navctl " + std::string(ProgramVersion()) +
           "\" \"User Commands\"\n"
           ".SH NAME\n"
           "navctl \\- the navigation service from a shell\n"
           ".SH SYNOPSIS\n"
           ".B navctl\n"
           "[\\fIOPTION\\fR]... \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...\n"
           ".SH DESCRIPTION\n" +
           Paragraphs(
               "Operates, watches, feeds and examines the navigation service of this machine, "
               "which listens on localhost, port 5010. The commands are its operations, and a few "
               "more.\n"
               "Data goes to the standard output and everything else to the standard error. An "
               "operation that gives a number or a switch prints it bare, with a point and "
               "without its unit; vectors and limits have their names and units with them. Others "
               "print \"done\".\n"
               "An operation that sets something is confirmed: the service is asked afterwards "
               "what it holds. When that is something else, the exit status is 1 and the reason "
               "is printed, so that \"&&\" stops there. A tuning value that the service has "
               "brought to its limit is done, and the limit is printed. --no-check leaves the "
               "question out. Where nothing can be asked but why it was refused, and there is no "
               "reason, \"sent; nothing confirms that the service took it\" is printed. For every "
               "point of a wayline that is sent, 0.1 ms more than --timeout is waited.\n"
               "A refusal brings its reason where the service gives one; navigation-simulator "
               "does. With --persist, a warning tells when the service is known to keep nothing "
               "over a restart.\n"
               "A reply of another type than the operation's is a protocol error. Where another "
               "program listens in the service's place, the message says what that program "
               "answers.\n"
               "Angles are radians, clockwise from north; positions are metres east, north and up "
               "of the wayline origin. The ranges are those of the bundled service. navctl passes "
               "on finite numbers outside of them, since another service may have others.\n"
               "The options stand before the command or after it.\n"
               "On a terminal, however narrow, texts are broken between words; what goes into a "
               "pipe or a file, and JSON, is not broken.");
}

std::string JsonForm()
{
    return ".SH JSON\n" +
           Paragraphs(
               "With --json, a command writes exactly one JSON value and watch one a line. That "
               "of an operation is an object with \"operation\", \"outcome\" (\"done\", "
               "\"refused\", \"value\", \"sent\" or \"answered\"), and \"value\" and \"unit\" "
               "where there are any; numbers that JSON has no form for are null. A setting that "
               "was confirmed has \"held\", what the service holds, \"limited\" when it was "
               "brought to a limit, and \"kept\", false, when it is to outlive a restart and will "
               "not. New limits that have moved a tuning value have \"moved\", with \"from\" and "
               "\"to\"; a nudge has \"held\", too. What was refused has a \"reason\".\n"
               "A command that fails writes an object with \"outcome\" \"failed\", \"exit_code\" "
               "and \"reason\", with arguments that cannot be read, too; \"pending\" is true when "
               "no reply came in time and the service may still carry it out. One that cannot read "
               "a "
               "file of waylines also \"problems\", a list of everything that is wrong with it. "
               "watch writes, as its last line, an object with \"time\", the \"event\" \"error\", "
               "\"exit_code\" and \"reason\". Help is an object with \"text\".");
}

std::string Tail()
{
    return ".SH EXIT STATUS\n" + Tagged("0", "Done.") +
           Tagged("1", "The service refused, or does not hold what was set; for doctor, "
                       "something stands in the way.") +
           Tagged("2", "Wrong arguments, or a file that cannot be used.") +
           Tagged("3", "Cannot connect: nothing listens, or it cannot be reached.") +
           Tagged("4",
                  "No reply in time. The service may still carry out what it was asked for when it "
                  "goes on; the message says what shows its state, such as navctl doctor. navctl "
                  "disengage-steering keeps it from steering.") +
           Tagged("5", "What answers does not keep the protocol, or ended the connection without "
                       "a reply.") +
           Tagged("6", "The output cannot be written.") + ".SH ENVIRONMENT\n" +
           Tagged("KESTROVE_RECORD", "A folder: what goes over the link is recorded into a new "
                                     "file there; see recording.md.") +
           Tagged("NO_COLOR", "Not empty: no colours.") +
           Tagged("LC_ALL, LC_CTYPE, LANG",
                  "With UTF-8 in the first that is set, the lightbar has round lamps.") +
           ".SH EXAMPLES\n" +
           Tagged(Bold("navctl set-wayline '0 0 0 0 0 100 0' && navctl start-navigation on && "
                       "navctl engage-steering"),
                  "A line to the north: follow it, and let the service steer. Stops at the first "
                  "that the service does not take.") +
           Tagged(Bold("navctl watch guidance-status --count 10"),
                  "The next ten cross-track errors.") +
           Tagged(Bold("navctl doctor"), "Why it does not engage.") +
           ".SH SEE ALSO\n.BR navigation\\-simulator (1)\n";
}

} // namespace

std::string ManualPage(CLI::App& app)
{
    return Head() + ".SH OPTIONS\n" + OptionsOf(app, true) + ".SH COMMANDS\n" +
           CommandsOf(app, false) + ".SH OPERATIONS\n" + CommandsOf(app, true) + JsonForm() +
           Tail();
}
