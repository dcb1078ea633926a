#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "SampleVolume.h"
#include "TerminalProgress.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>

namespace zbvolume
{

namespace
{

// As a shell reads it back.
std::string quoted(const std::string& argument)
{
    constexpr char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./-+,:=@%";
    if (!argument.empty() && argument.find_first_not_of(plain) == std::string::npos)
        return argument;
    std::string result = "'";
    for (const char character : argument)
        result += character == '\'' ? "'\\''" : std::string(1, character);
    return result + "'";
}

// Each step is a command that the user can give as well.
Report demo(const std::string& folder, TerminalProgress& progress)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure(folder, error.message());
    const auto inFolder = [&](const char* name) { return (std::filesystem::path(folder) / name).string(); };
    const std::string file = inFolder("sample.nii.gz");

    Report report;
    const auto show = [&](const std::string& name, const std::vector<std::string>& arguments,
                          const Report& part) {
        std::string command = "$ zbvolume " + name;
        for (const std::string& argument : arguments)
            command += " " + quoted(argument);
        report.addSection(
            name,
            [=](const Sink& sink) {
                sink(command + "\n");
                part.writeText(sink);
                sink("\n");
            },
            [=] { return part.json(); });
    };
    show("sample", {file}, sample(file, defaultSampleSize, progress));

    InfoOptions infoOptions;
    infoOptions.source.path = file;
    show("info", {file}, info(infoOptions, progress));

    HistogramOptions histogramOptions;
    histogramOptions.source.path = file;
    histogramOptions.png = inFolder("histogram.png");
    histogramOptions.csv = inFolder("histogram.csv");
    show("histogram", {file, "--png", histogramOptions.png, "--csv", histogramOptions.csv},
         histogram(histogramOptions, progress));

    CountOptions countOptions;
    countOptions.source.path = file;
    countOptions.threshold = sampleThreshold;
    countOptions.labels = inFolder("labels.nii.gz");
    countOptions.png = inFolder("objects.png");
    countOptions.csv = inFolder("objects.csv");
    show("count",
         {file, "--threshold", std::to_string(sampleThreshold), "--labels", countOptions.labels, "--png",
          countOptions.png, "--csv", countOptions.csv},
         count(countOptions, progress));
    const std::vector<std::string> pictures = {histogramOptions.png, countOptions.png};
    report.addSection(
        "pictures",
        [=](const Sink& sink) {
            for (const std::string& picture : pictures)
                sink("picture: " + picture + "\n");
        },
        [=] {
            return QJsonArray({QString::fromStdString(pictures[0]), QString::fromStdString(pictures[1])});
        });
    return report;
}

}  // namespace

void addDemo(CLI::App& app, Chosen& chosen)
{
    auto folder = std::make_shared<std::string>("zbvolume-demo");
    auto* command = addCommand(app, chosen, "demo", "Shows all of this on the built-in sample volume",
                               [folder](TerminalProgress& progress) { return demo(*folder, progress); });
    command->add_option("FOLDER", *folder, "Where pictures and tables go")->capture_default_str();
}

}  // namespace zbvolume
