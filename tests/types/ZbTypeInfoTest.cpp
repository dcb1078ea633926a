#include <zblib/types/ZbTypeInfo.h>

#include <zblib/types/ZbHandable.h>
#include <zblib/types/ZbTypedObject.h>

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace
{

class Shape : public ZbTypedObject
{
    ZB_TYPED_ABSTRACT(Shape)
};

class Triangle : public ZbHandable, public Shape
{
    ZB_TYPED_OBJECT(Triangle)
    ~Triangle() override { ++destroyed; }
    static inline int destroyed = 0;
};

ZB_TYPED_ABSTRACT_SOURCE(Shape, ZbTypedObject)
ZB_TYPED_SOURCE(Triangle, Shape)

ZbTypeInfo* destroyedLate = nullptr;
void useTypesLate(void*)
{
    if (!destroyedLate)
        return;
    const bool found = ZbTypeInfo::getTypeFromName("ZbTypedObject");
    delete destroyedLate;
    const ZbTypeInfo key("key");
    const ZbTypeInfo record("late", nullptr, nullptr);
    if (found || ZbTypeInfo::getTypeFromName("late") != &record)
        std::_Exit(3);
}

// What is registered before the library is initialised runs at exit after the library's own destructors.
[[gnu::section(".preinit_array"), gnu::used]] void (*const registerLate)() = [] {
    abi::__cxa_atexit(useTypesLate, nullptr, nullptr);
};

}  // namespace

TEST(ZbTypeInfo, classesRegisterAfterTheirParentsAndLeaveForGood)
{
    EXPECT_EQ(ZbTypeInfo::getTypeFromName("Triangle"), nullptr);
    zbInitClass_Triangle();
    const ZbTypeInfo* type = ZbTypeInfo::getTypeFromName("Triangle");
    ASSERT_EQ(type, Triangle::getClassTypeId());
    EXPECT_EQ(type->getParent(), ZbTypeInfo::getTypeFromName("Shape"));
    EXPECT_EQ(type->getParent()->getParent(), ZbTypedObject::getClassTypeId());
    EXPECT_FALSE(Shape::getClassTypeId()->canCreateInstance());
    EXPECT_EQ(Shape::getClassTypeId()->createInstance(), nullptr);

    ZbTypedObject* object = type->createInstance();
    EXPECT_EQ(object->getTypeId(), type);
    EXPECT_TRUE(object->isOfType(Shape::getClassTypeId()));
    EXPECT_FALSE(Shape::getClassTypeId()->isOfType(type) || type->isOfType(nullptr));
    EXPECT_NE(dynamic_cast<Triangle*>(object), nullptr);
    Shape::deleteInstance(static_cast<Shape*>(object));
    Triangle::createInstance()->deleteInstance();
    Triangle::deleteInstance(nullptr);
    EXPECT_EQ(Triangle::destroyed, 2);

    zbExitClass_Triangle();
    zbInitClass_Triangle();
    EXPECT_EQ(ZbTypeInfo::getTypeFromName("Triangle"), nullptr);
    EXPECT_EQ(Triangle::getClassTypeId(), type);
}

TEST(ZbTypeInfo, registryStaysSortedUnderRandomRegistrations)
{
    // The model: everything in the order of registration, sorted stably by name.
    std::vector<const ZbTypeInfo*> expected(ZbTypeInfo::allTypes().begin(), ZbTypeInfo::allTypes().end());
    const auto nameOf = [](const ZbTypeInfo* type) { return std::string_view(type->getName()); };
    const char* const names[] = {"", "A", "a", "ab", "Zb", "ZbType", "\xe9", "z"};
    std::vector<std::unique_ptr<ZbTypeInfo>> records;
    std::mt19937 random(5);
    for (int step = 0; step < 400; ++step) {
        const char* name = names[random() % std::size(names)];
        const auto lastNamed = [&] {
            return std::ranges::find(expected.rbegin(), expected.rend(), std::string_view(name), nameOf);
        };
        if (step % 2 == 0) {
            records.push_back(std::make_unique<ZbTypeInfo>(name, nullptr, nullptr));
            expected.push_back(records.back().get());
            std::ranges::stable_sort(expected, {}, nameOf);
        } else if (step % 4 == 1) {
            const auto record = records.begin() + long(random() % records.size());
            std::erase(expected, record->get());
            records.erase(record);
        } else {
            ZbTypeInfo::removeType(name);
            if (const auto last = lastNamed(); last != expected.rend())
                expected.erase(std::next(last).base());
        }
        const ZbTypeInfo key(name);
        ASSERT_TRUE(std::ranges::equal(ZbTypeInfo::allTypes(), expected));
        const auto last = lastNamed();
        ASSERT_EQ(ZbTypeInfo::getTypeFromName(name), last == expected.rend() ? nullptr : *last);
    }
}

TEST(ZbTypeInfo, libraryClassesAreThereOnLoad)
{
    for (const char* name : {"ZbInterface", "ZbInterfaceOwner", "ZbPrimTypeProvider"}) {
        const ZbTypeInfo* type = ZbTypeInfo::getTypeFromName(name);
        ASSERT_NE(type, nullptr) << name;
        EXPECT_TRUE(type->isOfType(ZbTypedObject::getClassTypeId()) && !type->canCreateInstance());
    }
}

TEST(ZbTypeInfo, recordsAndLookupsMayComeAfterTheRegistry)
{
    const auto run = [] {
        destroyedLate = new ZbTypeInfo("destroyed late", nullptr, nullptr);
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}
