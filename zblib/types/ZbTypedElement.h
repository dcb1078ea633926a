#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbPrimType.h>

/// One value with several components of a primitive type: a scalar, a vector, a colour.
///
/// Constructed, it is a view of components that lie elsewhere, aligned for their type, and that outlive it;
/// copied, it owns its components. For single values whose type is known at run time only: each operation
/// chooses the type anew. Components that are texts are copied as pointers. Operations take the time of one
/// look at each component. Reentrant, not thread-safe.
class ZB_API ZbTypedElement
{
public:
    /// No components.
    ZbTypedElement() noexcept = default;
    /// A view of count components at data. A count of 0 or less is no components, and data may be null.
    ZbTypedElement(void* data, ZbPrimType type, int count) noexcept
        : m_data(data), m_type(type), m_count(count)
    {
    }
    /// Copies the components into a buffer of its own, also when other is a view. If there is no memory,
    /// ZbMemoryException is thrown and the target of an assignment is unchanged. There is no move: it would
    /// leave the target a view when the source is one.
    ZbTypedElement(const ZbTypedElement& other);
    ZbTypedElement& operator=(const ZbTypedElement& other);
    ~ZbTypedElement();

    void* getData() noexcept { return m_data; }
    const void* getData() const noexcept { return m_data; }
    ZbPrimType getPrimType() const noexcept { return m_type; }
    int getCount() const noexcept { return m_count; }

    /// Whether all components agree: BYTE, SHORT, INT and USHORT exactly, FLOAT and DOUBLE unless their
    /// difference exceeds tolerance (so NaN agrees with everything).
    ///
    /// True when this element has no components. Otherwise false for elements of different type or count, and
    /// for components of all other types: two of those are never equal.
    bool isEqual(const ZbTypedElement& other, float tolerance) const;

    /// Adds or subtracts component by component, for BYTE, SHORT, USHORT, INT, FLOAT and DOUBLE. Integers
    /// wrap around. Nothing happens for other types, or when type or count of other differ.
    ZbTypedElement& operator+=(const ZbTypedElement& other);
    ZbTypedElement& operator-=(const ZbTypedElement& other);

    /// The square root of the sum of the squares, computed in double, for BYTE, SHORT, INT, FLOAT, DOUBLE and
    /// USHORT; 0 for other types.
    double length() const;

private:
    bool isLike(const ZbTypedElement& other) const noexcept;

    void* m_data = nullptr;
    void* m_owned = nullptr;  // null or m_data; from zbmalloc
    ZbPrimType m_type;
    int m_count = 0;
};
