#pragma once

#include <zblib/foundation/ZbAssertionHandler.h>
#include <zblib/foundation/ZbExport.h>

#include <atomic>

/// Checks that report to the process's ZbAssertionHandler and act on its answer: DO_NOT_IGNORE throws a
/// ZbException with the expression, IGNORE_ONCE goes on, IGNORE_ALWAYS goes on and silences this place for
/// the rest of the process. With the default handler a failed assertion is a line on standard error, a
/// critical error also an exception.
///
///     ZB_REQUIRE(index >= 0);   what the caller owes
///     ZB_ENSURE(count <= max);  what this function promises
///     ZB_ASSERT(parent);        anything else that is always so
///     ZB_CRITICAL(file.open()); what must not pass in a release build either
///
/// The first three vanish under NDEBUG, and their expression is then not evaluated.
#ifdef NDEBUG
#define ZB_ASSERT(expression) ZB_DETAIL_UNCHECKED(expression)
#define ZB_REQUIRE(expression) ZB_DETAIL_UNCHECKED(expression)
#define ZB_ENSURE(expression) ZB_DETAIL_UNCHECKED(expression)
#else
#define ZB_ASSERT(expression) ZB_DETAIL_CHECK(assertFailed, IGNORE_ONCE, expression)
#define ZB_REQUIRE(expression) ZB_DETAIL_CHECK(requireFailed, IGNORE_ONCE, expression)
#define ZB_ENSURE(expression) ZB_DETAIL_CHECK(ensureFailed, IGNORE_ONCE, expression)
#endif
#define ZB_CRITICAL(expression) ZB_DETAIL_CHECK(criticalError, DO_NOT_IGNORE, expression)

/// Debug output, printf-style, for the levels of ZbAssertionHandler::getDebugLevelName. Shown where the level
/// is at most debuglevel(), a word of the function filter is part of the function's signature, and a word of
/// the package filter is the package. The level is evaluated once, the other arguments only then.
///
///     ZB_DEBUG(7, "read %ld values", count);
///
/// A package names itself by defining ZB_PACKAGE_NAME as a text before it includes this header.
#define ZB_DEBUG(level, ...)                                                                                 \
    do {                                                                                                     \
        const int zbDebugLevel = (level);                                                                    \
        if (::ZbDetail::isDebugShown(zbDebugLevel, __PRETTY_FUNCTION__, ZB_PACKAGE_NAME))                    \
            ::ZbDetail::showDebug(zbDebugLevel, __VA_ARGS__);                                                \
    } while (false)

#ifndef ZB_PACKAGE_NAME
#ifdef ZBLIB_BUILDING
#define ZB_PACKAGE_NAME "zblib"
#else
#define ZB_PACKAGE_NAME ""
#endif
#endif

// ---- mechanics

#define ZB_DETAIL_UNCHECKED(expression) static_cast<void>(sizeof(!(expression)))

#define ZB_DETAIL_CHECK(operation, ignore, expression)                                                       \
    do {                                                                                                     \
        if (!(expression)) [[unlikely]] {                                                                    \
            static constinit std::atomic<bool> zbIsSilenced = false;                                         \
            ::ZbDetail::checkFailed(&::ZbAssertionHandler::operation, ::ZbAssertionHandler::ignore,          \
                                    #expression, __FILE__, __LINE__, zbIsSilenced);                          \
        }                                                                                                    \
    } while (false)

namespace ZbDetail
{

using FailureOperation = ZbAssertionHandler::IgnoreCriticalError (ZbAssertionHandler::*)(
    ZbAssertionHandler::IgnoreCriticalError, const char*, const char*, int);

[[gnu::cold]] ZB_API void checkFailed(FailureOperation operation,
                                      ZbAssertionHandler::IgnoreCriticalError ignore, const char* expression,
                                      const char* file, int line, std::atomic<bool>& isSilenced);

ZB_API bool isDebugShown(int level, const char* function, const char* package);
[[gnu::cold, gnu::format(printf, 2, 3)]] ZB_API void showDebug(int level, const char* format, ...);

}  // namespace ZbDetail
