#include "CommandOptions.h"
#include "Commands.h"
#include "Numbers.h"
#include "OutputFile.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <zblib/data/ZbRawData.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <CLI/CLI.hpp>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace zbvolume
{

namespace
{

// Turns stored values into others, block by block, and counts what does not fit.
class Conversion
{
public:
    Conversion(const Volume& volume, ZbPrimType type, double offset, double scale)
        : m_volume(volume)
        , m_type(type)
        , m_offset(offset)
        , m_scale(scale)
        , m_isCopy(type == volume.type && offset == 0 && scale == 1)
    {
    }

    void operator()(long first, long count, void* out)
    {
        const auto size = long(m_volume.type.size());
        const ZbTypedPointer source(static_cast<unsigned char*>(m_volume.block.get()) + first * size,
                                    m_volume.type);
        if (m_isCopy) {
            ZbRawData::memcpy(ZbTypedPointer(out, m_type), source, count);
            return;
        }
        m_values.resize(std::size_t(count));
        const ZbTypedPointer values(m_values.data());
        ZbRawData::mapLinear(values, source, (unsigned long)count, m_offset, m_scale);
        zbVisitPrimType<unsigned char, signed char, short, unsigned short, int, unsigned int, long long,
                        unsigned long long>(m_type, [&](auto tag) {
            using Value = typename decltype(tag)::Type;
            constexpr int bits = std::numeric_limits<Value>::digits;
            const double end = std::ldexp(1.0, bits);  // the first beyond
            const double low = std::numeric_limits<Value>::is_signed ? -end : 0;
            for (const double value : m_values) {
                const double whole = std::trunc(value);
                m_clamped += whole < low || whole >= end;
                m_nan += value != value;
            }
            // What ZbRawData converts ends at 32 bits.
            if constexpr (bits > 32)
                for (long i = 0; i < count; i++) {
                    const double value = m_values[std::size_t(i)];
                    static_cast<Value*>(out)[i] = value >= end   ? std::numeric_limits<Value>::max()
                                                  : value >= low ? Value(value)
                                                  : value < low  ? std::numeric_limits<Value>::min()
                                                                 : Value(1ULL << 63);
                }
        });
        if (m_type != ZbPrimType::INT64 && m_type != ZbPrimType::UINT64)
            ZbRawData::memcpy(ZbTypedPointer(out, m_type), values, count);
    }

    long clamped() const { return m_clamped; }
    long nan() const { return m_nan; }

private:
    const Volume& m_volume;
    ZbPrimType m_type;
    double m_offset;
    double m_scale;
    bool m_isCopy;
    long m_clamped = 0;
    long m_nan = 0;  // that became integers
    std::vector<double> m_values;
};

// The header keeps saying what the stored values stand for: real values stay what they were. Where single
// precision cannot say it, the new values stand for themselves.
void followValues(Volume& volume, double offset, double scale)
{
    const double slope = volume.slope / scale;
    const double intercept = volume.offset - volume.slope * offset;
    const bool isHeld = std::isnormal(float(slope)) && std::isfinite(float(intercept));
    volume.slope = isHeld ? slope : 1;
    volume.offset = isHeld ? intercept : 0;
}

}  // namespace

Report convert(const ConvertOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(options.output, outputs);
    Volume volume = readVolume(options.source.source(), &progress);
    const ZbPrimType type = writtenType(options.type);

    Conversion conversion(volume, type, options.offset, options.scale);
    followValues(volume, options.offset, options.scale);
    writer.write(volume, type, VolumeWriter::Meaning::Kept, std::ref(conversion), &progress);
    progress.check();
    outputs.commit();

    Report report;
    reportSize(report, volume.dims);
    report.add("type", type.getName());
    report.addNumber("slope", rounded(volume.slope));
    report.addNumber("offset", rounded(volume.offset));
    report.add("clamped", conversion.clamped());
    if (conversion.nan() > 0)
        report.add("nan", conversion.nan());
    report.addList("written", outputs.names());
    return report;
}

void addConvert(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<ConvertOptions>();
    auto* command = addCommand(
        app, chosen, "convert", "Stores the voxels in another type, as (value + offset) * scale",
        [options](TerminalProgress& progress) { return convert(*options, progress); },
        [options] { requireThat(options->scale != 0, "--scale must not be 0"); });
    options->source.addTo(*command);
    addType(*command, options->type, "Type of the voxels to write")->required();
    command->add_option("--offset", options->offset, "Added to stored values first")
        ->type_name("O")
        ->check(finiteNumber())
        ->capture_default_str();
    command->add_option("--scale", options->scale, "Multiplies them then; the header's slope makes up for it")
        ->type_name("S")
        ->check(finiteNumber())
        ->capture_default_str();
    addResult(*command, options->output);
}

}  // namespace zbvolume
