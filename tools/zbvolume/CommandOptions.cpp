#include "CommandOptions.h"

#include "Failure.h"
#include "Numbers.h"
#include "Report.h"
#include "Statistics.h"

#include <CLI/CLI.hpp>

#include <limits>

namespace zbvolume
{

void SourceOptions::addTo(CLI::App& command)
{
    command.add_option("FILE", path, "NIfTI-1 or NIfTI-2 (.nii, .nii.gz, .hdr/.img), or raw")->required();
    command.add_option("--frame", frame, "Frame of a series, from 0")->type_name("T")->capture_default_str();
    auto* layout = command.add_option("--raw", raw, "FILE has no header: its sizes and voxel type")
                       ->type_name("NX NY NZ TYPE");
    command.add_flag("--big-endian", isBigEndian, "Byte order of a raw file")->needs(layout);
    command.add_option("--skip", skip, "Bytes in front of the voxels of a raw file")
        ->type_name("BYTES")
        ->check(CLI::Range(std::int64_t(0), std::numeric_limits<std::int64_t>::max()).description(""))
        ->needs(layout);
}

CLI::Option* addOutput(CLI::App& command, const std::string& name, std::string& path,
                       const std::string& description)
{
    const CLI::Validator isName(
        [](const std::string& text) { return text.empty() ? "the name of the file is empty" : ""; }, "");
    return command.add_option(name, path, description)->type_name("F")->check(isName);
}

void ResultOptions::addTo(CLI::App& command)
{
    addResult(command, path);
    addOutput(command, "--png", png, "Writes slices before and after");
}

CLI::Option* addResult(CLI::App& command, std::string& path)
{
    return addOutput(command, "-o,--output", path, "A name that ends in .nii, .nii.gz, .hdr, .img or .raw")
        ->type_name("OUT")
        ->required();
}

CLI::Option* addType(CLI::App& command, std::string& type, const std::string& description)
{
    const std::vector<std::string> names = {"byte", "sbyte", "short",  "ushort", "int",
                                            "uint", "int64", "uint64", "float",  "double"};
    return command.add_option("--type", type, description)
        ->type_name("T")
        ->check(CLI::IsMember(names).description(""));
}

ZbPrimType writtenType(const std::string& name)
{
    ZbPrimType::Type type = ZbPrimType::BYTE;
    if (!ZbPrimType::convertNameToType(name.c_str(), type))
        throw Failure(name, "is no type of voxels");
    return type;
}

void reportSize(Report& report, const std::array<int, 3>& dims)
{
    report.addNumbers("size", {std::to_string(dims[0]), std::to_string(dims[1]), std::to_string(dims[2])},
                      " x ");
}

void reportPlace(Report& report, const Geometry& geometry)
{
    if (!geometry.isKnown())
        return;
    const auto texts = [](const std::array<double, 3>& values) -> std::vector<std::string> {
        return {rounded(values[0]), rounded(values[1]), rounded(values[2])};
    };
    report.addNumbers("spacing", texts(geometry.spacing), " x ", "mm");
    report.addNumbers("origin", texts(geometry.position({0, 0, 0})), " ", "mm");
}

void reportGrid(Report& report, const Volume& volume, ZbPrimType type, bool hasSpace)
{
    reportSize(report, volume.dims);
    report.add("type", type.getName());
    if (hasSpace)
        reportPlace(report, volume.geometry);
}

void refuseNan(const Volume& volume)
{
    if (const long count = countNan(volume); count > 0)
        throw Failure(volume.path,
                      "has " + std::to_string(count) +
                          " voxels that are not a number; --nan-background takes them as background");
}

VolumeSource SourceOptions::source() const
{
    VolumeSource source{path, std::nullopt, frame};
    const auto& [nx, ny, nz, type] = raw;
    if (!type.empty())
        source.raw = RawLayout{{nx, ny, nz}, type, isBigEndian, std::uint64_t(skip)};
    return source;
}

std::string storedText(const Volume& volume, double value)
{
    return volume.type == ZbPrimType::FLOAT ? shortest(float(value)) : shortest(value);
}

std::string shownName(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return name.size() <= 60 ? name : name.substr(0, 28) + "..." + name.substr(name.size() - 28);
}

}  // namespace zbvolume
