#pragma once

#include <zblib/containers/ZbRelocatable.h>
#include <zblib/foundation/ZbAssert.h>
#include <zblib/foundation/ZbMemory.h>

#include <algorithm>
#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/// A function that orders two elements: negative where the first sorts before the second, 0 where they are
/// equal, positive otherwise. A predicate that answers true and false is refused.
template <typename Compare, typename T>
concept ZbThreeWayCompare = std::is_invocable_r_v<int, Compare&, const T&, const T&> &&
    !std::same_as<std::invoke_result_t<Compare&, const T&, const T&>, bool>;

/// A growable array, contiguous in memory.
///
/// The array of the library's interfaces. It differs from std::vector in that growing moves elements by their
/// bytes, so a large block is resized where it lies and its pages are touched once; in that resize() leaves
/// new numbers uninitialised; and in signed sizes. Elements must be relocatable (ZbIsRelocatable).
///
/// It owns its elements and their memory, which comes from zbmalloc. When an operation needs more memory than
/// there is, the capacity becomes the larger of what is needed and 1.5 times the size. Nothing but squeeze(),
/// moving and swapping ever makes it smaller. Growing invalidates pointers to elements, yet what is appended,
/// inserted or filled may itself lie in this array. A request that cannot be met throws ZbMemoryException and
/// leaves the array as it was. Indices and ranges must lie in the array; that is checked in debug builds.
/// Reentrant, not thread-safe.
template <typename T>
class ZbDArray
{
public:
    using value_type = T;
    using size_type = long;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using iterator = T*;
    using const_iterator = const T*;

    ZbDArray() noexcept = default;
    /// n elements, as by resize(n).
    explicit ZbDArray(long n) : ZbDArray() { resize(n); }
    ZbDArray(std::initializer_list<T> items) : ZbDArray() { append(items.begin(), long(items.size())); }
    ZbDArray(const ZbDArray& other) : ZbDArray() { append(other.m_data, other.m_size); }
    /// Takes the memory; other is empty afterwards.
    ZbDArray(ZbDArray&& other) noexcept : ZbDArray() { swap(other); }
    ~ZbDArray();

    /// Keeps the capacity, or grows it.
    ZbDArray& operator=(const ZbDArray& other);
    ZbDArray& operator=(ZbDArray&& other) noexcept;
    void swap(ZbDArray& other) noexcept;
    friend void swap(ZbDArray& a, ZbDArray& b) noexcept { a.swap(b); }

    long size() const noexcept { return m_size; }
    /// The number of elements that there is memory for.
    long capacity() const noexcept { return m_capacity; }
    bool isEmpty() const noexcept { return m_size == 0; }

    /// Null where the capacity is 0.
    T* data() noexcept { return m_data; }
    const T* data() const noexcept { return m_data; }
    T& operator[](long index);
    const T& operator[](long index) const;
    T& first() { return (*this)[0]; }
    const T& first() const { return (*this)[0]; }
    T& last() { return (*this)[m_size - 1]; }
    const T& last() const { return (*this)[m_size - 1]; }

    T* begin() noexcept { return m_data; }
    const T* begin() const noexcept { return m_data; }
    const T* cbegin() const noexcept { return m_data; }
    T* end() noexcept { return m_data + m_size; }
    const T* end() const noexcept { return m_data + m_size; }
    const T* cend() const noexcept { return m_data + m_size; }

    /// Makes the size n; below 0 means 0. New elements are default-constructed: class types by their default
    /// constructor, while numbers, pointers and plain structs of them hold whatever the memory holds.
    void resize(long n);
    /// Makes the capacity at least n, growing as an append would.
    void remax(long n);
    /// Gives back the memory that the elements do not need.
    void squeeze();
    /// Removes all elements; the capacity stays.
    void clear() { resize(0); }

