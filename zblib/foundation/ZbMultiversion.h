#pragma once

// Private: the one way in which hot kernels are compiled for several instruction sets.

#include <zblib/foundation/ZbExport.h>

#include <utility>

/// The instruction sets that kernels are compiled for. Baseline is what every x86-64 machine has.
enum class ZbCpuLevel {
    Baseline = 0,
    V3 = 1,  // AVX2, BMI1, BMI2, LZCNT, POPCNT; no fused multiply-add, whose results differ
};

/// For functions with intrinsics of ZbCpuLevel::V3. Named features, not arch=: only so may the
/// compiler inline plain functions into them.
#define ZB_TARGET_V3 [[gnu::target("avx2,bmi,bmi2,lzcnt,popcnt")]]

namespace ZbDetail
{

// Decided while the library loads. A static initialiser of another file that runs earlier sees
// Baseline, which is slower and right.
extern ZB_API ZbCpuLevel cpuLevel;

template <typename Body>
[[gnu::flatten]] ZB_TARGET_V3 inline decltype(auto) runV3(Body&& body)
{
    return std::forward<Body>(body)();
}

}  // namespace ZbDetail

/// The level that kernels run at: the best that the machine has, or Baseline when the environment
/// says HX_CPU_LEVEL=baseline as the library is loaded (for support questions and tests).
inline ZbCpuLevel zbCpuLevel() noexcept
{
    return ZbDetail::cpuLevel;
}

/// Runs body, a callable without arguments, in a copy that is compiled for the machine's level.
///
/// Everything that body calls and whose source is visible is inlined into that copy, loops are
/// vectorised for the level. Kernels with intrinsics of their own are marked ZB_TARGET_V3 and chosen by
/// zbCpuLevel() instead. Call it inside a parallel region, never around one: the compiler moves the body of a
/// region into a function of its own, which would fall back to the baseline.
template <typename Body>
inline decltype(auto) zbMultiversion(Body&& body)
{
    if (zbCpuLevel() == ZbCpuLevel::V3)
        return ZbDetail::runV3(std::forward<Body>(body));
    return std::forward<Body>(body)();
}
