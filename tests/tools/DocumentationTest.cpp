#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <sstream>

namespace
{

struct Example {
    std::string command;
    std::vector<std::string> output;  // lines; "..." at the end stands for more of them
};

// What the page shows behind "$ " in its console blocks.
std::vector<Example> examplesOf(const std::string& page)
{
    std::vector<Example> examples;
    std::istringstream lines(page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0)
            inside = line == "```console";
        else if (inside && line.rfind("$ ", 0) == 0)
            examples.push_back({line.substr(2), {}});
        else if (inside)
            examples.back().output.push_back(line);
    }
    return examples;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

}  // namespace

using ZbvolumePage = ZbvolumeTest;

TEST_F(ZbvolumePage, showsWhatTheProgramPrints)
{
    const std::vector<Example> examples = examplesOf(readFile(ZBVOLUME_PAGE));
    ASSERT_GE(examples.size(), 4U);
    for (const Example& example : examples) {
        SCOPED_TRACE(example.command);
        std::vector<std::string> arguments = split(example.command, ' ');
        ASSERT_EQ(arguments.front(), "zbvolume");
        arguments.erase(arguments.begin());
        const Outcome outcome = zbvolume(arguments);
        EXPECT_EQ(outcome.err, "");
        std::vector<std::string> shown = example.output;
        std::vector<std::string> printed = split(outcome.out, '\n');
        if (!shown.empty() && shown.back() == "...") {
            shown.pop_back();
            printed.resize(std::min(printed.size(), shown.size()));
        }
        EXPECT_EQ(printed, shown);
    }
}
