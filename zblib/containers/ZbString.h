#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/containers/ZbHash.h>
#include <zblib/containers/ZbRelocatable.h>
#include <zblib/containers/ZbStringStream.h>
#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbHandable.h>

#include <QtCore/qglobal.h>

#include <algorithm>
#include <compare>
#include <concepts>
#include <cstdarg>
#include <cstring>
#include <utility>

QT_FORWARD_DECLARE_CLASS(QString)

/// An 8-bit text that ends with a zero.
///
/// For file names, tokens and formatted numbers, where bytes are passed on as they are; take QString for what
/// people read. The string owns its characters, which are contiguous and come from zbmalloc; it reserves 16
/// bytes from the start, grows as ZbDArray does and never gives memory back. Where an operation needs memory
/// that there is not, it throws ZbMemoryException and the string is as it was. Pointers to the characters and
/// references to them hold until the string is next changed. Texts that are passed in may lie in the string
/// itself.
///
/// A null pointer as text stands for the empty text, except in comparisons. Characters are bytes; what asks
/// for their kind follows the C locale functions. Zero bytes may be inside where a length is given along;
/// what takes or compares C strings ends at the first.
///
/// A copy has the text alone: the reference count and the stream belong to the string. A string may be moved
/// in memory by its bytes. A moved-from string has not even its zero: it reads as the empty text and is the
/// only one that equals a null pointer.
///
/// Reentrant, not thread-safe.
class ZB_API ZbString : public ZbHandable
{
public:
    ZbString() : ZbString(nullptr, 0) {}
    ZbString(const char* text) : ZbString(text, text ? long(std::strlen(text)) : 0) {}
    /// The first length bytes of text.
    ZbString(const char* text, long length);
    /// The text that printf(format, ...) makes. The number only tells this constructor from others.
    ZbString(int, const char* format, ...) __attribute__((format(printf, 3, 4)));
    ZbString(const ZbString& other);
    /// Takes the characters and the stream.
    ZbString(ZbString&& other) noexcept;
    ~ZbString() override;

    ZbString& operator=(const ZbString& other);
    /// Takes the characters. A stream of this string stays and writes to it; where there is none, that of
    /// other comes along.
    ZbString& operator=(ZbString&& other) noexcept;
    ZbString& operator=(const char* text);
    /// Exchanges the streams too.
    void swap(ZbString& other) noexcept;
    friend void swap(ZbString& a, ZbString& b) noexcept { a.swap(b); }

    /// The text in UTF-8.
    static ZbString fromQString(const QString& text);
    /// Reads the characters as UTF-8.
    QString toQString() const;

    // ---- characters

    /// Without the terminating zero.
    long length() const noexcept { return std::max(chars().size() - 1, 0L); }
    bool isEmpty() const noexcept { return length() == 0; }
    /// The characters and their zero, never null.
    const char* getString() const noexcept { return chars().isEmpty() ? "" : chars().data(); }
    operator const char*() const noexcept { return getString(); }
    /// index is in [0, length()]. A string that was moved from has no characters to write to before it is given a
    /// text.
    char& operator[](long index) { return chars()[index]; }
    char operator[](long index) const { return getString()[index]; }
    char* begin() noexcept { return chars().data(); }
    char* end() noexcept { return begin() + length(); }
    const char* begin() const noexcept { return getString(); }
    const char* end() const noexcept { return getString() + length(); }

    /// Makes this the empty text; the memory stays.
    void clear() { assign(nullptr, 0); }
    /// The bytes that there is memory for, the terminating zero's included.
    long capacity() const noexcept { return chars().capacity(); }
    /// Makes room for length characters.
    void reserve(long length);
    /// Makes this the first length bytes of text.
    void assign(const char* text, long length);

    // ---- appending

    ZbString& append(char c);
    ZbString& append(const char* text, long length);
    ZbString& operator+=(const ZbString& text) { return append(text.getString(), text.length()); }
    ZbString& operator+=(const char* text) { return append(text, text ? long(std::strlen(text)) : 0); }
    // For char alone: a number converts to char only by mistake.
    ZbString& operator+=(std::same_as<char> auto c) { return append(c); }

    friend ZbString operator+(ZbString a, const ZbString& b) { return std::move(a += b); }
    friend ZbString operator+(ZbString a, const char* b) { return std::move(a += b); }
    friend ZbString operator+(ZbString a, std::same_as<char> auto b) { return std::move(a += b); }
    friend ZbString operator+(const char* a, const ZbString& b) { return ZbString(a) += b; }

    /// The output stream that appends to this string, made at the first call. It lives as long as the string
    /// and follows it when the string is moved in memory, by its bytes too.
    ZbStringStream& stream();

