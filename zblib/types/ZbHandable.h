#pragma once

#include <zblib/foundation/ZbExport.h>

/// A base class that counts the references to an object, which deletes itself when the last one goes.
///
/// Hold such objects, made with new, through ZbHandle, which calls ref() and unref(). A new object has
/// count 0. Counts belong to the object and not to its value: a copy starts at 0, an assignment leaves the
/// target's count alone. The count is a plain integer: one thread at a time uses an object and its handles.
class ZB_API ZbHandable
{
public:
    ZbHandable() noexcept = default;
    ZbHandable(const ZbHandable&) noexcept {}
    ZbHandable& operator=(const ZbHandable&) noexcept { return *this; }
    virtual ~ZbHandable();

    void ref() noexcept { ++m_refCount; }
    /// Drops a reference; when none is left, calls notifyDelete() and deletes the object. An object whose
    /// count is already 0 is deleted as well.
    void unref();
    /// Drops a reference and leaves the object alive in any case, for functions that return a new object.
    void unrefNoDelete() noexcept { --m_refCount; }
    int getRefCount() const noexcept { return m_refCount; }

    /// Called just before the object deletes itself, while it is whole. Must not take a reference to the
    /// object and drop it again, which would delete it a second time.
    virtual void notifyDelete();

private:
    int m_refCount = 0;
};
