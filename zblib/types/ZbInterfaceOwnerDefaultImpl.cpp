#include <zblib/types/ZbInterfaceOwnerDefaultImpl.h>

ZbInterfaceOwnerDefaultImpl::~ZbInterfaceOwnerDefaultImpl() = default;

void ZbInterfaceOwnerDefaultImpl::ref()
{
    ZbHandable::ref();
}

void ZbInterfaceOwnerDefaultImpl::unref()
{
    ZbHandable::unref();
}

void ZbInterfaceOwnerDefaultImpl::unrefNoDelete()
{
    ZbHandable::unrefNoDelete();
}

void ZbInterfaceOwnerDefaultImpl::notifyDelete()
{
    ZbHandable::notifyDelete();
    ZbInterfaceOwner::notifyDelete();
}
