#include <zblib/containers/ZbString.h>

#include <QString>

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

namespace
{

// A newly constructed string holds texts of up to 15 characters without growing.
constexpr long initialCapacity = 16;
// The least memory that a format gets which starts from the empty text.
constexpr long formatCapacity = 64;

bool isDecimal(char c)
{
    return c >= '0' && c <= '9';
}

// The functions of <cctype> are defined for the values of unsigned char alone.
int lowered(char c)
{
    return std::tolower(static_cast<unsigned char>(c));
}

// Compares the numbers that start at a and b and moves both pointers behind them, or, where they differ,
// anywhere.
int compareNumbers(const char*& a, const char*& b)
{
    while (*a == '0')
        ++a;
    while (*b == '0')
        ++b;
    int order = 0;  // that of the first digits that differ, which counts if the numbers are equally long
    for (; isDecimal(*a) && isDecimal(*b); ++a, ++b) {
        if (order == 0 && *a != *b)
            order = *a < *b ? -1 : 1;
    }
    if (isDecimal(*a))
        return 1;
    return isDecimal(*b) ? -1 : order;
}

}  // namespace

// The characters of a string that has a stream. Nobody moves this one: the stream may point to it.
struct ZbString::Streamed : ZbAllocated {
    explicit Streamed(ZbDArray<char>& chars)
    {
        text.m_chars.swap(chars);
        chars = ZbDArray<char>();
    }

    ZbString text;
    ZbStringStream stream{&text};
};

ZbString::ZbString(const char* text, long length)
{
    length = text ? std::max(length, 0L) : 0;
    m_chars.remax(std::max(initialCapacity, length < LONG_MAX ? length + 1 : LONG_MAX));
    assign(text, length);
}

ZbString::ZbString(int, const char* format, ...) : ZbString()
{
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
}

ZbString::ZbString(const ZbString& other) : ZbString(other.getString(), other.length()) {}

ZbString::ZbString(ZbString&& other) noexcept
    : m_chars(std::move(other.m_chars)), m_streamed(std::exchange(other.m_streamed, nullptr))
{
}

ZbString::~ZbString()
{
    delete m_streamed;
}

ZbString& ZbString::operator=(const ZbString& other)
{
    if (this != &other)
        assign(other.getString(), other.length());
    return *this;
}

ZbString& ZbString::operator=(ZbString&& other) noexcept
{
    if (this == &other)
        return *this;
    if (m_streamed)
        chars().swap(other.chars());
    else
        swap(other);
    other.chars().clear();
    return *this;
}

ZbString& ZbString::operator=(const char* text)
{
    assign(text, text ? long(std::strlen(text)) : 0);
    return *this;
}

void ZbString::swap(ZbString& other) noexcept
{
    m_chars.swap(other.m_chars);
    std::swap(m_streamed, other.m_streamed);
}

ZbString ZbString::fromQString(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return ZbString(utf8.constData(), utf8.size());
}

QString ZbString::toQString() const
{
    return QString::fromUtf8(getString(), length());
}

void ZbString::reserve(long length)
{
    chars().remax(std::max(length, 0L) + 1);
}

// Makes room for length characters; text, if it lies in this string, points to the same characters afterwards.
void ZbString::reserveKeeping(long length, const char*& text)
{
    ZbDArray<char>& chars = this->chars();
    const auto offset =
        reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(chars.data());
    const bool inside = offset < std::uintptr_t(chars.size());
    chars.remax(length < LONG_MAX ? length + 1 : LONG_MAX);
    if (inside)
        text = chars.data() + offset;
}

// Writes the text at position, where the string ends afterwards.
inline void ZbString::write(long position, const char* text, long length)
{
    if (length >= chars().capacity() - position) [[unlikely]]
        reserveKeeping(length < LONG_MAX - position ? position + length : LONG_MAX, text);
    ZbDArray<char>& chars = this->chars();
    char* const target = chars.data() + position;
    if (length > 0)
        std::memmove(target, text, std::size_t(length));
    target[length] = 0;
    chars.resize(position + length + 1);
}

void ZbString::assign(const char* text, long length)
{
    write(0, text, text ? std::max(length, 0L) : 0);
}

ZbString& ZbString::append(const char* text, long length)
{
    if (text && length > 0)
        write(this->length(), text, length);
    return *this;
}

const ZbDArray<char>& ZbString::streamedChars() const noexcept
{
    return m_streamed->text.m_chars;
}

ZbStringStream& ZbString::stream()
{
    if (!m_streamed)
        m_streamed = new Streamed(m_chars);
    return m_streamed->stream;
}

int ZbString::compare(const ZbString& other) const noexcept
{
    const long common = std::min(length(), other.length());
    if (const int order = std::memcmp(getString(), other.getString(), std::size_t(common)))
        return order;
    return length() < other.length() ? -1 : length() > other.length();
}

int ZbString::compare(const char* other) const noexcept
{
    if (!other)
        return chars().isEmpty() ? 0 : 1;
    if (const int order = std::strcmp(getString(), other))
        return order;
    return length() > long(std::strlen(other));
}

bool ZbString::operator==(const ZbString& other) const noexcept
{
    return length() == other.length() && compare(other) == 0;
}

bool ZbString::operator==(const char* text) const noexcept
{
    return compare(text) == 0;
}

