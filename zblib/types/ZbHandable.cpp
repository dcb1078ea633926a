#include <zblib/types/ZbHandable.h>

ZbHandable::~ZbHandable() = default;

void ZbHandable::unref()
{
    if (--m_refCount > 0)
        return;
    notifyDelete();
    delete this;
}

void ZbHandable::notifyDelete() {}
