#include <zblib/foundation/ZbAssertionHandler.h>

#include <zblib/foundation/ZbAssertionHandlerInit.h>
#include <zblib/foundation/ZbMinimalAssertionHandler.h>

#include <algorithm>
#include <utility>

namespace
{

// Constant-initialised, and not destroyed: failures are reported while libraries load and while they go.
constinit ZbAssertionHandler* installedHandler = nullptr;
constinit int shownDebugLevel = 3;
constinit const char* const* functionWords = nullptr;
constinit int functionWordCount = 0;
constinit const char* const* packageWords = nullptr;
constinit int packageWordCount = 0;

}  // namespace

ZbAssertionHandler::~ZbAssertionHandler() = default;

ZbAssertionHandler*& ZbAssertionHandler::thehandler()
{
    return installedHandler;
}

ZbAssertionHandler& ZbAssertionHandler::handler()
{
    if (!installedHandler)
        ZbAssertionHandlerInit();
    // While another guard lives, that one does nothing.
    if (!installedHandler)
        installedHandler = new ZbMinimalAssertionHandler;
    return *installedHandler;
}

void ZbAssertionHandler::setAssertionHandler(ZbAssertionHandler* h)
{
    // The old one is out of reach before it goes: its destructor may report failures of its own.
    if (h != installedHandler)
        delete std::exchange(installedHandler, h);
}

int& ZbAssertionHandler::debuglevel()
{
    return shownDebugLevel;
}

const char* const*& ZbAssertionHandler::funcfilter()
{
    return functionWords;
}

int& ZbAssertionHandler::funcfiltercount()
{
    return functionWordCount;
}

const char* const*& ZbAssertionHandler::packagefilter()
{
    return packageWords;
}

int& ZbAssertionHandler::packagefiltercount()
{
    return packageWordCount;
}

const char* ZbAssertionHandler::getDebugLevelName(int level)
{
    static constexpr const char* names[] = {"EMERG  ", "ALERT  ", "CRIT   ", "ERR    ", "WARNING",
                                            "NOTICE ", "INFO   ", "DEBUG  ", "DEBUG+1", "DEBUG+2",
                                            "DEBUG+3", "DEBUG+4", "DEBUG>4"};
    return level < 0 ? "NONE" : names[std::min(level, 12)];
}
