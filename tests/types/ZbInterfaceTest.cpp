#include <zblib/types/ZbInterface.h>

#include <zblib/types/ZbInterfaceOwnerDefaultImpl.h>
#include <zblib/types/ZbPrimTypeProvider.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

using testing::ElementsAre;

namespace
{

constexpr auto managed = ZbInterfaceOwner::MANAGE_MEMORY;
constexpr auto unmanaged = ZbInterfaceOwner::STATIC_MEMORY;

std::vector<int> destroyed;

class Named : public ZbInterface
{
    ZB_TYPED_ABSTRACT(Named)
    Named(int id, ZbInterfaceOwner* owner, ZbInterfaceOwner::MemoryPolicy policy)
        : ZbInterface(owner, policy), m_id(id)
    {
    }
    ~Named() override
    {
        destroyed.push_back(m_id);
        if (onDestruction)
            onDestruction();
    }
    std::function<void()> onDestruction;
    const int m_id;
};

// Has its interface base behind another base, and a second one.
class Special : public ZbHandable, public Named, public ZbPrimTypeProvider
{
    ZB_TYPED_ABSTRACT(Special)
    Special(int id, ZbInterfaceOwner* owner, ZbInterfaceOwner::MemoryPolicy policy)
        : Named(id, owner, policy), ZbPrimTypeProvider(owner, unmanaged)
    {
    }
    ZbPrimType primType() const override { return ZbPrimType::USHORT; }
};

ZB_TYPED_ABSTRACT_SOURCE(Named, ZbInterface)
ZB_TYPED_ABSTRACT_SOURCE(Special, Named)

struct Kept : ZbHandable {
    ~Kept() override { destroyed.push_back(100); }
};

struct ZbInterfaceTest : testing::Test {
    ZbInterfaceTest() { destroyed.clear(); }

    std::vector<ZbTypedObject*> all(bool attach) const
    {
        ZbDArray<ZbTypedObject*> out{nullptr};  // replaced
        owner->getAllInterfaces(out, attach);
        return {out.begin(), out.end()};
    }
    ZbHandle<ZbInterfaceOwnerDefaultImpl> owner{new ZbInterfaceOwnerDefaultImpl};
};

}  // namespace

TEST_F(ZbInterfaceTest, theLastRegisteredOfATypeHidesTheOthers)
{
    Named first(1, owner.get(), unmanaged);
    EXPECT_EQ(zbinterface_cast<Special>(&first), nullptr);
    Named second(2, owner.get(), ZbInterfaceOwner::MemoryPolicy(2));  // unmanaged too
    EXPECT_THAT(all(false), ElementsAre(&second, &first, owner.get()));
    EXPECT_EQ(zbinterface_cast<Named>(&first), &second);
    owner->registerInterfaceStaticMemory(&first);
    owner->registerInterfaceStaticMemory(nullptr);
    EXPECT_EQ(zbinterface_cast<Named>(&second), &first);
    EXPECT_EQ(zbinterface_cast<ZbInterfaceOwner>(&first), owner.get());
    EXPECT_EQ(zbinterface_cast<Named>(nullptr), nullptr);
    EXPECT_EQ(first.getInterface(nullptr, true), nullptr);
}

TEST_F(ZbInterfaceTest, castsReachClassesWithSeveralBases)
{
    auto* plain = new Named(1, owner.get(), managed);
    auto* special = new Special(2, owner.get(), managed);
    EXPECT_EQ(zbinterface_cast<Special>(plain), special);
    EXPECT_EQ(zbinterface_cast<Named>(plain), special);
    EXPECT_EQ(zbinterface_cast<ZbPrimTypeProvider>(plain), nullptr);  // its type's one parent is Named
}

TEST_F(ZbInterfaceTest, attachesOnceAndOnlyWhenAsked)
{
    static int calls = 0;
    const auto attach = [](void* data) {
        auto* to = static_cast<ZbInterfaceOwner*>(data);
        new Named(++calls, to, managed);
        EXPECT_NE(to->getInterface(Named::getClassTypeId(), true), nullptr);
    };
    owner->registerAttachInterfacesOnceCB([](void*) { FAIL(); }, nullptr);
    owner->registerAttachInterfacesOnceCB(attach, static_cast<ZbInterfaceOwner*>(owner.get()));
    EXPECT_EQ(owner->getInterface(Named::getClassTypeId(), false), nullptr);
    EXPECT_EQ(all(false).size(), 1u);
    EXPECT_EQ(all(true).size(), 2u);
    EXPECT_NE(owner->getInterface(Named::getClassTypeId(), true), nullptr);
    EXPECT_EQ(calls, 1);
}

TEST_F(ZbInterfaceTest, theLastReferenceTearsDownNewestFirst)
{
    auto* first = new Named(1, owner.get(), managed);
    auto* second = new Named(2, owner.get(), managed);
    first->manageMemory(nullptr);
    first->manageMemory(new Named(3, owner.get(), unmanaged));
    const ZbHandle<Kept> kept(new Kept);
    first->handleObject(kept.get());
    owner->dontManageMemory(second);
    delete second;  // not managed any more: nothing else goes
    EXPECT_EQ(all(false).size(), 4u);
    first->ref();
    owner = nullptr;
    EXPECT_THAT(destroyed, ElementsAre(2));
    first->unref();
    EXPECT_THAT(destroyed, ElementsAre(2, 3, 1));
    EXPECT_EQ(kept->getRefCount(), 1);
}

TEST_F(ZbInterfaceTest, destructorsMayChangeTheListsDuringTeardown)
{
    auto* zeroth = new Named(0, owner.get(), managed);
    auto* first = new Named(1, owner.get(), managed);
    auto* second = new Named(2, owner.get(), managed);
    const auto finds = [first] { return first->getInterface(Named::getClassTypeId(), true) != nullptr; };
    second->onDestruction = [=] {
        EXPECT_FALSE(finds());
        new Named(3, first->getOwner(), managed);
        first->handleObject(new Kept);
        delete zeroth;
        EXPECT_THAT(destroyed, ElementsAre(2, 0));
    };
    first->onDestruction = [=] { EXPECT_FALSE(finds()); };
    owner = nullptr;
    EXPECT_THAT(destroyed, ElementsAre(2, 0, 3, 1, 100));
}

TEST_F(ZbInterfaceTest, deletingAManagedInterfaceTearsDownTheRest)
{
    new Named(1, owner.get(), managed);
    auto* second = new Special(2, owner.get(), managed);
    new Named(3, owner.get(), managed);
    owner->handleObject(new Kept);
    delete second;
    EXPECT_THAT(destroyed, ElementsAre(2, 3, 1, 100));
    EXPECT_EQ(all(true).size(), 1u);
    delete new Named(4, owner.get(), managed);
    EXPECT_EQ(all(true).size(), 1u);
}

TEST_F(ZbInterfaceTest, anInterfaceWithoutOwnerMakesItsOwn)
{
    ZbHandle<Named> lone(new Named(1, nullptr, managed));
    EXPECT_EQ(zbinterface_cast<Named>(lone.get()), lone.get());
    EXPECT_STREQ(lone->getOwner()->getTypeId()->getName(), "ZbInterfaceOwner");
    EXPECT_THAT(destroyed, ElementsAre());
    lone = nullptr;
    EXPECT_THAT(destroyed, ElementsAre(1));
}
