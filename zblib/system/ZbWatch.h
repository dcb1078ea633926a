#pragma once

#include <zblib/containers/ZbString.h>
#include <zblib/foundation/ZbExport.h>

#include <sys/times.h>

/// A stop watch for elapsed time in clock ticks, of which there are sysconf(_SC_CLK_TCK) a second, as a rule 100.
///
/// For telling people how long an operation took; take std::chrono::steady_clock for anything shorter than a
/// second. A watch runs from its construction and prints nothing. Each reading is one system call, or none once
/// the watch is stopped. Not thread-safe.
class ZB_API ZbWatch
{
public:
    ZbWatch();
    /// A watch with a copy of a name; null is the empty name.
    explicit ZbWatch(const char* name);
    ~ZbWatch();
    // A watch is read where it was started.
    ZbWatch(const ZbWatch&) = delete;
    ZbWatch& operator=(const ZbWatch&) = delete;

    /// Goes on from the time that has been gathered; a running watch runs on.
    void start();
    /// Keeps the time; a stopped watch stays as it is.
    void stop();
    /// Runs, from zero.
    void restart();

    bool isStopped() const noexcept { return m_stopped; }
    /// Null for a watch without one.
    const ZbString* getName() const noexcept { return m_name; }

    /// The ticks of all periods, the one that runs included.
    long getTicks() const;
    /// The same in seconds, divided in single precision.
    float getSeconds() const;
    /// "1 Hrs, 1 Mins, 1 Secs", to the nearest second.
    ZbString getHumanReadableString() const;

private:
    bool m_stopped = false;
    long m_accumulated = 0;                    // ticks of the periods that are over
    long m_start;                              // the count of times() when the current period began
    [[maybe_unused]] long m_reserved[3] = {};  // keeps what follows where callers' binaries expect it
    mutable tms m_buffer;                      // times() fills it; only its result is used
    ZbString* m_name = nullptr;                // owned
};
