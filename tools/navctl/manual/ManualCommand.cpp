#include "tools/navctl/manual/ManualCommand.h"

#include "tools/navctl/manual/ManualPage.h"

void AddManualCommand(CLI::App& app, CContext& context)
{
    app.add_subcommand("manual", "Writes the manual page of navctl, for man(1)")
        ->callback([&app, &context] {
            const std::string page = ManualPage(app);
            if (context.WritesJson()) {
                context.Print({{"page", page}}, "");
            } else {
                context.Output().Write(page);
            }
        });
}
