#include <zblib/types/ZbPrimTypeProvider.h>

ZB_TYPED_ABSTRACT_SOURCE(ZbPrimTypeProvider, ZbInterface)

namespace
{
// The class can be found by its name as soon as the library is loaded.
[[maybe_unused]] const ZbTypeInfo* const registeredAtLoad = ZbPrimTypeProvider::getClassTypeId();
}  // namespace

ZbPrimTypeProvider::~ZbPrimTypeProvider() = default;
