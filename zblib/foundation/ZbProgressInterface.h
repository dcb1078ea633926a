#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbExport.h>

#include <QString>

/// The receiver of the progress of a long operation, which also asks it whether to stop.
///
/// Operations take a pointer to one, null for no reports. A user interface derives from it and overrides
/// setProgressValueGlobal, setProgressText, wasInterrupted and what else it wants to know; the base class
/// shows nothing and never interrupts.
///
/// The base class maps the progress of nested steps to one scale: an operation reports its own progress from
/// 0 to 1, and the caller has set aside a part of the scale for it:
///
///     progress->subdivide({0, 1, 4});   // the second step takes three times as long
///     progress->startWorking("reading");
///     read(file, progress);             // reports 0 to 1, shown as 0 to 0.25
///     progress->stopWorking();          // shows 0.25; the second step's range is current now
///     progress->startWorking("counting");
///     count(volume, progress);          // shown as 0.25 to 1
///     progress->stopWorking();
///     progress->undivide();
///
/// An operation that calls startWorking and stopWorking itself says so; then its caller does not, or a range
/// would be skipped.
///
/// Values are passed on as they come, without being cut to [0, 1]. Not thread-safe: an operation reports from
/// the thread that called it.
class ZB_API ZbProgressInterface
{
public:
    ZbProgressInterface();
    // It stands for one place on a screen.
    ZbProgressInterface(const ZbProgressInterface&) = delete;
    ZbProgressInterface& operator=(const ZbProgressInterface&) = delete;

    /// Begins a step that cannot be interrupted: shows the start of the current range, then text.
    virtual void startWorkingNoStop(const QString& text);
    /// Begins a step: shows the start of the current range, then text.
    virtual void startWorking(const QString& text);
    /// Ends a step: shows the end of the current range and goes on to the next one beside it, if there is
    /// one. Does nothing for the whole scale.
    virtual void stopWorking();
    /// Shows value, from 0 to 1, in the current range.
    virtual void setProgressValue(float value);
    /// Whether the user wants the operation to stop. immediately asks the receiver to look now rather than
    /// when it sees fit.
    virtual bool wasInterrupted(bool immediately = false);
    virtual bool wasSuspended();
    virtual void setProgressInfo(const QString& text);
    /// The same with a printf-style format in UTF-8; hidden in classes that override the other one.
    [[gnu::format(printf, 2, 3)]] void setProgressInfo(const char* format, ...);
    virtual float getProgressValue();

    /// Splits the current range at the boundaries and makes its first part current. They may be on any scale:
    /// the first falls on the range's start and the last on its end. Fewer than two, or a first equal to the
    /// last, make one part of the whole range.
    virtual void subdivide(const ZbDArray<float>& boundaries);
    /// Splits the current range into n equal parts.
    virtual void subdivide(int n);
    /// Takes back the subdivision that the current range is part of; the range that was split is current
    /// again.
    virtual void undivide();

    virtual void busy();
    virtual void notBusy();

    virtual ~ZbProgressInterface();

    /// Receives the progress on the whole scale.
    virtual void setProgressValueGlobal(float value);
    virtual void setProgressText(const QString& text);

    /// Makes the next range beside the current one current; behind the last one nothing changes.
    void nextRange();
    /// Makes the range that the current one is part of current.
    void parentRange();

private:
    // The parts of one range; part i reaches from boundaries[i] to boundaries[i + 1] of the whole scale.
    struct Division {
        ZbDArray<float> boundaries;  // at least two
        long current = 0;
    };

    float first() const;
    float last() const;

    // The way from the whole scale to the current range. The other ranges of the tree need not be kept: no
    // operation goes down into them again.
    ZbDArray<Division> m_path;
};
