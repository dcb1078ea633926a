#pragma once

#include <zblib/foundation/ZbExport.h>

#include <QString>

class ZbExceptionPrivate;

/// The exception class of the library: a chain of messages that grows on the way up, and the stack trace of
/// the place where it was created.
///
///     try {
///         load(file);
///     } catch (ZbException& exception) {
///         exception.rethrow(__FILE__, __LINE__, QString("while reading %1").arg(file));
///     }
///
/// Catch it by reference. It is not a std::exception: a handler for those does not see it. A copy has its
/// own chain. Thrown and caught within one thread.
class ZB_API ZbException
{
public:
    /// No message yet.
    ZbException();
    /// The first message. A null text reads "unspecific", an empty one stays empty.
    explicit ZbException(const QString& message);
    ZbException(const ZbException& other);
    ZbException& operator=(const ZbException& other);
    virtual ~ZbException();

    /// All messages, the newest first, one a line; empty without messages. The text is made anew by every
    /// call and lives until the next one or the end of this object. Files and lines are not part of it.
    virtual const QString& what() const;

    /// Adds context. A null file reads "unknown", a null message "unspecific".
    void addFrame(const char* file, int line, const QString& message);

    /// Adds context and goes on with throwing: the same object, of the same type. Only to be called in a
    /// handler that caught this exception by reference.
    [[noreturn]] void rethrow(const char* file, int line, const QString& message);
    /// The same; message is Latin-1.
    [[noreturn]] void rethrow(const char* file, int line, const char* message);

    /// Throws a copy, as doRaise() makes it.
    [[noreturn]] void raise() const;
    /// A copy that the caller owns, as doClone() makes it.
    [[nodiscard]] ZbException* clone() const;

    /// Writes the stack trace to standard error, one line a frame, in UTF-8.
    void printBacktrace() const;
    /// Captures the stack trace, at most 100 frames. The constructors do; a later call replaces it.
    void initBacktrace();

protected:
    // Both make a plain ZbException, of derived exceptions too, unless these override them.
    // ZbMemoryException does not, on purpose: what it adds is lost on this way.
    [[nodiscard]] virtual ZbException* doClone() const;
    virtual void doRaise() const;  // throws

private:
    ZbExceptionPrivate* m_private;  // never null
};
