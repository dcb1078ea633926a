#include <zblib/types/ZbTypedObject.h>

ZbTypedObject::~ZbTypedObject() = default;

const ZbTypeInfo* ZbTypedObject::getClassTypeId()
{
    static ZbTypeInfo record("ZbTypedObject", nullptr, nullptr);
    return &record;
}