    // ---- comparing

    /// Negative, 0 or positive as this text sorts before, equal to or behind other, by unsigned bytes.
    int compare(const ZbString& other) const noexcept;
    /// A null pointer sorts before every text.
    int compare(const char* other) const noexcept;
    bool operator==(const ZbString& other) const noexcept;
    /// Null equals only a string that has been moved from.
    bool operator==(const char* text) const noexcept;
    std::strong_ordering operator<=>(const ZbString& other) const noexcept { return compare(other) <=> 0; }
    std::strong_ordering operator<=>(const char* text) const noexcept { return compare(text) <=> 0; }

    /// The order in which people read lists of files: -1, 0 or 1.
    ///
    /// ".." comes first; runs of decimal digits, as long as they may be, compare by their value and before
    /// other characters; these compare without regard to case. So file2 sorts before File10. Texts that differ
    /// only in case or in leading zeros compare as equal.
    int compareAlphaNumeric(const ZbString& other) const noexcept;

    bool startsWith(const char* prefix) const noexcept;
    // All true for the empty text.
    bool isDigit() const noexcept;
    bool isAlpha() const noexcept;
    bool isAlnum() const noexcept;
    /// Whether every byte is in [32, 127]: of those above, none counts as printable.
    bool isPrintable() const noexcept;

    // ---- numbers and formats

    /// Replaces the text by the formatted one, of whatever length, and returns the characters. A formatting
    /// error (a wide character that the locale has not, more than INT_MAX characters) leaves the empty text.
    const char* printf(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// arguments is as vsnprintf leaves it.
    const char* vprintf(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    const char* setInt64(long long value) { return printf("%lld", value); }
    /// As strtoll with base 10: 0 where there is no number, the nearest limit where it does not fit.
    long long toInt64() const noexcept { return toInt64(getString()); }
    static long long toInt64(const char* text) noexcept;
    /// Reads a decimal number and leaves p on its last digit.
    ///
    /// The first character, which is not the terminating zero, counts as a digit whatever it is. A value
    /// beyond the limits of long long gives the limit.
    static long long parseNumber(const char*& p) noexcept;

    // ---- parts

    /// Replaces the elements of parts, which may hold this string, by the texts between the separators: one
    /// more than there are separators, so an empty text gives one empty part.
    void explode(char separator, ZbDArray<ZbString>& parts) const;
    /// Removes the characters with indices in [from, to), as far as there are such, and returns the
    /// characters.
    const char* substrRemove(unsigned int from, unsigned int to);
    /// The text with a backslash before each double quote and backslash, and in double quotes if quote is
    /// true, or it is empty or has white space in it.
    ///
    /// ZbStringTokenizer gives the text back as one token, except where there are double quotes and the text
    /// has quotes or backslashes of its own: between double quotes the tokenizer knows no backslash.
    ZbString protect(bool quote) const;

private:
    friend class ZbStringStream;
    struct Streamed;

    // Appends c if there is memory for it.
    bool appendWithin(char c) noexcept;
    const ZbDArray<char>& chars() const noexcept
    {
        if (m_streamed) [[unlikely]]
            return streamedChars();
        return m_chars;
    }
    ZbDArray<char>& chars() noexcept { return const_cast<ZbDArray<char>&>(std::as_const(*this).chars()); }
    const ZbDArray<char>& streamedChars() const noexcept;
    void reserveKeeping(long length, const char*& text);
    void write(long position, const char* text, long length);
    void renew(const char* text, long length);
    long formatShort(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    void formatLong(long room, const char* format, va_list arguments) __attribute__((format(printf, 3, 0)));

    // The characters and the terminating zero; without any only after a move. From the first stream() on they
    // are in *m_streamed, where their address does not depend on where this string is, and m_chars is unused.
    ZbDArray<char> m_chars;
    Streamed* m_streamed = nullptr;  // owned
};

template <>
struct ZbIsRelocatable<ZbString> : std::true_type {
};

// ---- mechanics

inline bool ZbString::appendWithin(char c) noexcept
{
    ZbDArray<char>& chars = this->chars();
    const long end = chars.size();
    if (end == 0 || end >= chars.capacity())
        return false;
    chars.resize(end + 1);
    char* const zero = chars.data() + end - 1;
    zero[0] = c;
    zero[1] = 0;
    return true;
}

inline ZbString& ZbString::append(char c)
{
    return appendWithin(c) ? *this : append(&c, 1);
}

inline unsigned int zbhash(const ZbString& text) noexcept
{
    return zbhash(text.getString());
}
