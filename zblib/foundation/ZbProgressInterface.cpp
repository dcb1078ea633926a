#include <zblib/foundation/ZbProgressInterface.h>

#include <cmath>
#include <cstdarg>

template <>
struct ZbIsRelocatable<ZbProgressInterface::Division> : std::true_type {
};

ZbProgressInterface::ZbProgressInterface() = default;

ZbProgressInterface::~ZbProgressInterface() = default;

void ZbProgressInterface::startWorkingNoStop(const QString& text)
{
    setProgressValueGlobal(first());
    setProgressText(text);
}

void ZbProgressInterface::startWorking(const QString& text)
{
    setProgressValueGlobal(first());
    setProgressText(text);
}

void ZbProgressInterface::stopWorking()
{
    if (m_path.isEmpty())
        return;
    setProgressValueGlobal(last());
    nextRange();
}

void ZbProgressInterface::setProgressValue(float value)
{
    setProgressValueGlobal(first() + value * (last() - first()));
}

bool ZbProgressInterface::wasInterrupted(bool)
{
    return false;
}

bool ZbProgressInterface::wasSuspended()
{
    return false;
}

void ZbProgressInterface::setProgressInfo(const QString& text)
{
    setProgressText(text);
}

void ZbProgressInterface::setProgressInfo(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    setProgressInfo(text);
}

float ZbProgressInterface::getProgressValue()
{
    return 0.0F;
}

void ZbProgressInterface::subdivide(const ZbDArray<float>& boundaries)
{
    const double start = first();
    const double length = double(last()) - start;
    const long n = boundaries.size() - 1;
    const double scale = n > 0 ? double(boundaries[n]) - double(boundaries[0]) : 0.0;

    Division division;
    division.boundaries.append(first());
    if (scale != 0.0 && std::isfinite(scale)) {
        for (long i = 1; i < n; ++i)
            division.boundaries.append(
                float(start + (double(boundaries[i]) - double(boundaries[0])) / scale * length));
    }
    division.boundaries.append(last());
    m_path.append(std::move(division));
}

void ZbProgressInterface::subdivide(int n)
{
    ZbDArray<float> boundaries;
    for (long i = 0; i <= n; ++i)
        boundaries.append(float(i));
    subdivide(boundaries);
}

void ZbProgressInterface::undivide()
{
    parentRange();
}

void ZbProgressInterface::busy() {}

void ZbProgressInterface::notBusy() {}

void ZbProgressInterface::setProgressValueGlobal(float) {}

void ZbProgressInterface::setProgressText(const QString&) {}

void ZbProgressInterface::nextRange()
{
    if (m_path.isEmpty())
        return;
    Division& division = m_path.last();
    if (division.current + 2 < division.boundaries.size())
        ++division.current;
}

void ZbProgressInterface::parentRange()
{
    if (!m_path.isEmpty())
        m_path.removeLast();
}

float ZbProgressInterface::first() const
{
    return m_path.isEmpty() ? 0.0F : m_path.last().boundaries[m_path.last().current];
}

float ZbProgressInterface::last() const
{
    return m_path.isEmpty() ? 1.0F : m_path.last().boundaries[m_path.last().current + 1];
}
