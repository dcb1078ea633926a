#include <zblib/containers/ZbStringTokenizerGeneral.h>

#include <climits>

ZbStringTokenizerGeneral::ZbStringTokenizerGeneral(const char* text, long length, const char* separators)
    : ZbStringTokenizer(text, length), m_separators(UCHAR_MAX + 1, ZbBitfield::INIT_UNSET)
{
    for (; separators && *separators; ++separators)
        m_separators.set(static_cast<unsigned char>(*separators));
    skipSpace();
}

ZbStringTokenizerGeneral::ZbStringTokenizerGeneral(const char* text, const char* separators)
    : ZbStringTokenizerGeneral(text, text ? long(std::strlen(text)) : 0, separators)
{
}

ZbStringTokenizerGeneral::ZbStringTokenizerGeneral(const ZbString& text, const char* separators)
    : ZbStringTokenizerGeneral(text.getString(), text.length(), separators)
{
}

ZbStringTokenizerGeneral::~ZbStringTokenizerGeneral() = default;

bool ZbStringTokenizerGeneral::isSpace(char c)
{
    return m_separators[static_cast<unsigned char>(c)] != 0;
}