int ZbString::compareAlphaNumeric(const ZbString& other) const noexcept
{
    const char* a = getString();
    const char* b = other.getString();
    if (chars().size() == other.chars().size() && std::strcmp(a, b) == 0)
        return 0;
    if (std::strcmp(a, "..") == 0)
        return -1;
    if (std::strcmp(b, "..") == 0)
        return 1;
    for (;;) {
        if (*a == 0)
            return *b == 0 ? 0 : -1;
        if (*b == 0)
            return 1;
        if (isDecimal(*a) != isDecimal(*b))
            return isDecimal(*a) ? -1 : 1;
        if (isDecimal(*a)) {
            if (const int order = compareNumbers(a, b))
                return order;
            continue;
        }
        if (*a != *b && lowered(*a) != lowered(*b))
            return lowered(*a) < lowered(*b) ? -1 : 1;
        ++a;
        ++b;
    }
}

bool ZbString::startsWith(const char* prefix) const noexcept
{
    return !prefix || std::strncmp(getString(), prefix, std::strlen(prefix)) == 0;
}

bool ZbString::isDigit() const noexcept
{
    return std::all_of(begin(), end(), isDecimal);
}

bool ZbString::isAlpha() const noexcept
{
    return std::all_of(begin(), end(), [](unsigned char c) { return std::isalpha(c) != 0; });
}

bool ZbString::isAlnum() const noexcept
{
    return std::all_of(begin(), end(), [](unsigned char c) { return std::isalnum(c) != 0; });
}

bool ZbString::isPrintable() const noexcept
{
    return std::all_of(begin(), end(), [](signed char c) { return c > 31; });
}

const char* ZbString::printf(const char* format, ...)
{
    // Starts twice instead of copying the list, which costs as much as copying the text.
    va_list arguments;
    va_start(arguments, format);
    const long room = formatShort(format, arguments);
    va_end(arguments);
    if (room > 0) {
        va_start(arguments, format);
        formatLong(room, format, arguments);
        va_end(arguments);
    }
    return getString();
}

const char* ZbString::vprintf(const char* format, va_list arguments)
{
    va_list copy;
    va_copy(copy, arguments);
    const long room = formatShort(format, copy);
    va_end(copy);
    if (room > 0)
        formatLong(room, format, arguments);
    return getString();
}

// Replaces the text by the formatted one and returns 0. Where that is too long for the stack, or is expected to be,
// since the one before is, returns the bytes to try with.
//
// Inlined on purpose: the calls would cost more than all else that is added to vsnprintf.
[[gnu::always_inline]] inline long ZbString::formatShort(const char* format, va_list arguments)
{
    // Formats elsewhere: format and arguments may be this string's own characters.
    char buffer[1024];
    ZbDArray<char>& chars = this->chars();
    if (chars.size() > long(sizeof(buffer)))
        return chars.capacity();
    const long length = std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    if (length >= long(sizeof(buffer)))
        return std::max(length + 1, chars.capacity());
    if (chars.size() < 2)
        chars.remax(formatCapacity);
    if (length >= chars.capacity())
        chars.remax(length + 1);
    write(0, buffer, std::max(length, 0L));
    return 0;
}

// Formats into new memory of room bytes, or of more where the text needs them, which becomes that of the string.
void ZbString::formatLong(long room, const char* format, va_list arguments)
{
    ZbDArray<char> formatted;
    formatted.remax(room);
    va_list copy;
    va_copy(copy, arguments);
    const long length = std::vsnprintf(formatted.data(), std::size_t(formatted.capacity()), format, copy);
    va_end(copy);
    if (length >= formatted.capacity()) {
        formatLong(length + 1, format, arguments);
        return;
    }
    formatted.resize(std::max(length, 0L) + 1);
    formatted.last() = 0;
    chars().swap(formatted);
}

long long ZbString::toInt64(const char* text) noexcept
{
    return text ? std::strtoll(text, nullptr, 10) : 0;
}

long long ZbString::parseNumber(const char*& p) noexcept
{
    long long value = *p - '0';
    for (; isDecimal(p[1]); ++p) {
        const bool isNegative = value < 0;  // only the first character can make it so
        if (__builtin_mul_overflow(value, 10LL, &value) || __builtin_add_overflow(value, p[1] - '0', &value))
            value = isNegative ? LLONG_MIN : LLONG_MAX;
    }
    return value;
}

void ZbString::explode(char separator, ZbDArray<ZbString>& parts) const
{
    const std::less<const ZbString*> isBefore;
    if (!isBefore(this, parts.begin()) && isBefore(this, parts.end())) {
        ZbString(*this).explode(separator, parts);
        return;
    }
    const char* part = begin();
    const long count = std::count(part, end(), separator) + 1;
    parts.remax(count);
    for (long i = 0; i < count; ++i) {
        const void* const found = std::memchr(part, separator, std::size_t(end() - part));
        const char* const partEnd = found ? static_cast<const char*>(found) : end();
        if (i < parts.size())
            parts[i].renew(part, partEnd - part);
        else
            parts.append(ZbString(part, partEnd - part));
        part = partEnd + 1;
    }
    parts.resize(count);
}

// Makes this what a string constructed here would be, except that the memory stays.
void ZbString::renew(const char* text, long length)
{
    delete std::exchange(m_streamed, nullptr);
    assign(text, length);
}

const char* ZbString::substrRemove(unsigned int from, unsigned int to)
{
    const long last = std::min(long(to), length());
    if (long(from) < last)
        chars().remove(from, last - long(from));
    return getString();
}

ZbString ZbString::protect(bool quote) const
{
    const auto isSpace = [](unsigned char c) { return std::isspace(c) != 0; };
    const bool quoted = quote || isEmpty() || std::any_of(begin(), end(), isSpace);
    ZbString result;
    result.reserve(length() + 2);
    if (quoted)
        result += '"';
    for (const char c : *this) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    if (quoted)
        result += '"';
    return result;
}
