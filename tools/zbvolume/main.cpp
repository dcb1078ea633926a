// zbvolume: answers questions about a volume on disk and makes other volumes of it.

#include "Commands.h"
#include "Failure.h"
#include "TerminalProgress.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <new>

namespace zbvolume
{

namespace
{

constexpr int failed = 1;
constexpr int wrongCommandLine = 2;

// One line, whatever characters a file name or a cause holds.
int complain(const std::string& message, int status)
{
    std::string line = "zbvolume: " + message;
    for (char& character : line)
        if (static_cast<unsigned char>(character) < ' ' || character == '\x7f')
            character = ' ';
    std::fprintf(stderr, "%s\n", line.c_str());
    return status;
}

int runChosen(const Chosen& chosen)
{
    catchInterruption();
    TerminalProgress progress;
    try {
        const Report report = chosen.run(progress);
        progress.clear();
        progress.check();
        stopCatchingInterruption();
        print(report, chosen.asJson);
        if (chosen.afterwards)
            chosen.afterwards();
        return 0;
    } catch (const Interrupted&) {
        progress.clear();
        if (!isOutputClosed())
            complain("interrupted", failed);
        endInterrupted();
    } catch (const std::bad_alloc&) {
        progress.clear();
        return complain("not enough memory", failed);
    } catch (const std::exception& exception) {
        progress.clear();
        if (isOutputClosed())
            endInterrupted();
        return complain(exception.what(), failed);
    }
}

int run(int argc, char** argv)
{
    CLI::App app(
        "Answers questions about a volume on disk (what it holds, how its values are distributed, how many "
        "objects there are) and makes other volumes of it.",
        "zbvolume");
    app.require_subcommand(1);
    app.set_version_flag("--version", "zbvolume " ZBVOLUME_VERSION);
    Chosen chosen;
    for (const auto add : {addInfo, addHistogram, addCount, addErode, addDilate, addResample, addCrop,
                           addPermute, addConvert, addSample, addDemo, addServe})
        add(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)  // --help, --version
            return app.exit(error);
        const auto commands = app.get_subcommands();
        const bool isUnknown = commands.empty() && argc > 1 && argv[1][0] != '-';
        const std::string cause = isUnknown ? "unknown command '" + std::string(argv[1]) + "'" : error.what();
        return complain(cause + " (see zbvolume " +
                            (commands.empty() ? "" : commands.front()->get_name() + " ") + "--help)",
                        wrongCommandLine);
    }
    return runChosen(chosen);
}

}  // namespace

CLI::App* addCommand(CLI::App& app, Chosen& chosen, const char* name, const char* description,
                     std::function<Report(TerminalProgress&)> run, std::function<void()> check)
{
    CLI::App* command = app.add_subcommand(name, description);
    command->add_flag("--json", chosen.asJson, "Prints one JSON object instead of text");
    command->callback([&chosen, run = std::move(run), check = std::move(check)] {
        if (check)
            check();
        chosen.run = run;
    });
    return command;
}

void requireThat(bool isRight, const std::string& message)
{
    if (!isRight)
        throw CLI::ParseError(message, wrongCommandLine);
}

CLI::Validator finiteNumber()
{
    return CLI::Validator(
        [](std::string& text) {
            double value = 0;
            return CLI::detail::lexical_cast(text, value) && std::isfinite(value)
                       ? std::string()
                       : "'" + text + "' is not a finite number";
        },
        "");
}

}  // namespace zbvolume

int main(int argc, char** argv)
{
    try {
        return zbvolume::run(argc, argv);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "zbvolume: %s\n", exception.what());
        return 1;
    }
}
