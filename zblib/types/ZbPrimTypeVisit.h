#pragma once

#include <zblib/types/ZbPrimType.h>

#include <complex>
#include <type_traits>

/// Stands for the type T as an argument; the function that it is passed to finds T as its member Type.
template <typename T>
struct ZbTypeTag {
    using Type = T;
};

namespace ZbDetail
{

template <typename T, typename... Types>
inline constexpr bool isOneOf = (std::is_same_v<T, Types> || ...);

// The C++ types behind the codes. STRING and COMPLEX have no code of their own in primTypeCode.
template <typename T>
inline constexpr bool isPrimCppType =
    isOneOf<T, unsigned char, short, int, float, double, std::complex<float>, const char*, unsigned short,
            unsigned int, signed char, long long, unsigned long long>;

template <typename T, typename... Types, typename Visit>
constexpr bool visitIfListed(Visit& visit)
{
    if constexpr (sizeof...(Types) == 0 || isOneOf<T, Types...>) {
        visit(ZbTypeTag<T>{});
        return true;
    } else {
        return false;
    }
}

}  // namespace ZbDetail

/// Calls visit(ZbTypeTag<T>{}) for the C++ type T of type, when T is one of Types, and returns true.
///
/// Without Types all twelve are visited. Returns false, and visit is not called, for a type that is not
/// listed and for a code outside [0, 11]. COMPLEX is std::complex<float>, STRING is const char*, INT64 and
/// UINT64 are long long and unsigned long long. visit is compiled for the listed types only.
///
///     bool known = zbVisitPrimType<unsigned char, short, float>(pointer.getPrimType(), [&](auto tag) {
///         using Value = typename decltype(tag)::Type;
///         sum = sumOf(static_cast<const Value*>(pointer.getData()), count);
///     });
///
/// Visit outside of loops over elements, so that the compiler sees the type in them.
template <typename... Types, typename Visit>
constexpr bool zbVisitPrimType(ZbPrimType type, Visit&& visit)
{
    static_assert((ZbDetail::isPrimCppType<Types> && ...),
                  "No element type has this C++ type. The 64-bit ones are long long and unsigned long long.");
    switch (type.getType()) {  // no default: -Wswitch points here when a type is added
    case ZbPrimType::BYTE:
        return ZbDetail::visitIfListed<unsigned char, Types...>(visit);
    case ZbPrimType::SHORT:
        return ZbDetail::visitIfListed<short, Types...>(visit);
    case ZbPrimType::INT:
        return ZbDetail::visitIfListed<int, Types...>(visit);
    case ZbPrimType::FLOAT:
        return ZbDetail::visitIfListed<float, Types...>(visit);
    case ZbPrimType::DOUBLE:
        return ZbDetail::visitIfListed<double, Types...>(visit);
    case ZbPrimType::COMPLEX:
        return ZbDetail::visitIfListed<std::complex<float>, Types...>(visit);
    case ZbPrimType::STRING:
        return ZbDetail::visitIfListed<const char*, Types...>(visit);
    case ZbPrimType::USHORT:
        return ZbDetail::visitIfListed<unsigned short, Types...>(visit);
    case ZbPrimType::UINT:
        return ZbDetail::visitIfListed<unsigned int, Types...>(visit);
    case ZbPrimType::SBYTE:
        return ZbDetail::visitIfListed<signed char, Types...>(visit);
    case ZbPrimType::INT64:
        return ZbDetail::visitIfListed<long long, Types...>(visit);
    case ZbPrimType::UINT64:
        return ZbDetail::visitIfListed<unsigned long long, Types...>(visit);
    }
    return false;
}
