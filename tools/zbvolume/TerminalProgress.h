#pragma once

#include <zblib/foundation/ZbProgressInterface.h>

#include <chrono>
#include <string>

namespace zbvolume
{

/// Shows a bar on standard error while something works, when that is a terminal, and asks work to stop once
/// the user has pressed Ctrl-C (or the process is asked to end or its terminal goes away).
///
/// Reports from the thread that made it only, like every receiver of progress.
class TerminalProgress : public ZbProgressInterface
{
public:
    TerminalProgress();
    ~TerminalProgress() override;

    bool wasInterrupted(bool immediately = false) override;
    float getProgressValue() override { return m_value; }
    void setProgressValueGlobal(float value) override;
    void setProgressText(const QString& text) override;

    /// Throws Interrupted when the user asked to stop.
    void check();
    /// Takes the bar away, before other output.
    void clear();

private:
    void draw();

    bool m_isTerminal = false;
    bool m_isDrawn = false;
    float m_value = 0;
    std::string m_text;
    std::chrono::steady_clock::time_point m_next;  // of the next drawing; the first comes after a while
};

/// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE are remembered instead of ending the process.
void catchInterruption();
/// From now on they end the process again: nothing is left that would have to be removed.
void stopCatchingInterruption();
/// Whether the reader of standard output has gone, as head does: no reason for a message.
bool isOutputClosed();
/// Ends the process by the signal that was remembered, as shells and scripts expect of an interrupted
/// program.
[[noreturn]] void endInterrupted();

}  // namespace zbvolume
