#include <zblib/types/ZbTypedElement.h>

#include <zblib/foundation/ZbMemory.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <type_traits>
#include <utility>

namespace
{

// visit(tag) for the types that the arithmetic of elements knows; false for the others.
template <typename Visit>
bool visitArithmetic(ZbPrimType type, Visit&& visit)
{
    return zbVisitPrimType<unsigned char, short, int, float, double, unsigned short>(type, visit);
}

template <typename Value>
bool isEqualWithin(const Value* a, const Value* b, int count, float tolerance)
{
    return std::equal(a, a + count, b, [&](Value left, Value right) {
        if constexpr (std::is_floating_point_v<Value>)
            return !(std::abs(left - right) > Value(tolerance));  // not <=: NaN is meant to pass
        else
            return left == right;
    });
}

// a[i] = operation(a[i], b[i]); integers wrap around.
template <typename Value, typename Operation>
void combine(Value* a, const Value* b, int count, Operation operation)
{
    // Unsigned, where wrapping around is defined, and as wide as an int, so that nothing is promoted to one.
    using Wide = std::conditional_t<std::is_integral_v<Value>, unsigned, Value>;
    for (int i = 0; i < count; ++i)
        a[i] = static_cast<Value>(operation(static_cast<Wide>(a[i]), static_cast<Wide>(b[i])));
}

}  // namespace

ZbTypedElement::ZbTypedElement(const ZbTypedElement& other) : m_type(other.m_type), m_count(other.m_count)
{
    const size_t bytes = m_count > 0 ? size_t(m_type.size()) * size_t(m_count) : 0;
    m_owned = m_data = zbmalloc(bytes);
    if (bytes > 0)
        std::memcpy(m_data, other.m_data, bytes);
}

ZbTypedElement& ZbTypedElement::operator=(const ZbTypedElement& other)
{
    // The old buffer goes last: other may be this element, or a view of its components.
    ZbTypedElement copy(other);
    std::swap(m_data, copy.m_data);
    std::swap(m_owned, copy.m_owned);
    m_type = copy.m_type;
    m_count = copy.m_count;
    return *this;
}

ZbTypedElement::~ZbTypedElement()
{
    zbfree(m_owned);
}

bool ZbTypedElement::isLike(const ZbTypedElement& other) const noexcept
{
    return m_type == other.m_type && m_count == other.m_count;
}

bool ZbTypedElement::isEqual(const ZbTypedElement& other, float tolerance) const
{
    if (m_count <= 0)
        return true;
    if (!isLike(other))
        return false;
    bool equal = false;
    visitArithmetic(m_type, [&](auto tag) {
        using Value = typename decltype(tag)::Type;
        equal = isEqualWithin(static_cast<const Value*>(m_data), static_cast<const Value*>(other.m_data),
                              m_count, tolerance);
    });
    return equal;
}

ZbTypedElement& ZbTypedElement::operator+=(const ZbTypedElement& other)
{
    if (isLike(other)) {
        visitArithmetic(m_type, [&](auto tag) {
            using Value = typename decltype(tag)::Type;
            combine(static_cast<Value*>(m_data), static_cast<const Value*>(other.m_data), m_count,
                    std::plus<>());
        });
    }
    return *this;
}

ZbTypedElement& ZbTypedElement::operator-=(const ZbTypedElement& other)
{
    if (isLike(other)) {
        visitArithmetic(m_type, [&](auto tag) {
            using Value = typename decltype(tag)::Type;
            combine(static_cast<Value*>(m_data), static_cast<const Value*>(other.m_data), m_count,
                    std::minus<>());
        });
    }
    return *this;
}

double ZbTypedElement::length() const
{
    double squares = 0;
    visitArithmetic(m_type, [&](auto tag) {
        using Value = typename decltype(tag)::Type;
        const Value* values = static_cast<const Value*>(m_data);
        for (int i = 0; i < m_count; ++i)
            squares += double(values[i]) * double(values[i]);
    });
    return std::sqrt(squares);
}
