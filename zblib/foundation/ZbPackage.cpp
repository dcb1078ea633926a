#include <zblib/foundation/ZbPackage.h>

#include <zblib/foundation/ZbAssertionHandlerInit.h>
#include <zblib/types/ZbInterface.h>
#include <zblib/types/ZbInterfaceOwner.h>
#include <zblib/types/ZbPrimTypeProvider.h>

#ifdef ZBLIB_HAVE_CPU_DEVICE
#include <Inventor/devices/SoCpuDevice.h>
#endif

namespace
{

constinit bool initialised = false;
constinit bool finished = false;

}  // namespace

void keldapackage_zblib_init()
{
    // A class that was taken out of the registry cannot come back, so neither does the package.
    if (initialised || finished)
        return;
    initialised = true;
    {
        const ZbAssertionHandlerInit guard;
#ifdef ZBLIB_HAVE_CPU_DEVICE
        // Under the guard, because it may report failures.
        SoCpuDevice::initClass();
#endif
    }
    zbInitClass_ZbPrimTypeProvider();
    zbInitClass_ZbInterfaceOwner();
    zbInitClass_ZbInterface();
}

void keldapackage_zblib_finish()
{
    if (finished)
        return;
    finished = true;
    zbExitClass_ZbInterface();
    zbExitClass_ZbInterfaceOwner();
    zbExitClass_ZbPrimTypeProvider();
}

void soconstructor_zblib()
{
    keldapackage_zblib_init();
}

void sodestructor_zblib()
{
    keldapackage_zblib_finish();
}
