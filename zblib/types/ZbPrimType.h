#pragma once

#include <zblib/foundation/ZbExport.h>

#include <concepts>
#include <type_traits>

namespace ZbDetail
{

// The code of each C++ type that has one, -1 for all others.
template <typename T>
inline constexpr int primTypeCode = -1;
template <>
inline constexpr int primTypeCode<unsigned char> = 0;
template <>
inline constexpr int primTypeCode<short> = 1;
template <>
inline constexpr int primTypeCode<int> = 2;
template <>
inline constexpr int primTypeCode<float> = 3;
template <>
inline constexpr int primTypeCode<double> = 4;
template <>
inline constexpr int primTypeCode<unsigned short> = 7;
template <>
inline constexpr int primTypeCode<unsigned int> = 8;
template <>
inline constexpr int primTypeCode<signed char> = 9;
template <>
inline constexpr int primTypeCode<char> = 9;
template <>
inline constexpr int primTypeCode<long> = 10;
template <>
inline constexpr int primTypeCode<long long> = 10;
template <>
inline constexpr int primTypeCode<unsigned long> = 11;
template <>
inline constexpr int primTypeCode<unsigned long long> = 11;

struct PrimTypeProperties {
    const char* name;
    const char* signedness;
    int size;  // bytes
    bool isInteger;
    bool isSigned;
};

// In the order of the codes. Complex is not signed although float and double are: its values have no
// sign, its components do.
inline constexpr PrimTypeProperties primTypeTable[] = {
    {"byte", "unsigned", 1, true, false}, {"short", "signed", 2, true, true},
    {"int", "signed", 4, true, true},     {"float", "float", 4, false, true},
    {"double", "float", 8, false, true},  {"complex", "float", 8, false, false},
    {"string", "", 8, false, false},      {"ushort", "unsigned", 2, true, false},
    {"uint", "unsigned", 4, true, false}, {"sbyte", "signed", 1, true, true},
    {"int64", "signed", 8, true, true},   {"uint64", "unsigned", 8, true, false},
};

}  // namespace ZbDetail

/// The type of the elements of a block of data: one of twelve codes, and the answers to questions about it.
///
/// A plain value of four bytes, passed around freely and stored by its code; every block of typed data
/// carries one. To run an algorithm on the C++ type behind a code, see zbVisitPrimType(). All queries are
/// O(1) and may be used before main() and from any thread.
///
/// The queries of size, integer and signedness require a code in [0, 11]: for any other they re-raise the
/// exception being handled, which ends the process when there is none.
class ZB_API ZbPrimType
{
public:
    /// Callers store these codes in files: they are never renumbered.
    enum Type : int {
        BYTE = 0,     ///< unsigned char
        SHORT = 1,    ///< short
        INT = 2,      ///< int
        FLOAT = 3,    ///< float
        DOUBLE = 4,   ///< double
        COMPLEX = 5,  ///< two floats, real and imaginary
        STRING = 6,   ///< pointer to a zero-terminated text
        USHORT = 7,   ///< unsigned short
        UINT = 8,     ///< unsigned int
        SBYTE = 9,    ///< signed char
        INT64 = 10,   ///< long long
        UINT64 = 11   ///< unsigned long long
    };

    /// BYTE.
    constexpr ZbPrimType() noexcept = default;
    /// Stores any code, also one that names no type, such as -1 for "none".
    constexpr ZbPrimType(int code) noexcept : m_code(code) {}

    /// The type that the pointer points to, for templates: ZbPrimType((T*)0). char counts as SBYTE, long and
    /// unsigned long as INT64 and UINT64.
    template <typename T>
    requires(ZbDetail::primTypeCode<std::remove_const_t<T>> >= 0) constexpr explicit ZbPrimType(T*) noexcept
        : m_code(ZbDetail::primTypeCode<std::remove_const_t<T>>)
    {
    }
    // A text here is meant as the name of a type, for which convertNameToType() is there.
    ZbPrimType(const char*) = delete;

    constexpr Type getType() const noexcept { return static_cast<Type>(m_code); }
    constexpr operator int() const noexcept { return m_code; }

    /// "byte" to "uint64" (the enumerators in lower case), "unknown" for a code outside [0, 11].
    constexpr const char* getName() const noexcept
    {
        return isValid() ? ZbDetail::primTypeTable[m_code].name : "unknown";
    }
    /// Bytes of one element.
    constexpr int getTypeSize() const { return properties().size; }
    constexpr int size() const { return getTypeSize(); }

    constexpr bool isInteger() const { return properties().isInteger; }
    /// True for the signed integers, FLOAT and DOUBLE. COMPLEX is not signed.
    constexpr bool isSigned() const { return properties().isSigned; }
    /// "signed" or "unsigned" for integers, "float" for FLOAT, DOUBLE and COMPLEX, "" for STRING.
    constexpr const char* getSignedness() const { return properties().signedness; }

    /// True for FLOAT, DOUBLE and COMPLEX.
    constexpr bool isFloat() const noexcept { return m_code >= FLOAT && m_code <= COMPLEX; }
    /// False for COMPLEX only.
    constexpr bool hasTotalOrder() const noexcept { return m_code != COMPLEX; }

    /// Stores the type of that name in type. False, and type unchanged, when name is no name of a type; case
    /// and length matter. A null name is none.
    [[nodiscard]] static bool convertNameToType(const char* name, Type& type);

    friend constexpr bool operator==(ZbPrimType a, ZbPrimType b) noexcept { return a.m_code == b.m_code; }
    // Exact matches for codes of any integer type, and for enumerators. Without them, converting the code to a
    // type and the type to a code would be equally good, and p == 3 ambiguous.
    friend constexpr bool operator==(ZbPrimType a, int code) noexcept { return a.m_code == code; }
    friend constexpr bool operator==(ZbPrimType a, std::integral auto code) noexcept
    {
        return a.m_code == static_cast<long long>(code);
    }

private:
    constexpr bool isValid() const noexcept { return m_code >= BYTE && m_code <= UINT64; }
    constexpr const ZbDetail::PrimTypeProperties& properties() const
    {
        if (!isValid())
            raiseBrokenCode();
        return ZbDetail::primTypeTable[m_code];
    }
    [[noreturn]] static void raiseBrokenCode();

    int m_code = BYTE;
};
