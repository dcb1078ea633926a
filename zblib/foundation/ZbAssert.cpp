#include <zblib/foundation/ZbAssert.h>

#include <zblib/foundation/ZbException.h>

#include <algorithm>
#include <cstring>

void ZbDetail::checkFailed(FailureOperation operation, ZbAssertionHandler::IgnoreCriticalError ignore,
                           const char* expression, const char* file, int line, std::atomic<bool>& isSilenced)
{
    if (isSilenced.load(std::memory_order_relaxed))
        return;
    switch ((ZbAssertionHandler::handler().*operation)(ignore, expression, file, line)) {
    case ZbAssertionHandler::IGNORE_ONCE:
        return;
    case ZbAssertionHandler::IGNORE_ALWAYS:
        isSilenced.store(true, std::memory_order_relaxed);
        return;
    case ZbAssertionHandler::DO_NOT_IGNORE:
        break;
    }
    ZbException exception;
    exception.addFrame(file, line, QString::fromUtf8(expression));
    throw exception;
}

bool ZbDetail::isDebugShown(int level, const char* function, const char* package)
{
    ZbAssertionHandler::handler();  // installed where there is none, which reads the settings
    if (level > ZbAssertionHandler::debuglevel())
        return false;
    const auto passes = [](const char* const* words, int count, auto matches) {
        return count == 0 || std::any_of(words, words + count, matches);
    };
    return passes(ZbAssertionHandler::funcfilter(), ZbAssertionHandler::funcfiltercount(),
                  [&](const char* word) { return std::strstr(function, word) != nullptr; }) &&
           passes(ZbAssertionHandler::packagefilter(), ZbAssertionHandler::packagefiltercount(),
                  [&](const char* word) { return std::strcmp(package, word) == 0; });
}

void ZbDetail::showDebug(int level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ZbAssertionHandler::handler().debug(level, format, arguments);
    va_end(arguments);
}
