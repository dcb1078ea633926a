#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbInterfaceOwner.h>

/// One aspect of an object: the base of the classes through which parts of a program that do not know an
/// object's class talk to it.
///
/// It belongs to an owner for life and shares the owner's reference count. Without an owner it makes a
/// private one, with count 0; then mind who deletes whom:
///
/// - With MANAGE_MEMORY, hold it by ref() and unref(), or a ZbHandle: the last unref() deletes the private
///   owner and the interface with it. Deleting the interface by hand does not delete the owner, which is left
///   over for good unless somebody holds a reference to it.
/// - With STATIC_MEMORY the last unref() deletes the private owner alone, and ~ZbInterface would use a
///   pointer to nothing. Hold a reference to getOwner() from before the first unref() until after the
///   interface is gone, or better, give such an interface an owner that outlives it.
///
/// Counts and lists have no locks: an owner and its interfaces belong to one thread at a time.
class ZB_API ZbInterface : public ZbTypedObject
{
    ZB_TYPED_ABSTRACT(ZbInterface)

public:
    /// Registers the interface with owner. A null owner stands for a new ZbInterfaceOwnerDefaultImpl, whose
    /// count is 0. With MANAGE_MEMORY the interface has been made with new.
    ZbInterface(ZbInterfaceOwner* owner, ZbInterfaceOwner::MemoryPolicy policy);
    /// Tells the owner, which lives as long as all its interfaces or is just deleting this one.
    ~ZbInterface() override;

    // The owner knows an interface by its address.
    ZbInterface(const ZbInterface&) = delete;
    ZbInterface& operator=(const ZbInterface&) = delete;

    ZbInterfaceOwner* getOwner() noexcept { return m_owner; }
    const ZbInterfaceOwner* getOwner() const noexcept { return m_owner; }

    // The same operations of the owner.
    void ref() { m_owner->ref(); }
    void unref() { m_owner->unref(); }
    void unrefNoDelete() { m_owner->unrefNoDelete(); }
    ZbTypedObject* getInterface(const ZbTypeInfo* type, bool attach) const;
    void getAllInterfaces(ZbDArray<ZbTypedObject*>& out, bool attach) const;
    void manageMemory(ZbTypedObject* object) { m_owner->manageMemory(object); }
    void handleObject(ZbHandable* object) { m_owner->handleObject(object); }

private:
    ZbInterfaceOwner* m_owner;  // never null
};

/// The owner's interface of type T that was registered last, attaching interfaces if need be; the owner
/// itself when that is a T; else null. Null for a null interface.
template <typename T>
T* zbinterface_cast(const ZbInterface* object)
{
    // Dynamic: the registered base may be any of several that T's class has, at any offset.
    return object ? dynamic_cast<T*>(object->getInterface(T::getClassTypeId(), true)) : nullptr;
}

ZB_API void zbInitClass_ZbInterface();
ZB_API void zbExitClass_ZbInterface();
