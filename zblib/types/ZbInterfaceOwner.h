#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbHandable.h>
#include <zblib/types/ZbHandle.h>
#include <zblib/types/ZbTypedObject.h>

class ZbInterface;

/// An object that carries interfaces: small typed objects, each of which offers one aspect of it.
///
/// Whoever holds one interface reaches the others by their type, see zbinterface_cast(). The owner also
/// deletes the interfaces that it manages and keeps other objects alive with it. Derive from
/// ZbInterfaceOwnerDefaultImpl unless the class has a reference count of its own.
///
/// A registered interface must live as long as interfaces are looked up: deleting one does not take it off
/// the list. The exception is an interface that the owner manages: deleting it from outside tears down all
/// that the owner manages and keeps, and empties the list. One thread at a time uses an owner and its
/// interfaces. Growth of a list throws ZbMemoryException and leaves the owner as it was.
class ZB_API ZbInterfaceOwner : public ZbTypedObject
{
    ZB_TYPED_ABSTRACT(ZbInterfaceOwner)

public:
    /// Who deletes an interface. Values other than MANAGE_MEMORY count as STATIC_MEMORY.
    enum MemoryPolicy : int {
        STATIC_MEMORY = 0,  ///< not the owner: it is a member or a variable, or its maker deletes it
        MANAGE_MEMORY = 1   ///< the owner, when it is notified of its own deletion
    };

    /// Releases the kept objects. Managed interfaces are not deleted here but in notifyDelete().
    ~ZbInterfaceOwner() override;

    // The interfaces belong to this very object, and point back to it.
    ZbInterfaceOwner(const ZbInterfaceOwner&) = delete;
    ZbInterfaceOwner& operator=(const ZbInterfaceOwner&) = delete;

    virtual void ref() = 0;
    virtual void unref() = 0;
    virtual void unrefNoDelete() = 0;

    void registerInterfaceStaticMemory(ZbTypedObject* object);
    void registerInterfaceManageMemory(ZbTypedObject* object);
    void registerInterface(ZbTypedObject* object, MemoryPolicy policy);

    /// Makes the owner delete object in notifyDelete(). An object is managed once at most; null is allowed.
    void manageMemory(ZbTypedObject* object);
    /// Takes back one manageMemory() of object.
    void dontManageMemory(ZbTypedObject* object);
    /// Keeps object alive at least as long as the owner.
    void handleObject(ZbHandable* object);

    /// Has callback called, once, before interfaces are first looked up with attach, so that they can be
    /// registered when they are needed. Replaces an earlier callback.
    void registerAttachInterfacesOnceCB(void (*callback)(void*), void* userData);
    void attachInterfacesOnce() const;

    /// The interface of that type, or of one derived from it, that was registered last; if there is none,
    /// the owner when it is of that type; else null. Null for a null type. O(interfaces * type depth).
    ZbTypedObject* getInterface(const ZbTypeInfo* type, bool attach) const;
    /// Replaces what is in out by all interfaces, the one registered last first, and the owner at the end.
    void getAllInterfaces(ZbDArray<ZbTypedObject*>& out, bool attach) const;

    /// For ~ZbInterface: starts the teardown when the owner manages this interface, see above.
    void interfaceIsBeingDeleted(ZbInterface* object);

    /// For classes that delete themselves: forgets the interfaces, deletes those it manages and releases the
    /// kept objects, each list from its end and one entry at a time. Destructors may use the owner meanwhile.
    virtual void notifyDelete();

protected:
    ZbInterfaceOwner() = default;

private:
    void releaseHandles();

    ZbDArray<ZbTypedObject*> m_interfaces;  // in the order of registration
    ZbDArray<ZbHandle<ZbHandable>> m_handles;
    ZbDArray<ZbTypedObject*> m_managed;
    // Attaching counts as part of looking up, which is const.
    mutable void (*m_attachCallback)(void*) = nullptr;  // null when there is none or it has run
    void* m_attachUserData = nullptr;
    bool m_beingDeleted = false;
};

ZB_API void zbInitClass_ZbInterfaceOwner();
ZB_API void zbExitClass_ZbInterfaceOwner();
