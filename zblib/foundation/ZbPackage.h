#pragma once

#include <zblib/foundation/ZbExport.h>

/// The entry points of the library as a package, for a host that loads it at run time.
///
/// They have their plain names in the shared object, so that a host finds them with dlsym() by the package's name
/// alone: keldapackage_zblib, keldapackage_zblib_init, keldapackage_zblib_finish. Programs that link the library and
/// do without a host need none of them: its classes are registered as it is loaded, and the first failure that is
/// reported installs the default assertion handler. Loading alone prints nothing and installs no handler.
///
/// Init and finish are called by one thread, while no other uses the library.
extern "C" {

/// What is known about this build: one constant ASCII text of alternating keys and values, a bar before each,
/// "|version_tag|...|comment|...". The text stays with the library and is never null; no value holds a bar.
///
/// Keys in order: version_tag ("\" when the build carries no tag), comment (the source revision, 40 hexadecimal
/// digits, all zero when it is not known), compiler, target_os, build_cfg, build_user, build_ip (the machine's name),
/// build_time (UTC, year-month-day hour:minute:second), filename (without version numbers), path (the folder into
/// which the build placed the file), size (of the file as it was built, in bytes), vendor, product, version_major,
/// version_minor, version_patch.
ZB_API const char* keldapackage_zblib();

/// Installs the default assertion handler, reads the debug settings (see ZbAssertionHandlerInit) and registers the
/// library's run-time classes. The first call does it; later ones do nothing, and nor does any after finish.
ZB_API void keldapackage_zblib_init();

/// Takes the library's run-time classes out of the registry, for good, whether or not they were initialised: the first
/// call does. Objects and type records stay valid, and so does the installed assertion handler.
ZB_API void keldapackage_zblib_finish();

/// The same as keldapackage_zblib_init() and keldapackage_zblib_finish(), under the names that hosts of shared-object
/// constructors look for.
ZB_API void soconstructor_zblib();
ZB_API void sodestructor_zblib();

}  // extern "C"
