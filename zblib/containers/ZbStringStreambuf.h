#pragma once

#include <zblib/foundation/ZbExport.h>

#include <streambuf>

class ZbString;

/// A stream buffer without a buffer: each character is in the string, behind it the terminating zero, when the
/// call that wrote it returns.
///
/// Refers to the string, which must stay where it is and outlive the buffer. Memory that cannot be had leaves
/// the string as it was and throws ZbMemoryException, which a stream on this buffer turns into its bad state.
/// A character costs what appending it to the string does. Reentrant, not thread-safe.
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
