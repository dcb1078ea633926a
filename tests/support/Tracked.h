#pragma once

#include <zblib/containers/ZbRelocatable.h>

#include <memory>
#include <stdexcept>

/// An element that owns memory, counts its living instances, and whose copies fail on demand.
class Tracked
{
public:
    Tracked(int value = -1) : m_value(std::make_unique<int>(value)) { ++alive; }
    Tracked(const Tracked& other) : m_value(std::make_unique<int>(other.value()))
    {
        if (copiesUntilFailure >= 0 && copiesUntilFailure-- == 0)
            throw std::runtime_error("copy failed");
        ++alive;
    }
    Tracked(Tracked&& other) noexcept : m_value(std::move(other.m_value)) { ++alive; }
    Tracked& operator=(const Tracked& other)
    {
        m_value = std::make_unique<int>(other.value());
        return *this;
    }
    Tracked& operator=(Tracked&& other) noexcept = default;
    ~Tracked() { --alive; }

    int value() const { return m_value ? *m_value : -2; }
    friend bool operator==(const Tracked& a, const Tracked& b) { return a.value() == b.value(); }

    static inline int alive = 0;
    static inline int copiesUntilFailure = -1;  // -1: none fails

private:
    std::unique_ptr<int> m_value;
};

template <>
struct ZbIsRelocatable<Tracked> : std::true_type {
};
