#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbInterface.h>
#include <zblib/types/ZbPrimType.h>

/// The interface of objects that hold data of a primitive type. Owned and counted as any ZbInterface.
class ZB_API ZbPrimTypeProvider : public ZbInterface
{
    ZB_TYPED_ABSTRACT(ZbPrimTypeProvider)

public:
    using ZbInterface::ZbInterface;
    ~ZbPrimTypeProvider() override;

    /// The type of the elements of the object's data.
    virtual ZbPrimType primType() const = 0;
};

ZB_API void zbInitClass_ZbPrimTypeProvider();
ZB_API void zbExitClass_ZbPrimTypeProvider();
