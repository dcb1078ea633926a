#include <zblib/foundation/ZbMultiversion.h>

#include <cstdlib>
#include <cstring>

namespace
{

ZbCpuLevel detectCpuLevel()
{
    // The process environment itself: the settings class may not be set up while the library loads.
    const char* wanted = std::getenv("HX_CPU_LEVEL");
    if (wanted && std::strcmp(wanted, "baseline") == 0)
        return ZbCpuLevel::Baseline;
    __builtin_cpu_init();
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    return v3 ? ZbCpuLevel::V3 : ZbCpuLevel::Baseline;
}

}  // namespace

ZbCpuLevel ZbDetail::cpuLevel = detectCpuLevel();
