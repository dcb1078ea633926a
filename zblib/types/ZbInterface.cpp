#include <zblib/types/ZbInterface.h>

#include <zblib/types/ZbInterfaceOwnerDefaultImpl.h>

#include <memory>

ZB_TYPED_ABSTRACT_SOURCE(ZbInterface, ZbTypedObject)

namespace
{
// The class can be found by its name as soon as the library is loaded.
[[maybe_unused]] const ZbTypeInfo* const registeredAtLoad = ZbInterface::getClassTypeId();
}  // namespace

ZbInterface::ZbInterface(ZbInterfaceOwner* owner, ZbInterfaceOwner::MemoryPolicy policy)
{
    std::unique_ptr<ZbInterfaceOwner> privateOwner;
    if (!owner) {
        privateOwner = std::make_unique<ZbInterfaceOwnerDefaultImpl>();
        owner = privateOwner.get();
    }
    owner->registerInterface(this, policy);
    m_owner = owner;
    (void)privateOwner.release();  // from here on its reference count decides
}

ZbInterface::~ZbInterface()
{
    m_owner->interfaceIsBeingDeleted(this);
}

ZbTypedObject* ZbInterface::getInterface(const ZbTypeInfo* type, bool attach) const
{
    return m_owner->getInterface(type, attach);
}

void ZbInterface::getAllInterfaces(ZbDArray<ZbTypedObject*>& out, bool attach) const
{
    m_owner->getAllInterfaces(out, attach);
}
