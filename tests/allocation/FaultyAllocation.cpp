#include "FaultyAllocation.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>

// What the C library's own functions do; it offers these names to those who replace them.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* ptr, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* ptr);
}

namespace
{

thread_local bool isArmed = false;
thread_local bool failed = false;
thread_local long remaining = 0;
thread_local FaultyAllocation::Mode failureMode = FaultyAllocation::Mode::Once;
std::atomic<long> liveBlocks = 0;

bool isSpared(const void* caller)
{
    Dl_info info;
    if (dladdr(caller, &info) == 0 || !info.dli_fname)
        return true;
    for (const char* library : {"libgomp", "libomp", "libtbb", "libQt6Core", "libz."})
        if (std::strstr(info.dli_fname, library))
            return true;
    return false;
}

bool fails(const void* caller)
{
    if (!isArmed || isSpared(caller))
        return false;
    if (failed)
        return failureMode == FaultyAllocation::Mode::FromThen;
    return failed = remaining-- == 0;
}

void* counted(void* ptr)
{
    liveBlocks.fetch_add(ptr != nullptr, std::memory_order_relaxed);
    return ptr;
}

}  // namespace

FaultyAllocation::FaultyAllocation(long number, Mode mode)
{
    remaining = number;
    failureMode = mode;
    failed = false;
    isArmed = true;
}

FaultyAllocation::~FaultyAllocation()
{
    isArmed = false;
}

bool FaultyAllocation::hasFailed()
{
    return failed;
}

long FaultyAllocation::numLiveBlocks()
{
    return liveBlocks.load(std::memory_order_relaxed);
}

extern "C" void* malloc(std::size_t size)
{
    return fails(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(size));
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    return fails(__builtin_return_address(0)) ? nullptr : counted(__libc_calloc(count, size));
}

extern "C" void* realloc(void* ptr, std::size_t size)
{
    if (size != 0 && fails(__builtin_return_address(0)))
        return nullptr;
    void* const resized = __libc_realloc(ptr, size);
    if (!ptr)
        counted(resized);
    else if (size == 0)
        liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    return resized;
}

extern "C" void* memalign(std::size_t alignment, std::size_t size)
{
    return fails(__builtin_return_address(0)) ? nullptr : counted(__libc_memalign(alignment, size));
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return fails(__builtin_return_address(0)) ? nullptr : counted(__libc_memalign(alignment, size));
}

extern "C" int posix_memalign(void** ptr, std::size_t alignment, std::size_t size)
{
    *ptr = fails(__builtin_return_address(0)) ? nullptr : counted(__libc_memalign(alignment, size));
    return *ptr ? 0 : ENOMEM;
}

extern "C" void free(void* ptr)
{
    liveBlocks.fetch_sub(ptr != nullptr, std::memory_order_relaxed);
    __libc_free(ptr);
}
