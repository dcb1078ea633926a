#pragma once

#include <zblib/types/ZbPrimType.h>

/// A pointer to data together with the type of its elements: the argument of every raw-data operation.
///
/// A plain value that owns nothing. It is const like a pointer is: through a const ZbTypedPointer the data
/// may still be written. The number of elements travels beside it. Thread-safe as pointers are.
class ZbTypedPointer
{
public:
    /// Null, of type BYTE.
    constexpr ZbTypedPointer() noexcept = default;
    constexpr ZbTypedPointer(void* data, ZbPrimType type) noexcept : m_data(data), m_type(type) {}
    /// The type follows from the pointer: ZbTypedPointer(voxels). char* is SBYTE.
    template <typename T>
    requires(ZbDetail::primTypeCode<T> >= 0) constexpr ZbTypedPointer(T* data) noexcept
        : m_data(data), m_type(data)
    {
    }

    constexpr void* getData() const noexcept { return m_data; }
    constexpr void setData(void* data) noexcept { m_data = data; }

    constexpr ZbPrimType getPrimType() const noexcept { return m_type; }
    constexpr void setPrimType(const ZbPrimType& type) noexcept { m_type = type; }

private:
    void* m_data = nullptr;
    ZbPrimType m_type;
};
