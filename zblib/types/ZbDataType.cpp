#include <zblib/types/ZbDataType.h>

#include <cstring>
#include <initializer_list>

namespace
{
constexpr char unknownDescription[] = "unknown";
}

// Constant-initialised, so that other static initialisers may use them.
constinit const ZbDataType ZbDataType::INT8("signed char (8 bit)", ZbPrimType::SBYTE);
constinit const ZbDataType ZbDataType::UINT8("unsigned char (8 bit)", ZbPrimType::BYTE);
constinit const ZbDataType ZbDataType::INT16("signed short (16 bit)", ZbPrimType::SHORT);
constinit const ZbDataType ZbDataType::UINT16("unsigned short (16 bit)", ZbPrimType::USHORT);
constinit const ZbDataType ZbDataType::INT32("signed int (32 bit)", ZbPrimType::INT);
constinit const ZbDataType ZbDataType::UINT32("unsigned int (32 bit)", ZbPrimType::UINT);
constinit const ZbDataType ZbDataType::FLOAT("float (32 bit)", ZbPrimType::FLOAT);
constinit const ZbDataType ZbDataType::DOUBLE("double (64 bit)", ZbPrimType::DOUBLE);
constinit const ZbDataType ZbDataType::UNKNOWN(unknownDescription, ZbPrimType::DOUBLE);  // DOUBLE is meant

ZbDataType::ZbDataType(ZbPrimType type) noexcept : ZbDataType(UNKNOWN)
{
    for (const ZbDataType* known : {&INT8, &UINT8, &INT16, &UINT16, &INT32, &UINT32, &FLOAT, &DOUBLE}) {
        if (known->m_type == type)
            *this = *known;
    }
}

bool ZbDataType::isZbPrimType() const noexcept
{
    const bool isUnknown =
        m_type == ZbPrimType::DOUBLE && m_description && std::strcmp(m_description, unknownDescription) == 0;
    return (isInteger() || isFloat()) && !isUnknown;
}

bool ZbDataType::isInteger() const noexcept
{
    switch (m_type) {
    case ZbPrimType::BYTE:
    case ZbPrimType::SHORT:
    case ZbPrimType::INT:
    case ZbPrimType::USHORT:
    case ZbPrimType::UINT:
    case ZbPrimType::SBYTE:
        return true;
    default:
        return false;  // 64-bit integers too: they are no classic types
    }
}

bool ZbDataType::isFloat() const noexcept
{
    return m_type == ZbPrimType::FLOAT || m_type == ZbPrimType::DOUBLE;
}
