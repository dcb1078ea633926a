#include <zblib/foundation/ZbMultiversion.h>

#include <cstdlib>
#include <cstring>

#include <cpuid.h>

namespace
{

// Not every compiler's __builtin_cpu_supports knows the name. A machine without the instruction does not refuse
// it but runs another one in its place, so it must not be taken for granted.
bool hasLzcnt()
{
    unsigned int eax = 0;
    unsigned int ebx = 0;
    unsigned int ecx = 0;
    unsigned int edx = 0;
    return __get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_LZCNT) != 0;
}

ZbCpuLevel detectCpuLevel()
{
    // The process environment itself: the settings class may not be set up while the library loads.
    const char* wanted = std::getenv("HX_CPU_LEVEL");
    if (wanted && std::strcmp(wanted, "baseline") == 0)
        return ZbCpuLevel::Baseline;
    __builtin_cpu_init();
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt") && hasLzcnt();
    return v3 ? ZbCpuLevel::V3 : ZbCpuLevel::Baseline;
}

}  // namespace

ZbCpuLevel ZbDetail::cpuLevel = detectCpuLevel();
