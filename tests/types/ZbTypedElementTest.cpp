#include <zblib/types/ZbTypedElement.h>

#include <zblib/types/ZbDataType.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace
{

template <typename T, size_t N>
ZbTypedElement view(T (&values)[N])
{
    return ZbTypedElement(values, ZbPrimType(values), int(N));
}

bool isComparable(int code)
{
    return code <= 4 || code == 7;
}

}  // namespace

TEST(ZbTypedElement, copiesOwnTheirComponents)
{
    double values[] = {1, 2, 3};
    ZbTypedElement element = view(values);
    EXPECT_EQ(element.getData(), values);
    const ZbTypedElement copy(element);
    element = *&element;  // a view becomes an owner of the same values
    values[0] = 9;
    EXPECT_TRUE(element.isEqual(copy, 0));
    EXPECT_NE(element.getData(), copy.getData());
    // The last two components of its own buffer.
    element = ZbTypedElement(static_cast<double*>(element.getData()) + 1, ZbPrimType::DOUBLE, 2);
    EXPECT_TRUE(element.isEqual(ZbTypedElement(values + 1, ZbPrimType::DOUBLE, 2), 0));
    element = ZbTypedElement(nullptr, ZbPrimType::INT, -1);
    EXPECT_EQ(element.getCount(), -1);
}

TEST(ZbTypedElement, equalityDependsOnTypeAndCount)
{
    alignas(8) char zeros[2][16] = {};
    for (int code = 0; code < 12; ++code) {
        SCOPED_TRACE(code);
        const ZbTypedElement a(zeros[0], ZbPrimType(code), 2);
        EXPECT_EQ(a.isEqual(ZbTypedElement(zeros[1], ZbPrimType(code), 2), 1), isComparable(code));
        EXPECT_FALSE(a.isEqual(ZbTypedElement(zeros[1], ZbPrimType(code), 1), 1));
        EXPECT_FALSE(a.isEqual(ZbTypedElement(zeros[1], ZbPrimType((code + 1) % 12), 2), 1));
        EXPECT_TRUE(ZbTypedElement(nullptr, ZbPrimType(code), 0).isEqual(a, 0));
    }
}

TEST(ZbTypedElement, onlyFloatingPointHasATolerance)
{
    int i[] = {1, 5}, j[] = {1, 6};
    EXPECT_FALSE(view(i).isEqual(view(j), 100));
    float f[] = {0, 1}, g[] = {0, 1.25f}, nan[] = {0, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_TRUE(view(f).isEqual(view(g), 0.25f) && view(g).isEqual(view(f), 0.25f));
    EXPECT_FALSE(view(f).isEqual(view(g), std::nextafter(0.25f, 0.f)));
    EXPECT_TRUE(view(f).isEqual(view(nan), 0));
    double d[] = {0, 0}, e[] = {0, double(0.1f)}, beyond[] = {0, std::nextafter(double(0.1f), 1.)};
    EXPECT_TRUE(view(d).isEqual(view(e), 0.1f));
    EXPECT_FALSE(view(d).isEqual(view(beyond), 0.1f));
}

template <typename T>
class ZbTypedElementArithmetic : public testing::Test
{
};
using AllTypes = testing::Types<unsigned char, short, int, float, double, unsigned short, unsigned int>;
TYPED_TEST_SUITE(ZbTypedElementArithmetic, AllTypes);

TYPED_TEST(ZbTypedElementArithmetic, sumsWrapAndSquaresDoNotOverflow)
{
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const bool known = isComparable(ZbPrimType(static_cast<T*>(nullptr)));
    const T top = Limits::is_integer ? Limits::max() : T(1e30);
    const T before[] = {3, top, top};
    T a[] = {3, top, top};
    T b[] = {4, 1, top};
    T sums[] = {7, Limits::is_integer ? Limits::lowest() : top, Limits::is_integer ? T(-2) : T(top + top)};
    ZbTypedElement sum = view(a);
    sum += view(b);
    EXPECT_EQ(std::memcmp(a, known ? sums : before, sizeof a), 0);
    sum -= view(b);
    EXPECT_EQ(std::memcmp(a, before, sizeof a), 0);
    sum += ZbTypedElement(b, ZbPrimType(b), 2);  // a different count
    sum -= ZbTypedElement(b, ZbPrimType::STRING, 3);
    EXPECT_EQ(std::memcmp(a, before, sizeof a), 0);
    a[0] = 0;
    EXPECT_DOUBLE_EQ(sum.length(), known ? std::sqrt(2.0) * double(top) : 0.0);
}

TEST(ZbDataType, describesTheClassicTypes)
{
    const struct {
        const ZbDataType& constant;
        const char* description;
        int code;
    } rows[] = {
        {ZbDataType::INT8, "signed char (8 bit)", 9},    {ZbDataType::UINT8, "unsigned char (8 bit)", 0},
        {ZbDataType::INT16, "signed short (16 bit)", 1}, {ZbDataType::UINT16, "unsigned short (16 bit)", 7},
        {ZbDataType::INT32, "signed int (32 bit)", 2},   {ZbDataType::UINT32, "unsigned int (32 bit)", 8},
        {ZbDataType::FLOAT, "float (32 bit)", 3},        {ZbDataType::DOUBLE, "double (64 bit)", 4},
    };
    for (const auto& row : rows) {
        for (const ZbDataType& type : {row.constant, ZbDataType(ZbPrimType(row.code))}) {
            EXPECT_STREQ(type.getDescription(), row.description);
            EXPECT_EQ(type.getPrimType(), row.code);
            EXPECT_EQ(type.size(), ZbPrimType(row.code).size());
            EXPECT_EQ(type.isInteger(), row.code != 3 && row.code != 4);
            EXPECT_TRUE(type.isZbPrimType() && type.isFloat() != type.isInteger());
        }
    }
}

TEST(ZbDataType, unknownIsNoDoubleAlthoughItIsEqual)
{
    for (const int code : {5, 6, 10, 11, 12, -1}) {
        const ZbDataType type{ZbPrimType(code)};
        EXPECT_STREQ(type.getDescription(), "unknown");
        EXPECT_EQ(type, ZbDataType::DOUBLE);
        EXPECT_EQ(type.size(), 8);
        EXPECT_FALSE(type.isInteger() || type.isZbPrimType());
    }
    EXPECT_EQ(ZbDataType("none", ZbPrimType(-1)).size(), 0);
    const ZbDataType wide("64 bits", ZbPrimType::INT64);
    EXPECT_FALSE(wide.isInteger() || wide.isFloat() || wide.isZbPrimType());
}
