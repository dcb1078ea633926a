#include <zblib/foundation/ZbException.h>

#include <zblib/foundation/ZbExceptionPrivate.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <utility>

#include <execinfo.h>

ZbException::ZbException() : m_private(new ZbExceptionPrivate)
{
    std::unique_ptr<ZbExceptionPrivate> guard(m_private);  // where there is no memory for the texts
    initBacktrace();
    static_cast<void>(guard.release());
}

ZbException::ZbException(const QString& message) : ZbException()
{
    addFrame(nullptr, 0, message);
}

ZbException::ZbException(const ZbException& other) : m_private(new ZbExceptionPrivate(*other.m_private)) {}

ZbException& ZbException::operator=(const ZbException& other)
{
    ZbException copy(other);
    std::swap(m_private, copy.m_private);
    return *this;
}

ZbException::~ZbException()
{
    delete m_private;
}

const QString& ZbException::what() const
{
    QString& text = m_private->message;
    text.clear();
    for (long i = m_private->frames.size() - 1; i >= 0; --i)
        text.append(m_private->frames[i].message).append(QLatin1Char('\n'));
    text.chop(1);
    return text;
}

void ZbException::addFrame(const char* file, int line, const QString& message)
{
    m_private->frames.append({.file = QString::fromLatin1(file ? file : "unknown"),
                              .line = line,
                              .message = message.isNull() ? QStringLiteral("unspecific") : message});
}

void ZbException::rethrow(const char* file, int line, const QString& message)
{
    addFrame(file, line, message);
    throw;
}

void ZbException::rethrow(const char* file, int line, const char* message)
{
    rethrow(file, line, QString::fromLatin1(message));
}

void ZbException::raise() const
{
    doRaise();
    std::terminate();  // an override that returned
}

ZbException* ZbException::clone() const
{
    return doClone();
}

void ZbException::printBacktrace() const
{
    for (const QString& line : m_private->backtrace) {
        const QByteArray text = line.toUtf8() + '\n';
        std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
    }
}

void ZbException::initBacktrace()
{
    void* addresses[100];
    const int count = backtrace(addresses, int(std::size(addresses)));
    const std::unique_ptr<char*, decltype(&std::free)> symbols(backtrace_symbols(addresses, count),
                                                               &std::free);
    QList<QString> lines;
    for (int i = 0; symbols && i < count; ++i)
        lines.append(QString::fromLatin1(symbols.get()[i]));
    m_private->backtrace = lines;
}

ZbException* ZbException::doClone() const
{
    return new ZbException(*this);
}

void ZbException::doRaise() const
{
    throw ZbException(*this);
}
