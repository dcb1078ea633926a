#include <zblib/foundation/StringTupel.h>

#include <zblib/foundation/ZbMemoryException.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// Delegates, so that the destructor frees the words there are when there is no memory for one more.
StringTupel::StringTupel(const char* text) : StringTupel()
{
    while (m_count < maxWords) {
        text += std::strspn(text, " ");
        const std::size_t length = std::strcspn(text, " ");
        if (length == 0)
            return;
        m_words[m_count] = strndup(text, length);
        if (!m_words[m_count])
            throw ZbMemoryException(length + 1);
        ++m_count;
        text += length;
    }
}

StringTupel::~StringTupel()
{
    for (int i = 0; i < m_count; ++i)
        std::free(m_words[i]);
}

void StringTupel::print() const
{
    std::fprintf(stderr, "(");
    for (int i = 0; i < m_count; ++i)
        std::fprintf(stderr, "%s, ", m_words[i]);
    std::fprintf(stderr, ")");
}
