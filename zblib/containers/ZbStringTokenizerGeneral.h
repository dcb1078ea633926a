#pragma once

#include <zblib/containers/ZbStringTokenizer.h>
#include <zblib/imaging/ZbBitfield.h>

/// Splits a text into tokens at the characters of a given set, with the quotes and backslashes of
/// ZbStringTokenizer. A quote or backslash in the set separates as well and is nothing else. The set is copied;
/// all else, the text included, is as there.
class ZB_API ZbStringTokenizerGeneral : public ZbStringTokenizer
{
public:
    /// separators is read here and not needed afterwards.
    ZbStringTokenizerGeneral(const char* text, const char* separators);
    ZbStringTokenizerGeneral(const ZbString& text, const char* separators);
    ~ZbStringTokenizerGeneral() override;
    using ZbStringTokenizer::operator=;

    bool isSpace(char c) override;

private:
    ZbStringTokenizerGeneral(const char* text, long length, const char* separators);

    ZbBitfield m_separators;  // a bit for each value of unsigned char
};
