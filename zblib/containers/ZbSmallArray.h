#pragma once

#include <zblib/containers/ZbRelocatable.h>
#include <zblib/foundation/ZbAssert.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/// An array that keeps up to N elements in itself and takes memory only for more.
///
/// For members that nearly always are short: the heads of a small hash table, the children of a node.
/// Elements move by their bytes, as in ZbDArray, whenever the array grows or shrinks across N, and with the
/// array itself. More than N elements lie in a block from malloc whose capacity grows to the larger of what
/// is needed and 1.5 times the size; with N or fewer they are in the array again and the block is freed.
/// Throws ZbMemoryException and stays as it was when there is no memory. Reentrant, not thread-safe.
template <typename T, int N>
class ZbSmallArray
{
    static_assert(N > 0);

public:
    using value_type = T;
    using size_type = int;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = T*;
    using const_iterator = const T*;

    // The two stores are cheap, and the compiler need not find out that m_heap is only read when it is set.
    ZbSmallArray() noexcept : m_heap{} {}
    explicit ZbSmallArray(int n) : ZbSmallArray() { resize(n); }
    ZbSmallArray(const ZbSmallArray& other);
    /// Takes the elements; other is empty afterwards.
    ZbSmallArray(ZbSmallArray&& other) noexcept : ZbSmallArray() { swap(other); }
    ZbSmallArray& operator=(ZbSmallArray other) noexcept;
    ~ZbSmallArray();

    void swap(ZbSmallArray& other) noexcept;
    friend void swap(ZbSmallArray& a, ZbSmallArray& b) noexcept { a.swap(b); }

    int size() const noexcept { return m_size; }
    bool isEmpty() const noexcept { return m_size == 0; }
    /// The number of elements that there is memory for, N at least.
    int capacity() const noexcept { return m_size > N ? m_heap.capacity : N; }

    T* data() noexcept { return const_cast<T*>(std::as_const(*this).data()); }
    const T* data() const noexcept
    {
        return m_size > N ? m_heap.elements : reinterpret_cast<const T*>(m_inline);
    }
    T& operator[](int index);
    const T& operator[](int index) const;
    T* begin() noexcept { return data(); }
    const T* begin() const noexcept { return data(); }
    T* end() noexcept { return data() + m_size; }
    const T* end() const noexcept { return data() + m_size; }

    /// Below 0 means 0. New elements are default-constructed: numbers and pointers hold whatever the memory
    /// holds.
    void resize(int n);
    void clear() { resize(0); }
    /// Returns the index of the new element. item may lie in this array.
    int append(const T& item);

private:
    void setSize(int n);

    struct Heap {
        int capacity;
        T* elements;
    };

    int m_size = 0;
    union {
        alignas(T) std::byte m_inline[N * sizeof(T)];  // while m_size <= N
        Heap m_heap;                                   // while m_size > N
    };
};

// Its elements move with it, and nothing points to the array itself.
template <typename T, int N>
struct ZbIsRelocatable<ZbSmallArray<T, N>> : ZbIsRelocatable<T> {
};

// ---- mechanics

template <typename T, int N>
ZbSmallArray<T, N>::ZbSmallArray(const ZbSmallArray& other) : ZbSmallArray()
{
    for (const T& item : other)
        append(item);
}

template <typename T, int N>
ZbSmallArray<T, N>& ZbSmallArray<T, N>::operator=(ZbSmallArray other) noexcept
{
    swap(other);
    return *this;
}

template <typename T, int N>
ZbSmallArray<T, N>::~ZbSmallArray()
{
    static_assert(ZbIsRelocatable<T>::value,
                  "ZbSmallArray moves its elements by copying their bytes. This type is not known to allow "
                  "that: if it does, declare it with Q_DECLARE_TYPEINFO(T, Q_RELOCATABLE_TYPE), or "
                  "specialise ZbIsRelocatable<T>.");
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "The memory of a ZbSmallArray is aligned as by malloc; this type asks for more.");
    std::destroy(begin(), end());
    if (m_size > N)
        std::free(static_cast<void*>(m_heap.elements));
}

template <typename T, int N>
void ZbSmallArray<T, N>::swap(ZbSmallArray& other) noexcept
{
    if (this == &other)
        return;
    alignas(ZbSmallArray) std::byte bytes[sizeof(ZbSmallArray)];
    std::memcpy(bytes, static_cast<const void*>(this), sizeof bytes);
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof bytes);
    std::memcpy(static_cast<void*>(&other), bytes, sizeof bytes);
}

template <typename T, int N>
inline T& ZbSmallArray<T, N>::operator[](int index)
{
    ZB_REQUIRE(index >= 0 && index < m_size);
    return data()[index];
}

template <typename T, int N>
inline const T& ZbSmallArray<T, N>::operator[](int index) const
{
    ZB_REQUIRE(index >= 0 && index < m_size);
    return data()[index];
}

template <typename T, int N>
void ZbSmallArray<T, N>::resize(int n)
{
    n = std::max(n, 0);
    const int oldSize = m_size;
    if (n < oldSize)
        std::destroy(begin() + n, end());
    setSize(n);
    if (n > oldSize) {
        try {
            std::uninitialized_default_construct(begin() + oldSize, end());
        } catch (...) {
            setSize(oldSize);
            throw;
        }
    }
}

template <typename T, int N>
int ZbSmallArray<T, N>::append(const T& item)
{
    alignas(T) std::byte copy[sizeof(T)];
    std::unique_ptr<T, decltype([](T* made) { std::destroy_at(made); })> made(::new (static_cast<void*>(copy))
                                                                                  T(item));
    setSize(m_size + 1);
    std::memcpy(static_cast<void*>(end() - 1), copy, sizeof(T));
    static_cast<void>(made.release());
    return m_size - 1;
}

// Moves the elements to where n of them belong. Those from n on are gone already, new ones have no value yet.
template <typename T, int N>
void ZbSmallArray<T, N>::setSize(int n)
{
    if (n > N && n > capacity()) {
        const int capacity = int(std::clamp<long>(m_size + long(m_size) / 2, n, INT_MAX));
        const std::size_t bytes = std::size_t(capacity) * sizeof(T);
        void* elements =
            m_size > N ? std::realloc(static_cast<void*>(m_heap.elements), bytes) : std::malloc(bytes);
        if (!elements)
            throw ZbMemoryException(ZbMemoryException::constructErrorMessage(bytes));
        if (m_size <= N)
            std::memcpy(elements, m_inline, std::size_t(m_size) * sizeof(T));
        m_heap = {.capacity = capacity, .elements = static_cast<T*>(elements)};
    } else if (n <= N && m_size > N) {
        T* elements = m_heap.elements;
        std::memcpy(m_inline, static_cast<const void*>(elements), std::size_t(n) * sizeof(T));
        std::free(static_cast<void*>(elements));
    }
    m_size = n;
}
