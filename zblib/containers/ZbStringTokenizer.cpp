#include <zblib/containers/ZbStringTokenizer.h>

#include <cctype>

ZbStringTokenizer::ZbStringTokenizer(const char* text, long length) : m_length(length), m_text(text) {}

ZbStringTokenizer::ZbStringTokenizer(const ZbString& text)
    : ZbStringTokenizer(text.getString(), text.length())
{
    skipSpace();
}

ZbStringTokenizer::ZbStringTokenizer(const char* text)
    : ZbStringTokenizer(text, text ? long(std::strlen(text)) : 0)
{
    skipSpace();
}

ZbStringTokenizer::~ZbStringTokenizer() = default;

ZbStringTokenizer& ZbStringTokenizer::operator=(const char* text)
{
    m_text = text;
    m_length = text ? (long long)(std::strlen(text)) : 0;
    m_position = 0;
    skipSpace();
    return *this;
}

ZbString& ZbStringTokenizer::nextToken()
{
    m_token.clear();
    while (m_position < m_length && !isSpace(m_text[m_position])) {
        const char* const start = m_text + m_position;
        switch (*start) {
        case '\\':
            ++m_position;
            if (m_position < m_length)
                m_token += m_text[m_position++];
            break;
        case '"': {
            const long length = m_length - m_position - 1;
            const void* const quote = std::memchr(start + 1, '"', std::size_t(length));
            const long quoted = quote ? static_cast<const char*>(quote) - start - 1 : length;
            m_token.append(start + 1, quoted);
            m_position += quote ? quoted + 2 : quoted + 1;
            break;
        }
        default: {
            const auto isPlain = [this](char c) { return c != '\\' && c != '"' && !isSpace(c); };
            do {
                ++m_position;
            } while (m_position < m_length && isPlain(m_text[m_position]));
            m_token.append(start, m_text + m_position - start);
        }
        }
    }
    skipSpace();
    return m_token;
}

bool ZbStringTokenizer::isSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

void ZbStringTokenizer::skipSpace()
{
    while (m_position < m_length && isSpace(m_text[m_position]))
        ++m_position;
}
