#pragma once

#include <zblib/foundation/ZbExport.h>

#include <concepts>
#include <ostream>
#include <streambuf>

class ZbString;

/// A stream buffer without a buffer: each character is in the string, behind it the terminating zero, when the
/// call that wrote it returns.
///
/// Refers to the string, which must stay where it is and outlive the buffer. Memory that cannot be had leaves
/// the string as it was and throws ZbMemoryException, which a stream on this buffer turns into its bad state.
class ZB_API ZbStringStreambuf : public std::streambuf
{
public:
    explicit ZbStringStreambuf(ZbString* string) noexcept : m_string(string) {}
    ~ZbStringStreambuf() override;
    // A buffer belongs to its stream.
    ZbStringStreambuf(const ZbStringStreambuf&) = delete;
    ZbStringStreambuf& operator=(const ZbStringStreambuf&) = delete;

protected:
    /// Appends the character c and returns it; the end-of-file value comes back with nothing appended.
    int_type overflow(int_type c) override;
    /// Appends count characters at once, as many calls of overflow() would.
    std::streamsize xsputn(const char* text, std::streamsize count) override;

private:
    friend class ZbStringStream;
    ZbString* m_string;
};

/// An output stream that appends to a string. ZbString::stream() has one for its string, wherever that moves;
/// one made here is for a string that stays where it is and outlives the stream.
class ZB_API ZbStringStream : public std::ostream
{
public:
    explicit ZbStringStream(ZbString* string);
    ~ZbStringStream() override;
    // Two streams with one buffer have two states.
    ZbStringStream(const ZbStringStream&) = delete;
    ZbStringStream& operator=(const ZbStringStream&) = delete;

    // Single characters, with the same results as of any std::ostream in half the time: there is nothing to
    // prepare and nothing to flush.
    ZbStringStream& put(char c);
    friend ZbStringStream& operator<<(ZbStringStream& stream, std::same_as<char> auto c)
    {
        return stream.insert(c);
    }

private:
    ZbStringStream& insert(char c);
    bool hasAppended(char c) noexcept;

    ZbStringStreambuf m_buffer;
};
