#include <zblib/foundation/ZbMinimalAssertionHandler.h>

#include <cstdio>

ZbMinimalAssertionHandler::~ZbMinimalAssertionHandler() = default;

ZbAssertionHandler::IgnoreCriticalError ZbMinimalAssertionHandler::assertFailed(IgnoreCriticalError ignore,
                                                                                const char* expression,
                                                                                const char* file, int line)
{
    std::fprintf(stderr, "Assertion %s failed, file %s, line %d\n", expression, file, line);
    return ignore;
}

ZbAssertionHandler::IgnoreCriticalError ZbMinimalAssertionHandler::requireFailed(IgnoreCriticalError ignore,
                                                                                 const char* expression,
                                                                                 const char* file, int line)
{
    std::fprintf(stderr, "Require %s failed, file %s, line %d\n", expression, file, line);
    return ignore;
}

ZbAssertionHandler::IgnoreCriticalError ZbMinimalAssertionHandler::ensureFailed(IgnoreCriticalError ignore,
                                                                                const char* expression,
                                                                                const char* file, int line)
{
    std::fprintf(stderr, "Ensure %s failed, file %s, line %d\n", expression, file, line);
    return ignore;
}

ZbAssertionHandler::IgnoreCriticalError ZbMinimalAssertionHandler::criticalError(IgnoreCriticalError ignore,
                                                                                 const char* expression,
                                                                                 const char* file, int line)
{
    std::fprintf(stderr, "Critical Error %s, file %s, line %d\n", expression, file, line);
    return ignore;
}

void ZbMinimalAssertionHandler::enter(int, const char*, const char*, const char*) {}

void ZbMinimalAssertionHandler::exit() {}

void ZbMinimalAssertionHandler::debug(int, const char*, va_list) {}
