#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbPrimType.h>

/// One of the eight classic types of image elements, with a description for people.
///
/// For lists in which a user chooses; ZbPrimType is what data carries. The constants are ready before any
/// code runs, and nothing changes them: any thread may use them. 64-bit integers, COMPLEX and STRING are no
/// classic types: their data type is UNKNOWN.
class ZB_API ZbDataType
{
public:
    static const ZbDataType INT8;    ///< "signed char (8 bit)"
    static const ZbDataType UINT8;   ///< "unsigned char (8 bit)"
    static const ZbDataType INT16;   ///< "signed short (16 bit)"
    static const ZbDataType UINT16;  ///< "unsigned short (16 bit)"
    static const ZbDataType INT32;   ///< "signed int (32 bit)"
    static const ZbDataType UINT32;  ///< "unsigned int (32 bit)"
    static const ZbDataType FLOAT;   ///< "float (32 bit)"
    static const ZbDataType DOUBLE;  ///< "double (64 bit)"
    /// "unknown". It carries the code of DOUBLE, so it is equal to DOUBLE, isFloat(), and has size 8.
    static const ZbDataType UNKNOWN;

    /// description is not copied and outlives the data type; a string literal.
    constexpr ZbDataType(const char* description, ZbPrimType type) noexcept
        : m_description(description), m_type(type)
    {
    }
    /// The constant for that type, UNKNOWN where there is none.
    explicit ZbDataType(ZbPrimType type) noexcept;

    constexpr const char* getDescription() const noexcept { return m_description; }
    constexpr ZbPrimType getPrimType() const noexcept { return m_type; }

    /// Whether it is one of the classic types. False for UNKNOWN, which its description tells from DOUBLE.
    bool isZbPrimType() const noexcept;
    bool isInteger() const noexcept;
    /// True for float and double; complex is no classic type.
    bool isFloat() const noexcept;
    /// Bytes of one element; 0 for the code -1.
    int size() const { return m_type == -1 ? 0 : m_type.size(); }

    /// Compares the types, never the descriptions.
    friend constexpr bool operator==(const ZbDataType& a, const ZbDataType& b) noexcept
    {
        return a.m_type == b.m_type;
    }

private:
    const char* m_description;
    ZbPrimType m_type;
};
