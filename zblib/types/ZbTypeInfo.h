#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbExport.h>

class ZbTypedObject;

/// The run-time record of one class: its name, its parent's record and, for concrete classes, a factory.
///
/// All records of the process stand in one registry sorted by name, so that a host can find a class by its
/// name and make an object of it. Classes normally get their record through the macros of ZbTypedObject.h
/// and not by hand.
///
/// A record is known by its address and registered from its construction until removeType() or its
/// destruction, which may come in any order at exit. The registry has no lock: classes register and leave
/// while packages are loaded and unloaded, not while other threads look up types.
class ZB_API ZbTypeInfo
{
public:
    using CreateFunc = ZbTypedObject* (*)();

    /// Registers the record, behind those of equal name. name is not null, not copied, and outlives the
    /// record; so does parent, which is null for a root. createFunc is null for an abstract class.
    /// O(n) for n records; throws ZbMemoryException.
    ZbTypeInfo(const char* name, CreateFunc createFunc, const ZbTypeInfo* parent);
    /// A key for searches in allTypes(). It is not registered.
    explicit ZbTypeInfo(const char* name) noexcept : m_name(name) {}
    /// Unregisters the record if it is registered. O(n).
    ~ZbTypeInfo();

    // The registry knows a record by its address.
    ZbTypeInfo(const ZbTypeInfo&) = delete;
    ZbTypeInfo& operator=(const ZbTypeInfo&) = delete;

    const char* getName() const noexcept { return m_name; }
    const ZbTypeInfo* getParent() const noexcept { return m_parent; }

    /// Whether type is this record or one of its ancestors. False for null. O(depth).
    bool isOfType(const ZbTypeInfo* type) const noexcept;

    bool canCreateInstance() const noexcept { return m_createFunc != nullptr; }
    /// A new object that the caller owns; null for an abstract class.
    [[nodiscard]] ZbTypedObject* createInstance() const { return m_createFunc ? m_createFunc() : nullptr; }

    /// The record of that name, the one registered last among several; null when there is none. O(log n).
    static const ZbTypeInfo* getTypeFromName(const char* name);
    /// Takes the record that getTypeFromName() finds out of the registry. The record itself stays valid.
    static void removeType(const char* name);
    /// The registry, sorted by name in strcmp order. Empty once the process has begun to unload the library.
    static const ZbDArray<ZbTypeInfo*>& allTypes();

private:
    const char* m_name;
    CreateFunc m_createFunc = nullptr;
    const ZbTypeInfo* m_parent = nullptr;
};
