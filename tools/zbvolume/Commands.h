#pragma once

#include "Report.h"

#include <functional>
#include <string>

namespace CLI
{
class App;
class Validator;
}  // namespace CLI

namespace zbvolume
{

class TerminalProgress;

/// What the command line asks for.
struct Chosen {
    std::function<Report(TerminalProgress& progress)> run;
    /// What goes on once the report is printed, until the user ends it; may be empty.
    std::function<void()> afterwards;
    bool asJson = false;
};

/// Each adds one command with its options to the command line; when that command is given, parsing puts what
/// is to be done into chosen. A further command is one more source file, one line here and one in main.cpp.
void addInfo(CLI::App& app, Chosen& chosen);
void addHistogram(CLI::App& app, Chosen& chosen);
void addCount(CLI::App& app, Chosen& chosen);
void addErode(CLI::App& app, Chosen& chosen);
void addDilate(CLI::App& app, Chosen& chosen);
void addResample(CLI::App& app, Chosen& chosen);
void addCrop(CLI::App& app, Chosen& chosen);
void addPermute(CLI::App& app, Chosen& chosen);
void addConvert(CLI::App& app, Chosen& chosen);
void addSample(CLI::App& app, Chosen& chosen);
void addDemo(CLI::App& app, Chosen& chosen);
void addServe(CLI::App& app, Chosen& chosen);

/// A command as yet without options but --json. check, if given, looks at options that only together are
/// right or wrong; see requireThat().
CLI::App* addCommand(CLI::App& app, Chosen& chosen, const char* name, const char* description,
                     std::function<Report(TerminalProgress&)> run, std::function<void()> check = {});
/// Ends the program with exit status 2 and message unless the command line is right in this point.
void requireThat(bool isRight, const std::string& message);
/// Accepts numbers that are finite.
CLI::Validator finiteNumber();

}  // namespace zbvolume
