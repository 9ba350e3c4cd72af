#include "simulator/program/FileOption.h"

#include <CLI/CLI.hpp>

namespace {

const char* const kView = "--view";
const char* const kPort = "--http";

void CheckView(const CLI::App& app)
{
    if (app.count(kView) == 0) {
        return;
    }
    if (app.count(kPort) == 0) {
        throw CLI::ValidationError(kView, "wants --http, the port of the page");
    }
    for (const CLI::Option* const option : app.get_options()) {
        const std::string name = option->get_name();
        if (option->count() != 0 && name != kView && name != kPort) {
            throw CLI::ValidationError(kView, "only --http goes with it, not " + name);
        }
    }
}

} // namespace

void AddFileOption(CLI::App& app, const char* name, std::string& file, const char* help)
{
    const auto check = [](const std::string& word) {
        return word.empty() ? std::string("\"\" is not allowed, allowed is the name of a file")
                            : std::string();
    };
    app.add_option(name, file, help)->check(CLI::Validator(check, ""))->type_name("FILE");
}

void AddViewOption(CLI::App& app, std::string& file)
{
    AddFileOption(app, kView, file,
                  "Show a recording in the page in place of a service: nothing is driven, and only "
                  "--http goes with it");
    app.final_callback([&app] { CheckView(app); });
}
