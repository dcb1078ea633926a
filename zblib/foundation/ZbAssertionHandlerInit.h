#pragma once

#include <zblib/foundation/ZbExport.h>

/// A guard that sets up the assertion handler: while it is the only one alive, its constructor reads the
/// debug settings from the environment and installs a new ZbMinimalAssertionHandler.
///
/// HX_DEBUG turns debug output on and says so on standard error; HX_DEBUG_LEVEL sets the level (7 without
/// it), HX_DEBUG_FUNC_FILTER and HX_DEBUG_PACKAGE_FILTER restrict the output to functions and packages, words
/// separated by blanks. Without HX_DEBUG the level is 3. A handler that is installed already is replaced and
/// not deleted: it stays with whoever made it.
///
/// Guards are made and destroyed while one thread runs. Not for static objects inside the library, where it
/// would run before the program could set anything.
class ZB_API ZbAssertionHandlerInit
{
public:
    ZbAssertionHandlerInit();
    ~ZbAssertionHandlerInit();
    // Each guard counts once.
    ZbAssertionHandlerInit(const ZbAssertionHandlerInit&) = delete;
    ZbAssertionHandlerInit& operator=(const ZbAssertionHandlerInit&) = delete;
};
