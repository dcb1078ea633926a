#include "CommandOptions.h"

#include "Numbers.h"

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
