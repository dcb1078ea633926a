#pragma once

#include <zblib/foundation/ZbAssertionHandler.h>

/// The default handler: one line on standard error for each failure, and the caller goes on as it would.
/// Debug output and the tracing of calls are dropped.
class ZB_API ZbMinimalAssertionHandler : public ZbAssertionHandler
{
public:
    ~ZbMinimalAssertionHandler() override;

    IgnoreCriticalError assertFailed(IgnoreCriticalError ignore, const char* expression, const char* file,
                                     int line) override;
    IgnoreCriticalError requireFailed(IgnoreCriticalError ignore, const char* expression, const char* file,
                                      int line) override;
    IgnoreCriticalError ensureFailed(IgnoreCriticalError ignore, const char* expression, const char* file,
                                     int line) override;
    IgnoreCriticalError criticalError(IgnoreCriticalError ignore, const char* expression, const char* file,
                                      int line) override;
    void enter(int level, const char* a, const char* b, const char* c) override;
    void exit() override;
    void debug(int level, const char* format, va_list arguments) override;
};
