#include <zblib/data/ZbDataPointer.h>
#include <zblib/foundation/ZbMemory.h>

#include <gtest/gtest.h>

namespace
{

TEST(ZbDataPointer, takesTypeAndAccessFromThePointer)
{
    const auto expectType = []<typename T>(T value, ZbPrimType::Type type) {
        const ZbDataPointer writable(&value);
        const ZbDataPointer vectors(static_cast<const T*>(&value), 3);
        EXPECT_EQ(writable.primType(), type);
        EXPECT_EQ(vectors.primType(), type);
        EXPECT_FALSE(writable.isReadOnly());
        EXPECT_TRUE(vectors.isReadOnly());
        EXPECT_EQ(vectors.elementSize(), 3 * long(sizeof(T)));
    };
    expectType('a', ZbPrimType::SBYTE);
    expectType(static_cast<unsigned char>(1), ZbPrimType::BYTE);
    expectType(short(1), ZbPrimType::SHORT);
    expectType(static_cast<unsigned short>(1), ZbPrimType::USHORT);
    expectType(1, ZbPrimType::INT);
    expectType(1U, ZbPrimType::UINT);
    expectType(1.0F, ZbPrimType::FLOAT);
    EXPECT_EQ(ZbDataPointer().primType().getType(), -1);
    EXPECT_EQ(ZbDataPointer().numComponents(), 0);
    EXPECT_TRUE(ZbDataPointer().isReadOnly());
}

TEST(ZbDataPointer, takesAnExplicitTypeOrAccess)
{
    float values[6] = {};
    const ZbDataPointer complex(values, ZbPrimType::COMPLEX);  // no number of components
    EXPECT_EQ(complex.primType(), ZbPrimType::COMPLEX);
    EXPECT_EQ(complex.numComponents(), 1);
    const ZbDataPointer readOnly(static_cast<const void*>(values), ZbPrimType(3), 2);
    EXPECT_TRUE(readOnly.isReadOnly());
    EXPECT_FALSE(ZbDataPointer(readOnly, ZbDataPointer::READ_WRITE).isReadOnly());
}

TEST(ZbDataPointer, duplicatesOneElement)
{
    const short vectors[] = {1, 2, 3, 4, 5, 6};
    const ZbDataPointer copy = ZbDataPointer(vectors, 3).duplicateData();
    EXPECT_NE(copy.dataPtr(), vectors);
    EXPECT_TRUE(copy.isReadOnly());
    EXPECT_EQ(copy.int16ConstPtr()[2], 3);
    zbfree(copy.dataPtr());
    EXPECT_EQ(ZbDataPointer().duplicateData().dataPtr(), nullptr);
}

}  // namespace