    /// Returns the index of the new element. Amortised O(1).
    long append(const T& item) { return appendOne(item); }
    long append(T&& item) { return appendOne(std::move(item)); }
    /// Appends n elements and returns the index of the first.
    long append(const T* items, long n);
    /// Inserts in front of index pos, in [0, size()]. O(size() - pos).
    void insert(long pos, const T& item) { insertOne(pos, item); }
    void insert(long pos, T&& item) { insertOne(pos, std::move(item)); }
    void insert(long pos, const T* items, long n);
    /// Makes room for n elements in front of index pos, without a value, and returns where they are.
    T* insertMemory(long pos, long n) requires std::is_trivially_copyable_v<T>
    {
        ZB_REQUIRE(pos >= 0 && pos <= m_size);
        remax(sizeWith(n));
        return openGap(pos, std::max(n, 0L));
    }
    /// Removes the elements [pos, pos + n). O(size() - pos).
    void remove(long pos, long n = 1);
    void removeLast(long n = 1) { resize(m_size - std::max(n, 0L)); }

    /// Assigns value to every element.
    void fill(const T& value);
    /// The index of the first element equal to item, or -1.
    long find(const T& item) const;

    /// Sorts so that elements that compare equal keep their order.
    template <ZbThreeWayCompare<T> Compare>
    void sort(Compare compare);
    /// Bisects the sorted elements between the indices lo and hi, both excluded; hi -1 means size().
    /// Returns the index of the last element equal to item, or -1.
    template <ZbThreeWayCompare<T> Compare>
    long findSorted(const T& item, Compare compare, long lo = -1, long hi = -1) const;
    /// Inserts item into the sorted elements between lo and hi, as above, behind those that are equal to it,
    /// and returns its index.
    template <ZbThreeWayCompare<T> Compare>
    long insertSorted(const T& item, Compare compare, long lo = -1, long hi = -1);

    friend bool operator==(const ZbDArray& a, const ZbDArray& b) requires std::equality_comparable<T>
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    void setCapacity(long capacity);
    void grow(long n);
    long sizeWith(long n) const noexcept;
    const T* remaxKeeping(const T* items, long n);
    T* openGap(long pos, long n) noexcept;
    template <typename Item>
    long appendOne(Item&& item);
    template <typename Item>
    void insertOne(long pos, Item&& item);

    long m_size = 0;      // in [0, m_capacity]
    long m_capacity = 0;  // elements that m_data has memory for
    T* m_data = nullptr;  // null if and only if m_capacity is 0
};

// Nothing in it points to the array itself.
template <typename T>
struct ZbIsRelocatable<ZbDArray<T>> : std::true_type {
};

// ---- mechanics

template <typename T>
ZbDArray<T>::~ZbDArray()
{
    static_assert(ZbIsRelocatable<T>::value,
                  "ZbDArray moves its elements by copying their bytes. This type is not known to allow that: "
                  "if it does, declare it with Q_DECLARE_TYPEINFO(T, Q_RELOCATABLE_TYPE), or specialise "
                  "ZbIsRelocatable<T>.");
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "The memory of a ZbDArray is aligned as by malloc; this type asks for more.");
    std::destroy(begin(), end());
    zbfree(m_data);
}

template <typename T>
ZbDArray<T>& ZbDArray<T>::operator=(const ZbDArray& other)
{
    if (this == &other)
        return *this;
    const bool grows = other.m_size > m_capacity;
    // Elements with contents of their own are copied before the old ones go: other may lie in one of them.
    if (grows || !std::is_trivially_copyable_v<T>) {
        ZbDArray copy;
        copy.remax(grows ? std::max(other.m_size, m_size + m_size / 2) : m_capacity);
        copy.append(other.m_data, other.m_size);
        swap(copy);
    } else {
        clear();
        append(other.m_data, other.m_size);
    }
    return *this;
}

template <typename T>
ZbDArray<T>& ZbDArray<T>::operator=(ZbDArray&& other) noexcept
{
    // Through a third array: other may be this one, or lie in one of its elements.
    ZbDArray taken(std::move(other));
    swap(taken);
    return *this;
}

