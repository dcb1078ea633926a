#pragma once

#include <zblib/foundation/ZbException.h>

/// Not enough memory. What zbmalloc and zbrealloc throw, with the message of constructErrorMessage.
/// Copied and caught as its base class is.
class ZB_API ZbMemoryException : public ZbException
{
public:
    ZbMemoryException();
    /// A request of numBytes failed; the message gives it in GB.
    explicit ZbMemoryException(unsigned long numBytes);
    explicit ZbMemoryException(const QString& message);
    ZbMemoryException(const ZbMemoryException& other);
    ZbMemoryException& operator=(const ZbMemoryException& other);
    ~ZbMemoryException() override;

    /// Size of the request that failed; 0 where the constructor was not told it, which includes every
    /// exception of the allocation functions.
    unsigned long getNumBytes() const { return m_numBytes; }

    /// The text for the user about a request of numBytes bytes.
    ///
    /// The unit follows the number of decimal digits, not the powers of 1024: 9999 bytes are "9999.0" and
    /// 10000 are "9.8 k". Below 10000 the place of the unit's letter is taken by a NUL character, and below
    /// 1024 the number is not given: the text says 0.0.
    static QString constructErrorMessage(unsigned long numBytes);

private:
    unsigned long m_numBytes = 0;
};
