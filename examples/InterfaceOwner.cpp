// An object that offers its aspects as interfaces, one of which is only made when somebody asks for it.
// The code that uses them does not know the object's class.

#include <zblib/types/ZbHandle.h>
#include <zblib/types/ZbInterface.h>
#include <zblib/types/ZbInterfaceOwnerDefaultImpl.h>
#include <zblib/types/ZbPrimTypeProvider.h>

#include <algorithm>
#include <iostream>
#include <vector>

/// The interface of objects that know the range of their values.
class RangeProvider : public ZbInterface
{
    ZB_TYPED_ABSTRACT(RangeProvider)
public:
    using ZbInterface::ZbInterface;
    virtual std::pair<float, float> range() const = 0;
};
ZB_TYPED_ABSTRACT_SOURCE(RangeProvider, ZbInterface)

/// Samples of a signal. It counts its references, so it is made with new and held by a ZbHandle.
class Signal : public ZbInterfaceOwnerDefaultImpl
{
public:
    explicit Signal(std::vector<float> samples) : m_samples(std::move(samples))
    {
        // Managed: the signal deletes the interface when its last reference goes.
        new TypeAspect(this, MANAGE_MEMORY);
        registerAttachInterfacesOnceCB(attach, this);
    }

private:
    class TypeAspect : public ZbPrimTypeProvider
    {
    public:
        using ZbPrimTypeProvider::ZbPrimTypeProvider;
        ZbPrimType primType() const override { return ZbPrimType::FLOAT; }
    };

    class RangeAspect : public RangeProvider
    {
    public:
        explicit RangeAspect(Signal* signal) : RangeProvider(signal, MANAGE_MEMORY)
        {
            const auto [smallest, largest] =
                std::minmax_element(signal->m_samples.begin(), signal->m_samples.end());
            m_range = {*smallest, *largest};
        }
        std::pair<float, float> range() const override { return m_range; }

    private:
        std::pair<float, float> m_range;
    };

    static void attach(void* signal) { new RangeAspect(static_cast<Signal*>(signal)); }

    std::vector<float> m_samples;
};

int main()
{
    const ZbHandle<Signal> signal(new Signal({3, -1, 4, 1, -5}));

    // Any interface leads to all others of the same object.
    auto* typed =
        static_cast<ZbPrimTypeProvider*>(signal->getInterface(ZbPrimTypeProvider::getClassTypeId(), false));
    auto* ranged = zbinterface_cast<RangeProvider>(typed);  // attaches it
    if (!ranged)
        return 1;
    const auto [smallest, largest] = ranged->range();
    std::cout << typed->primType().getName() << " from " << smallest << " to " << largest << '\n';
    return 0;
}