template <typename T>
void ZbDArray<T>::swap(ZbDArray& other) noexcept
{
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_data, other.m_data);
}

template <typename T>
inline T& ZbDArray<T>::operator[](long index)
{
    ZB_REQUIRE(index >= 0 && index < m_size);
    return m_data[index];
}

template <typename T>
inline const T& ZbDArray<T>::operator[](long index) const
{
    ZB_REQUIRE(index >= 0 && index < m_size);
    return m_data[index];
}

template <typename T>
void ZbDArray<T>::resize(long n)
{
    n = std::max(n, 0L);
    if (n > m_size) {
        remax(n);
        std::uninitialized_default_construct(m_data + m_size, m_data + n);
    } else {
        std::destroy(m_data + n, m_data + m_size);
    }
    m_size = n;
}

template <typename T>
inline void ZbDArray<T>::remax(long n)
{
    if (n > m_capacity) [[unlikely]]
        grow(n);
}

// Growth is inlined on purpose: out of line it would take the address of the array, and the size of one that
// lives in a single function could not stay in a register across appends.
template <typename T>
[[gnu::always_inline]] inline void ZbDArray<T>::grow(long n)
{
    setCapacity(std::max(n, m_size + m_size / 2));
}

template <typename T>
[[gnu::always_inline]] inline void ZbDArray<T>::setCapacity(long capacity)
{
    // More bytes than can be counted are asked for as all there are, which the allocator refuses.
    const unsigned long bytes =
        capacity > LONG_MAX / long(sizeof(T)) ? ULONG_MAX : static_cast<unsigned long>(capacity) * sizeof(T);
    m_data = static_cast<T*>(zbrealloc(static_cast<void*>(m_data), bytes));
    m_capacity = capacity;
}

template <typename T>
void ZbDArray<T>::squeeze()
{
    if (m_size == 0) {
        zbfree(m_data);
        m_data = nullptr;
        m_capacity = 0;
    } else if (m_size < m_capacity) {
        setCapacity(m_size);
    }
}

// The size with n more elements; too many are refused by the allocation that follows.
template <typename T>
inline long ZbDArray<T>::sizeWith(long n) const noexcept
{
    return n <= LONG_MAX - m_size ? m_size + n : LONG_MAX;
}

// Makes the capacity at least n and returns where the items are then, which may lie in this array.
template <typename T>
const T* ZbDArray<T>::remaxKeeping(const T* items, long n)
{
    const auto offset = reinterpret_cast<std::uintptr_t>(items) - reinterpret_cast<std::uintptr_t>(m_data);
    const bool inside = offset < std::uintptr_t(m_size) * sizeof(T);
    remax(n);
    return inside ? reinterpret_cast<const T*>(reinterpret_cast<const char*>(m_data) + offset) : items;
}

// Moves the elements from pos up by n, for which there is capacity.
template <typename T>
T* ZbDArray<T>::openGap(long pos, long n) noexcept
{
    T* gap = m_data + pos;
    if (m_size > pos && n > 0)
        std::memmove(static_cast<void*>(gap + n), static_cast<const void*>(gap),
                     std::size_t(m_size - pos) * sizeof(T));
    m_size += n;
    return gap;
}

template <typename T>
template <typename Item>
inline long ZbDArray<T>::appendOne(Item&& item)
{
    if constexpr (std::is_trivially_copyable_v<T>) {
        // By value: so the caller's variable can stay in a register.
        const T copy = item;
        remax(m_size + 1);
        ::new (static_cast<void*>(m_data + m_size)) T(copy);
    } else if (m_size < m_capacity) {
        ::new (static_cast<void*>(m_data + m_size)) T(std::forward<Item>(item));
    } else {
        T& kept = const_cast<T&>(*remaxKeeping(std::addressof(item), m_size + 1));
        ::new (static_cast<void*>(m_data + m_size)) T(static_cast<Item&&>(kept));
    }
    return m_size++;
}

