#include <zblib/foundation/ZbMemory.h>

#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/system/ZbEnvironment.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <sys/sysinfo.h>

namespace
{

// -1 not yet decided, 0 off, 1 on. Threads that race to decide reach the same answer; constant
// initialisation, because memory is allocated while libraries are still being loaded.
constinit std::atomic<int> freeMemoryCheck = -1;

[[gnu::cold, gnu::noinline]] int decideFreeMemoryCheck()
{
    const int state = ZbEnvironment::exists(QStringLiteral("CHECK_FREERAM")) ? 1 : 0;
    freeMemoryCheck.store(state, std::memory_order_relaxed);
    return state;
}

[[noreturn, gnu::cold, gnu::noinline]] void throwOutOfMemory(unsigned long size)
{
    throw ZbMemoryException(ZbMemoryException::constructErrorMessage(size));
}

[[gnu::cold, gnu::noinline]] void checkFreeMemory(unsigned long size)
{
    struct sysinfo info;
    if (sysinfo(&info) != 0)
        return;
    if (size / info.mem_unit > info.freeram) {
        std::puts("Not enough free RAM");
        throwOutOfMemory(size);
    }
}

}  // namespace

void* zbmalloc(unsigned long size)
{
    int check = freeMemoryCheck.load(std::memory_order_relaxed);
    if (check != 0) [[unlikely]] {
        if (check < 0)
            check = decideFreeMemoryCheck();
        if (check > 0)
            checkFreeMemory(size);
    }
    void* ptr = std::malloc(size);
    if (!ptr) [[unlikely]]
        throwOutOfMemory(size);
    return ptr;
}

void* zbrealloc(void* ptr, unsigned long size)
{
    if (!ptr)
        return zbmalloc(size);
    if (size == 0) {
        zbfree(ptr);
        return nullptr;
    }
    void* resized = std::realloc(ptr, size);
    if (!resized) [[unlikely]]
        throwOutOfMemory(size);
    return resized;
}

void zbfree(void* ptr)
{
    std::free(ptr);
}
