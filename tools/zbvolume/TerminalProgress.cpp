#include "TerminalProgress.h"

#include "Failure.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace zbvolume
{

namespace
{

volatile std::sig_atomic_t caughtSignal = 0;

using Clock = std::chrono::steady_clock;

// What is done sooner needs no bar.
constexpr auto patience = std::chrono::milliseconds(300);
constexpr auto interval = std::chrono::milliseconds(50);
constexpr int barWidth = 40;

void handleInterruption(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        struct sigaction inherited = {};
        sigaction(signal, nullptr, &inherited);
        if (inherited.sa_handler != SIG_IGN)  // as nohup and background jobs leave them
            sigaction(signal, &action, nullptr);
    }
}

}  // namespace

TerminalProgress::TerminalProgress()
    : m_isTerminal(isatty(STDERR_FILENO) != 0), m_next(Clock::now() + patience)
{
}

TerminalProgress::~TerminalProgress()
{
    clear();
}

bool TerminalProgress::wasInterrupted(bool)
{
    return caughtSignal != 0;
}

void TerminalProgress::check()
{
    if (caughtSignal != 0)
        throw Interrupted();
}

void TerminalProgress::setProgressValueGlobal(float value)
{
    m_value = value;
    draw();
}

void TerminalProgress::setProgressText(const QString& text)
{
    m_text = text.toStdString();
    draw();
}

void TerminalProgress::draw()
{
    if (!m_isTerminal || Clock::now() < m_next)
        return;
    m_next = Clock::now() + interval;
    const float fraction = m_value >= 0 && m_value <= 1 ? m_value : 0;  // NaN is none of these
    const int filled = int(fraction * barWidth);
    std::string bar(std::size_t(filled), '#');
    bar.resize(barWidth, '-');
    std::fprintf(stderr, "\r%-20.20s [%s] %3d %%", m_text.c_str(), bar.c_str(), int(fraction * 100));
    std::fflush(stderr);
    m_isDrawn = true;
}

void TerminalProgress::clear()
{
    if (m_isDrawn)
        std::fprintf(stderr, "\r%*s\r", barWidth + 30, "");
    m_isDrawn = false;
}

void catchInterruption()
{
    handleInterruption([](int signal) { caughtSignal = signal; });
    // A write beyond the limit of the file size then fails like one to a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
}

void stopCatchingInterruption()
{
    handleInterruption(SIG_DFL);
}

bool isOutputClosed()
{
    return caughtSignal == SIGPIPE;
}

void endInterrupted()
{
    const int signal = caughtSignal != 0 ? caughtSignal : SIGINT;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal);
}

}  // namespace zbvolume
