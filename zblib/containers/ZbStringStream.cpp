#include <zblib/containers/ZbStringStream.h>

#include <zblib/containers/ZbString.h>

ZbStringStreambuf::~ZbStringStreambuf() = default;

ZbStringStreambuf::int_type ZbStringStreambuf::overflow(int_type c)
{
    if (!traits_type::eq_int_type(c, traits_type::eof()))
        m_string->append(traits_type::to_char_type(c));
    return c;
}

std::streamsize ZbStringStreambuf::xsputn(const char* text, std::streamsize count)
{
    if (count == 1)
        m_string->append(*text);
    else
        m_string->append(text, count);
    return count;
}

ZbStringStream::ZbStringStream(ZbString* string) : std::ostream(nullptr), m_buffer(string)
{
    rdbuf(&m_buffer);
}

ZbStringStream::~ZbStringStream() = default;

ZbStringStream& ZbStringStream::put(char c)
{
    if (!hasAppended(c)) [[unlikely]]
        std::ostream::put(c);
    return *this;
}

ZbStringStream& ZbStringStream::insert(char c)
{
    if (width() != 0 || !hasAppended(c)) [[unlikely]]
        static_cast<std::ostream&>(*this) << c;
    return *this;
}

// Appends c where that cannot fail and nothing else has to be done.
inline bool ZbStringStream::hasAppended(char c) noexcept
{
    return good() && !tie() && rdbuf() == &m_buffer && m_buffer.m_string->appendWithin(c);
}
