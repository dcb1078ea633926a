#include <zblib/types/ZbInterfaceOwner.h>

#include <zblib/types/ZbInterface.h>

#include <utility>

ZB_TYPED_ABSTRACT_SOURCE(ZbInterfaceOwner, ZbTypedObject)

namespace
{
// The class can be found by its name as soon as the library is loaded.
[[maybe_unused]] const ZbTypeInfo* const registeredAtLoad = ZbInterfaceOwner::getClassTypeId();
}  // namespace

ZbInterfaceOwner::~ZbInterfaceOwner()
{
    // Before the handles: interfaces that die with a kept object must not start a teardown.
    m_managed.clear();
    releaseHandles();
}

void ZbInterfaceOwner::registerInterfaceStaticMemory(ZbTypedObject* object)
{
    m_interfaces.append(object);
}

void ZbInterfaceOwner::registerInterfaceManageMemory(ZbTypedObject* object)
{
    registerInterfaceStaticMemory(object);
    try {
        manageMemory(object);
    } catch (...) {
        m_interfaces.removeLast();
        throw;
    }
}

void ZbInterfaceOwner::registerInterface(ZbTypedObject* object, MemoryPolicy policy)
{
    if (policy == MANAGE_MEMORY)
        registerInterfaceManageMemory(object);
    else
        registerInterfaceStaticMemory(object);
}

void ZbInterfaceOwner::manageMemory(ZbTypedObject* object)
{
    m_managed.append(object);
}

void ZbInterfaceOwner::dontManageMemory(ZbTypedObject* object)
{
    const long index = m_managed.find(object);
    if (index >= 0)
        m_managed.remove(index);
}

void ZbInterfaceOwner::handleObject(ZbHandable* object)
{
    m_handles.append(ZbHandle<ZbHandable>(object));
}

void ZbInterfaceOwner::registerAttachInterfacesOnceCB(void (*callback)(void*), void* userData)
{
    m_attachCallback = callback;
    m_attachUserData = userData;
}

void ZbInterfaceOwner::attachInterfacesOnce() const
{
    // Cleared first: the callback may look up interfaces itself.
    if (auto callback = std::exchange(m_attachCallback, nullptr))
        callback(m_attachUserData);
}

ZbTypedObject* ZbInterfaceOwner::getInterface(const ZbTypeInfo* type, bool attach) const
{
    if (attach)
        attachInterfacesOnce();
    if (!type)
        return nullptr;
    for (long i = m_interfaces.size() - 1; i >= 0; --i) {
        if (m_interfaces[i] && m_interfaces[i]->isOfType(type))
            return m_interfaces[i];
    }
    return isOfType(type) ? const_cast<ZbInterfaceOwner*>(this) : nullptr;
}

void ZbInterfaceOwner::getAllInterfaces(ZbDArray<ZbTypedObject*>& out, bool attach) const
{
    if (attach)
        attachInterfacesOnce();
    out.clear();
    out.remax(m_interfaces.size() + 1);
    for (long i = m_interfaces.size() - 1; i >= 0; --i)
        out.append(m_interfaces[i]);
    out.append(const_cast<ZbInterfaceOwner*>(this));
}

void ZbInterfaceOwner::interfaceIsBeingDeleted(ZbInterface* object)
{
    if (m_beingDeleted) {
        // Another destructor deletes it before its turn: the teardown must not delete it once more. After a teardown
        // an owner stays in this state; what was registered since then leaves the list by itself.
        dontManageMemory(object);
        if (const long index = m_interfaces.find(object); index >= 0)
            m_interfaces.remove(index);
        return;
    }
    if (m_interfaces.isEmpty() || m_managed.find(object) < 0)
        return;
    dontManageMemory(object);
    notifyDelete();
}

void ZbInterfaceOwner::notifyDelete()
{
    m_beingDeleted = true;
    m_interfaces.clear();
    while (!m_managed.isEmpty()) {
        ZbTypedObject* object = m_managed.last();
        m_managed.removeLast();
        // Only an interface that a destructor has registered in the meantime is there.
        const long index = m_interfaces.find(object);
        if (index >= 0)
            m_interfaces.remove(index);
        delete object;
    }
    releaseHandles();
}

void ZbInterfaceOwner::releaseHandles()
{
    while (!m_handles.isEmpty()) {
        // The object goes when it is off the list: its destructor may change the list.
        const ZbHandle<ZbHandable> handle = std::move(m_handles.last());
        m_handles.removeLast();
    }
}
