#include <zblib/types/ZbTypeInfo.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace
{

using Types = ZbDArray<ZbTypeInfo*>;

// Its memory is given back at exit, but the array itself is never destroyed: records and keys that are
// destroyed later, and whoever looks for a type then, find an empty registry.
Types& registry()
{
    alignas(Types) static std::byte storage[sizeof(Types)];
    struct Registry {
        Types* types = new (storage) Types;
        ~Registry()
        {
            types->clear();
            types->squeeze();
        }
    };
    static Registry lifetime;
    // Not lifetime.types, which must not be read after the destructor.
    return *std::launder(reinterpret_cast<Types*>(storage));
}

int compareNames(ZbTypeInfo* const& a, ZbTypeInfo* const& b)
{
    return std::strcmp(a->getName(), b->getName());
}

// Index of the last record of that name, or -1. Not findSorted(), for which a key would have to be made,
// whose destructor goes through the whole registry.
long indexOf(const Types& types, const char* name)
{
    if (!name)
        return -1;
    const auto behind =
        std::upper_bound(types.begin(), types.end(), name, [](const char* wanted, const ZbTypeInfo* type) {
            return std::strcmp(wanted, type->getName()) < 0;
        });
    const long last = long(behind - types.begin()) - 1;
    return last >= 0 && std::strcmp(types[last]->getName(), name) == 0 ? last : -1;
}

}  // namespace

ZbTypeInfo::ZbTypeInfo(const char* name, CreateFunc createFunc, const ZbTypeInfo* parent)
    : m_name(name), m_createFunc(createFunc), m_parent(parent)
{
    registry().insertSorted(this, compareNames);
}

ZbTypeInfo::~ZbTypeInfo()
{
    Types& types = registry();
    // By address and not by name: of several records of one name only this one leaves.
    const long index = types.find(this);
    if (index >= 0)
        types.remove(index);
}

bool ZbTypeInfo::isOfType(const ZbTypeInfo* type) const noexcept
{
    const ZbTypeInfo* ancestor = this;
    while (ancestor && ancestor != type)
        ancestor = ancestor->m_parent;
    return ancestor != nullptr;
}

const ZbTypeInfo* ZbTypeInfo::getTypeFromName(const char* name)
{
    const Types& types = registry();
    const long index = indexOf(types, name);
    return index >= 0 ? types[index] : nullptr;
}

void ZbTypeInfo::removeType(const char* name)
{
    Types& types = registry();
    const long index = indexOf(types, name);
    if (index >= 0)
        types.remove(index);
}

const ZbDArray<ZbTypeInfo*>& ZbTypeInfo::allTypes()
{
    return registry();
}
