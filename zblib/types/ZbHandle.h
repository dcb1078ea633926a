#pragma once

#include <zblib/containers/ZbRelocatable.h>

#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

/// A smart pointer to an object that counts its references: a ZbHandable, or anything with ref() and unref().
///
/// The object lives at least as long as the last handle on it. A handle is as large as a pointer; copying
/// one costs an increment, moving one costs nothing. T may be incomplete where a handle is only declared.
/// Like the counts, handles on one object belong to one thread at a time.
template <typename T>
class ZbHandle
{
public:
    ZbHandle() noexcept = default;
    /// A handle on object, which may be null. Two handles may be made from the same pointer: the count is in
    /// the object.
    ZbHandle(T* object) : m_object(object)
    {
        if (m_object)
            m_object->ref();
    }
    ZbHandle(const ZbHandle& other) : ZbHandle(other.m_object) {}
    ZbHandle(ZbHandle&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    /// From a handle on a derived class.
    template <typename U>
    requires(!std::same_as<U, T> && std::convertible_to<U*, T*>) ZbHandle(const ZbHandle<U>& other)
        : ZbHandle(static_cast<T*>(other.get()))
    {
    }
    ~ZbHandle()
    {
        // First null, then let go: the object's destructor may look at this handle.
        if (T* object = std::exchange(m_object, nullptr))
            object->unref();
    }
    /// Takes the new object before it lets go of the old one, which may be what keeps the new one alive.
    ZbHandle& operator=(ZbHandle other) noexcept
    {
        swap(other);
        return *this;
    }

    void swap(ZbHandle& other) noexcept { std::swap(m_object, other.m_object); }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    template <typename U>
    friend bool operator==(const ZbHandle& a, const ZbHandle<U>& b) noexcept
    {
        return a.get() == b.get();
    }
    // Not through a handle made from the pointer: that would delete an object whose count is 0.
    friend bool operator==(const ZbHandle& a, const T* object) noexcept { return a.m_object == object; }
    friend bool operator==(const ZbHandle& a, std::nullptr_t) noexcept { return !a.m_object; }

private:
    T* m_object = nullptr;
};

// The count does not know where the handles on it are, so they may be moved by their bytes.
template <typename T>
struct ZbIsRelocatable<ZbHandle<T>> : std::true_type {
};
