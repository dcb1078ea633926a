#pragma once

#include <zblib/foundation/ZbExport.h>

/// The words of a text, at most 49; what follows them is ignored. Only the blank separates words, a tab
/// belongs to its word, and several blanks count as one.
///
/// Owns copies of its words. Not changed after construction, so any number of threads may read it.
class ZB_API StringTupel
{
public:
    static constexpr int maxWords = 49;

    /// text is not null. Throws ZbMemoryException.
    explicit StringTupel(const char* text);
    ~StringTupel();
    // Nobody needs a copy of a filter.
    StringTupel(const StringTupel&) = delete;
    StringTupel& operator=(const StringTupel&) = delete;

    int count() const noexcept { return m_count; }
    const char* const* words() const noexcept { return m_words; }
    /// index is in [0, count()).
    const char* operator[](int index) const { return m_words[index]; }

    /// Writes "(a, b, )" to standard error, without a line feed.
    void print() const;

private:
    StringTupel() noexcept = default;

    int m_count = 0;
    char* m_words[maxWords] = {};
};
