#pragma once

#include <zblib/foundation/ZbExport.h>

#include <cstdarg>

/// The receiver of failed assertions and debug output; one for the process.
///
/// A program derives its own to show failures to its user and installs it at start-up. The handler and the
/// debug settings are plain variables: they are set before there are threads.
class ZB_API ZbAssertionHandler
{
public:
    /// What to do about a failure. The failure operations are told what the caller would do and decide.
    enum IgnoreCriticalError {
        DO_NOT_IGNORE = 0,  // the check throws a ZbException
        IGNORE_ONCE = 1,    // the caller goes on
        IGNORE_ALWAYS = 2   // the caller goes on, and this place never reports again
    };

    virtual ~ZbAssertionHandler();

    virtual IgnoreCriticalError assertFailed(IgnoreCriticalError ignore, const char* expression,
                                             const char* file, int line) = 0;
    virtual IgnoreCriticalError requireFailed(IgnoreCriticalError ignore, const char* expression,
                                              const char* file, int line) = 0;
    virtual IgnoreCriticalError ensureFailed(IgnoreCriticalError ignore, const char* expression,
                                             const char* file, int line) = 0;
    virtual IgnoreCriticalError criticalError(IgnoreCriticalError ignore, const char* expression,
                                              const char* file, int line) = 0;
    /// For handlers that trace calls: a function is entered, named by up to three texts, and left.
    virtual void enter(int level, const char* a, const char* b, const char* c) = 0;
    virtual void exit() = 0;
    /// A line of debug output, printf-style; ZB_DEBUG calls it for what the level and the filters let pass.
    virtual void debug(int level, const char* format, va_list arguments) = 0;

    /// The installed handler; null until one is.
    static ZbAssertionHandler*& thehandler();
    /// The installed handler. A call while there is none installs the default and reads the debug settings, as
    /// a ZbAssertionHandlerInit does.
    static ZbAssertionHandler& handler();
    /// Takes over h and deletes the handler before it. With null the next handler() installs the default.
    static void setAssertionHandler(ZbAssertionHandler* h);

    /// The least important level that is shown, on the scale of getDebugLevelName.
    static int& debuglevel();
    /// The words of the two filters. A filter without words lets everything pass.
    static const char* const*& funcfilter();
    static int& funcfiltercount();
    static const char* const*& packagefilter();
    static int& packagefiltercount();

    /// "EMERG  " for 0 to "DEBUG>4" for 12 and above, padded to seven characters; "NONE" below 0.
    static const char* getDebugLevelName(int level);
};
