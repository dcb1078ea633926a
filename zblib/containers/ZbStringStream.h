#pragma once

#include <zblib/containers/ZbStringStreambuf.h>
#include <zblib/foundation/ZbExport.h>

#include <concepts>
#include <ostream>

class ZbString;

/// An output stream that appends to a string. ZbString::stream() has one for its string, wherever that moves;
/// one made here is for a string that stays where it is and outlives the stream. Errors, cost and threads as
/// for ZbStringStreambuf.
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
