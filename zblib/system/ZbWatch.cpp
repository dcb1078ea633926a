#include <zblib/system/ZbWatch.h>

#include <unistd.h>

ZbWatch::ZbWatch() : m_start(::times(&m_buffer)) {}

ZbWatch::ZbWatch(const char* name) : ZbWatch()
{
    m_name = new ZbString(name);
}

ZbWatch::~ZbWatch()
{
    delete m_name;
}

void ZbWatch::start()
{
    if (m_stopped)
        m_start = ::times(&m_buffer);
    m_stopped = false;
}

void ZbWatch::stop()
{
    m_accumulated = getTicks();
    m_stopped = true;
}

void ZbWatch::restart()
{
    m_accumulated = 0;
    m_start = ::times(&m_buffer);
    m_stopped = false;
}

long ZbWatch::getTicks() const
{
    return m_stopped ? m_accumulated : m_accumulated + (::times(&m_buffer) - m_start);
}

float ZbWatch::getSeconds() const
{
    return float(getTicks()) / float(::sysconf(_SC_CLK_TCK));
}

ZbString ZbWatch::getHumanReadableString() const
{
    const double rounded = double(getSeconds()) + 0.5;
    const int seconds = int(rounded);
    return ZbString(0, "%d Hrs, %d Mins, %d Secs", seconds / 3600, seconds % 3600 / 60, seconds % 60);
}
