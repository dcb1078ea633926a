#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbPrimType.h>

#include <concepts>
#include <type_traits>

/// Where typed data begins: a pointer, the type of its values and the number of values in an element.
///
/// A plain value that owns nothing and is const like a pointer is: what it points to may be written through
/// a const ZbDataPointer. It knows neither how many elements there are nor how they are laid out; see
/// ZbBytePattern and ZbMemorySelection. For a single, densely stored value an element there is
/// ZbTypedPointer. Thread-safe as pointers are.
class ZB_API ZbDataPointer
{
public:
    enum AccessType {
        READ_WRITE = 0,
        READ_ONLY = 1,
    };

    /// Null, read-only, of type code -1 and with no components.
    ZbDataPointer() noexcept = default;

    /// Elements of numComponents values each. Pointers to const make it read-only.
    ZbDataPointer(void* data, ZbPrimType type, int numComponents = 1) noexcept
        : ZbDataPointer(data, type, numComponents, READ_WRITE)
    {
    }
    ZbDataPointer(const void* data, ZbPrimType type, int numComponents = 1) noexcept
        : ZbDataPointer(const_cast<void*>(data), type, numComponents, READ_ONLY)
    {
    }
    /// The type follows from the pointer: ZbDataPointer(voxels), ZbDataPointer(vectors, 3). char* is SBYTE.
    template <typename T>
    requires(ZbDetail::primTypeCode<std::remove_const_t<T>> >= 0) ZbDataPointer(T* data)
    noexcept : ZbDataPointer(data, 1) {}
    // Only for integers: an enumerator in that place is a type, not a number of components.
    template <typename T, std::integral Count>
    requires(ZbDetail::primTypeCode<std::remove_const_t<T>> >= 0) ZbDataPointer(T* data, Count numComponents)
    noexcept
        : ZbDataPointer(const_cast<std::remove_const_t<T>*>(data),
                        ZbDetail::primTypeCode<std::remove_const_t<T>>, int(numComponents),
                        std::is_const_v<T> ? READ_ONLY : READ_WRITE)
    {
    }
    /// The same data under another right of access.
    ZbDataPointer(const ZbDataPointer& other, AccessType access) noexcept
        : ZbDataPointer(other.m_data, other.m_type, other.m_numComponents, access)
    {
    }

    ZbPrimType primType() const noexcept { return m_type; }
    int numComponents() const noexcept { return m_numComponents; }
    /// A remark for the holder; no operation of the library checks it.
    bool isReadOnly() const noexcept { return m_readOnly; }
    /// Bytes of one element with all its components; 0 when it has none.
    long elementSize() const { return m_numComponents > 0 ? long(m_numComponents) * m_type.size() : 0; }

    // The pointer as one of another type. Neither the type of the data nor the right of access is checked.
    void* dataPtr() const noexcept { return m_data; }
    const void* dataConstPtr() const noexcept { return m_data; }
    char* charPtr() const noexcept { return static_cast<char*>(m_data); }
    const char* charConstPtr() const noexcept { return charPtr(); }
    unsigned char* uint8Ptr() const noexcept { return static_cast<unsigned char*>(m_data); }
    const unsigned char* uint8ConstPtr() const noexcept { return uint8Ptr(); }
    short* int16Ptr() const noexcept { return static_cast<short*>(m_data); }
    const short* int16ConstPtr() const noexcept { return int16Ptr(); }
    unsigned short* uint16Ptr() const noexcept { return static_cast<unsigned short*>(m_data); }
    const unsigned short* uint16ConstPtr() const noexcept { return uint16Ptr(); }
    int* int32Ptr() const noexcept { return static_cast<int*>(m_data); }
    const int* int32ConstPtr() const noexcept { return int32Ptr(); }
    float* floatPtr() const noexcept { return static_cast<float*>(m_data); }
    const float* floatConstPtr() const noexcept { return floatPtr(); }
    double* doublePtr() const noexcept { return static_cast<double*>(m_data); }
    const double* doubleConstPtr() const noexcept { return doublePtr(); }

    /// The same type, components and access on a copy of the first element.
    ///
    /// The copy comes from zbmalloc(); the caller releases it with zbfree(). The copy of an element without
    /// bytes, or of null, is null. Throws ZbMemoryException.
    ZbDataPointer duplicateData() const;

private:
    ZbDataPointer(void* data, ZbPrimType type, int numComponents, AccessType access) noexcept
        : m_data(data), m_type(type), m_numComponents(numComponents), m_readOnly(access == READ_ONLY)
    {
    }

protected:
    void* m_data = nullptr;  // never owned
    ZbPrimType m_type = -1;
    int m_numComponents = 0;
    bool m_readOnly = true;
};
