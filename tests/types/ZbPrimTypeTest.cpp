#include <zblib/types/ZbPrimTypeVisit.h>
#include <zblib/types/ZbTypedPointer.h>

#include <gtest/gtest.h>

#include <climits>
#include <complex>
#include <stdexcept>
#include <string>
#include <type_traits>

static_assert(sizeof(ZbPrimType) == 4 && std::is_trivially_copyable_v<ZbPrimType>);
static_assert(!std::is_constructible_v<ZbPrimType, const char*>);
static_assert(!std::is_constructible_v<ZbTypedPointer, const float*>);

namespace
{

template <typename T>
constexpr bool isComplex = std::is_same_v<T, std::complex<float>>;

// The code for a pointer to T, given to a type and to a typed pointer.
template <typename T>
int codeOf()
{
    T value{};
    EXPECT_EQ(ZbTypedPointer(&value).getPrimType(), ZbPrimType(&value));
    return ZbPrimType(&value);
}

}  // namespace

TEST(ZbPrimType, answersLikeTheCppTypeBehindTheCode)
{
    const char* const names[] = {"byte",   "short",  "int",  "float", "double", "complex",
                                 "string", "ushort", "uint", "sbyte", "int64",  "uint64"};
    for (int code = 0; code < 12; ++code) {
        SCOPED_TRACE(names[code]);
        const ZbPrimType type(code);
        EXPECT_STREQ(type.getName(), names[code]);
        ZbPrimType::Type found = ZbPrimType::COMPLEX;
        EXPECT_TRUE(ZbPrimType::convertNameToType(names[code], found));
        EXPECT_EQ(found, code);
        EXPECT_EQ(type.hasTotalOrder(), code != 5);
        EXPECT_TRUE(zbVisitPrimType(type, [&](auto tag) {
            using Value = typename decltype(tag)::Type;
            constexpr bool isInteger = std::is_integral_v<Value>, isSigned = std::is_signed_v<Value>;
            constexpr bool isFloat = std::is_floating_point_v<Value> || isComplex<Value>;
            EXPECT_EQ(type.getTypeSize(), int(sizeof(Value)));
            EXPECT_EQ(type.isInteger(), isInteger);
            EXPECT_EQ(type.isSigned(), isSigned);
            EXPECT_EQ(type.isFloat(), isFloat);
            const std::string unsignedOrNone = isInteger ? "unsigned" : "";
            EXPECT_EQ(type.getSignedness(), isFloat ? "float" : isSigned ? "signed" : unsignedOrNone);
            if constexpr (isInteger || std::is_floating_point_v<Value>)
                EXPECT_EQ(codeOf<Value>(), code);
            else
                EXPECT_EQ(code, isComplex<Value> ? 5 : 6);
        }));
    }
    EXPECT_EQ(codeOf<char>(), ZbPrimType::SBYTE);
    EXPECT_EQ(codeOf<long>(), ZbPrimType::INT64);
    EXPECT_EQ(codeOf<unsigned long>(), ZbPrimType::UINT64);
    ZbPrimType::Type type = ZbPrimType::COMPLEX;
    const char* const none[] = {"uint6", "UINT", "floats", "", "unknown", nullptr};
    for (const char* name : none)
        EXPECT_FALSE(ZbPrimType::convertNameToType(name, type));
    EXPECT_EQ(type, ZbPrimType::COMPLEX);
}

TEST(ZbPrimType, comparesWithTypesCodesAndEnumerators)
{
    ZbPrimType p;
    EXPECT_EQ(p.getType(), ZbPrimType::BYTE);
    p = ZbPrimType::FLOAT;
    const ZbPrimType q = 3;
    EXPECT_TRUE(p == q && p == 3 && 3 == p && p == ZbPrimType::FLOAT && ZbPrimType::FLOAT == p);
    EXPECT_FALSE(p != q || p != 3 || 3 != p || p != ZbPrimType::FLOAT || ZbPrimType::FLOAT != p);
    p = -1;
    EXPECT_TRUE(p == -1 && p != q && q != -1 && p < 0);
    EXPECT_TRUE(q == 3L && 3U == q && q != 0x100000003);
}

TEST(ZbPrimType, queriesOfABrokenCodeRaiseWhatIsBeingHandled)
{
    for (const int code : {-1, 12, INT_MIN, INT_MAX}) {
        const ZbPrimType type(code);
        EXPECT_STREQ(type.getName(), "unknown");
        EXPECT_TRUE(!type.isFloat() && type.hasTotalOrder());
        try {
            throw std::out_of_range("being handled");
        } catch (const std::out_of_range&) {
            EXPECT_THROW((void)type.getTypeSize(), std::out_of_range);
            EXPECT_THROW((void)type.isInteger(), std::out_of_range);
            EXPECT_THROW((void)type.isSigned(), std::out_of_range);
            EXPECT_THROW((void)type.getSignedness(), std::out_of_range);
        }
    }
    EXPECT_DEATH((void)ZbPrimType(12).getTypeSize(), "");
}

TEST(ZbPrimTypeVisit, visitsListedTypesOnly)
{
    for (int code = -1; code < 13; ++code) {
        SCOPED_TRACE(code);
        int size = 0;
        const bool listed = zbVisitPrimType<short, unsigned long long>(
            ZbPrimType(code), [&](auto tag) { size = sizeof(typename decltype(tag)::Type); });
        EXPECT_EQ(listed, code == 1 || code == 11);
        EXPECT_EQ(size, code == 1 ? 2 : code == 11 ? 8 : 0);
        EXPECT_EQ(zbVisitPrimType(ZbPrimType(code), [](auto) {}), code >= 0 && code < 12);
    }
}
