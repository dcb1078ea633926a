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

    CropOptions cropOptions;
    cropOptions.source.path = file;
    cropOptions.result = {inFolder("coil.nii.gz"), inFolder("crop.png")};
    cropOptions.from = {32, 32, 12};
    cropOptions.to = {95, 95, 107};
    show("crop",
         {file, "--from", "32", "32", "12", "--to", "95", "95", "107", "-o", cropOptions.result.path, "--png",
          cropOptions.result.png},
         crop(cropOptions, progress));

    ResampleOptions resampleOptions;
    resampleOptions.source.path = cropOptions.result.path;
    resampleOptions.result = {inFolder("fine.nii.gz"), inFolder("resample.png")};
    resampleOptions.factor = 3;
    resampleOptions.kernel = "mitchell";
    show("resample",
         {cropOptions.result.path, "--factor", "3", "--kernel", resampleOptions.kernel, "-o",
          resampleOptions.result.path, "--png", resampleOptions.result.png},
         resample(resampleOptions, progress));

    MorphologyOptions erodeOptions;
    erodeOptions.source.path = file;
    erodeOptions.result = {inFolder("eroded.nii.gz"), inFolder("erode.png")};
    erodeOptions.threshold = sampleThreshold;
    erodeOptions.iterations = 2;
    show("erode",
         {file, "--threshold", std::to_string(sampleThreshold), "--iterations", "2", "-o",
          erodeOptions.result.path, "--png", erodeOptions.result.png},
         morphology(erodeOptions, progress));

    MorphologyOptions dilateOptions;
    dilateOptions.isErosion = false;
    dilateOptions.source.path = erodeOptions.result.path;
    dilateOptions.result = {inFolder("opened.nii.gz"), inFolder("dilate.png")};
    dilateOptions.threshold = 1;
    dilateOptions.iterations = 2;
    show("dilate",
         {erodeOptions.result.path, "--threshold", "1", "--iterations", "2", "-o", dilateOptions.result.path,
          "--png", dilateOptions.result.png},
         morphology(dilateOptions, progress));

    PermuteOptions permuteOptions;
    permuteOptions.source.path = cropOptions.result.path;
    permuteOptions.result = {inFolder("turned.nii.gz"), inFolder("permute.png")};
    permuteOptions.order = {2, 0, 1};
    show("permute",
         {cropOptions.result.path, "--order", "2", "0", "1", "-o", permuteOptions.result.path, "--png",
          permuteOptions.result.png},
         permute(permuteOptions, progress));

    ConvertOptions convertOptions;
    convertOptions.source.path = cropOptions.result.path;
    convertOptions.output = inFolder("fractions.nii.gz");
    convertOptions.type = "float";
    convertOptions.scale = 0.004;
    show("convert",
         {cropOptions.result.path, "--type", "float", "--scale", "0.004", "-o", convertOptions.output},
         convert(convertOptions, progress));

    const std::vector<std::string> pictures = {histogramOptions.png,     countOptions.png,
                                               cropOptions.result.png,   resampleOptions.result.png,
                                               erodeOptions.result.png,  dilateOptions.result.png,
                                               permuteOptions.result.png};
    report.addSection(
        "pictures",
        [=](const Sink& sink) {
            for (const std::string& picture : pictures)
                sink("picture: " + picture + "\n");
        },
        [=] {
            QJsonArray names;
            for (const std::string& picture : pictures)
                names.append(QString::fromStdString(picture));
            return names;
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