template <typename T>
long ZbDArray<T>::append(const T* items, long n)
{
    const long first = m_size;
    if (n > 0) {
        items = remaxKeeping(items, sizeWith(n));
        std::uninitialized_copy_n(items, n, m_data + m_size);
        m_size += n;
    }
    return first;
}

template <typename T>
template <typename Item>
void ZbDArray<T>::insertOne(long pos, Item&& item)
{
    ZB_REQUIRE(pos >= 0 && pos <= m_size);
    T& kept = const_cast<T&>(*remaxKeeping(std::addressof(item), m_size + 1));
    // Made outside the array, before anything moves, and moved in by its bytes.
    alignas(T) std::byte copy[sizeof(T)];
    ::new (static_cast<void*>(copy)) T(static_cast<Item&&>(kept));
    std::memcpy(static_cast<void*>(openGap(pos, 1)), copy, sizeof(T));
}

template <typename T>
void ZbDArray<T>::insert(long pos, const T* items, long n)
{
    ZB_REQUIRE(pos >= 0 && pos <= m_size);
    if (n <= 0)
        return;
    ZbDArray copies;
    // Made outside the array, so that a copy that fails changes nothing. Numbers are copied from their place.
    if constexpr (!std::is_trivially_copyable_v<T>) {
        copies.append(items, n);
        items = copies.m_data;
    }
    items = remaxKeeping(items, sizeWith(n));
    const bool inside = items >= m_data && items < m_data + m_size;
    T* gap = openGap(pos, n);
    // Of items in this array those in front of the gap stay where they are, the others have moved up by n.
    const long staying = inside ? std::clamp<long>(gap - items, 0, n) : n;
    const auto copyBytes = [](T* to, const T* from, long count) {
        std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), std::size_t(count) * sizeof(T));
    };
    copyBytes(gap, items, staying);
    if (staying < n)
        copyBytes(gap + staying, items + staying + n, n - staying);
    copies.m_size = 0;
}

template <typename T>
void ZbDArray<T>::remove(long pos, long n)
{
    if (n <= 0)
        return;
    ZB_REQUIRE(pos >= 0 && n <= m_size - pos);
    T* gap = m_data + pos;
    std::destroy(gap, gap + n);
    std::memmove(static_cast<void*>(gap), static_cast<const void*>(gap + n),
                 std::size_t(m_size - pos - n) * sizeof(T));
    m_size -= n;
}

template <typename T>
void ZbDArray<T>::fill(const T& value)
{
    const T copy(value);
    std::fill(begin(), end(), copy);
}

template <typename T>
long ZbDArray<T>::find(const T& item) const
{
    const T* found = std::find(begin(), end(), item);
    return found == end() ? -1 : long(found - begin());
}

template <typename T>
template <ZbThreeWayCompare<T> Compare>
void ZbDArray<T>::sort(Compare compare)
{
    std::stable_sort(begin(), end(), [&](const T& a, const T& b) { return compare(a, b) < 0; });
}

template <typename T>
template <ZbThreeWayCompare<T> Compare>
long ZbDArray<T>::findSorted(const T& item, Compare compare, long lo, long hi) const
{
    if (hi == -1)
        hi = m_size;
    while (hi - lo > 1) {
        const long mid = (lo + hi) / 2;
        (compare(item, m_data[mid]) >= 0 ? lo : hi) = mid;
    }
    if (lo >= 0 && compare(item, m_data[lo]) == 0)
        return lo;
    // Only a caller's own hi, which names an element, is ever found here.
    if (hi < m_size && compare(item, m_data[hi]) == 0)
        return hi;
    return -1;
}

template <typename T>
template <ZbThreeWayCompare<T> Compare>
long ZbDArray<T>::insertSorted(const T& item, Compare compare, long lo, long hi)
{
    if (hi == -1)
        hi = m_size;
    while (hi - lo > 1) {
        const long mid = (lo + hi) / 2;
        (compare(item, m_data[mid]) < 0 ? hi : lo) = mid;
    }
    insert(lo + 1, item);
    return lo + 1;
}
