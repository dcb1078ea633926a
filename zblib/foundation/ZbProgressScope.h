#pragma once

// Private: the one way in which an operation tells its progress receiver when work starts and stops, however it ends.

#include <zblib/foundation/ZbProgressInterface.h>

namespace ZbDetail
{

/// Starts work at the receiver, which may be null, and stops it when this goes.
class ProgressScope
{
public:
    enum Kind { CanBeStopped, NoStop };

    ProgressScope(ZbProgressInterface* progress, const QString& text, Kind kind = CanBeStopped)
        : m_progress(progress)
    {
        if (!m_progress)
            return;
        if (kind == CanBeStopped)
            m_progress->startWorking(text);
        else
            m_progress->startWorkingNoStop(text);
    }
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;
    ~ProgressScope()
    {
        if (m_progress)
            m_progress->stopWorking();
    }

private:
    ZbProgressInterface* const m_progress;
};

}  // namespace ZbDetail
