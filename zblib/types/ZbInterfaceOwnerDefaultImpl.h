#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbHandable.h>
#include <zblib/types/ZbInterfaceOwner.h>

/// An interface owner that counts its references: the last unref() deletes the managed interfaces, releases
/// the kept objects and deletes the owner.
///
/// Made with new and held through a ZbHandle, or made by the interface that is constructed without owner.
/// Its class has no type record of its own: its type is that of ZbInterfaceOwner.
class ZB_API ZbInterfaceOwnerDefaultImpl : public ZbInterfaceOwner, public ZbHandable
{
public:
    ZbInterfaceOwnerDefaultImpl() = default;
    ~ZbInterfaceOwnerDefaultImpl() override;

    void ref() override;
    void unref() override;
    void unrefNoDelete() override;

    void notifyDelete() override;
};
