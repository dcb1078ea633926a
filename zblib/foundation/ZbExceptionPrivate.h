#pragma once

// Private: what a ZbException holds.

#include <zblib/containers/ZbDArray.h>

#include <QList>
#include <QString>

class ZbExceptionPrivate
{
public:
    struct Frame {
        QString file;
        int line;
        QString message;
    };

    mutable QString message;   // what what() returns
    QList<QString> backtrace;  // a line for each stack frame, innermost first
    ZbDArray<Frame> frames;    // oldest first
};

template <>
struct ZbIsRelocatable<ZbExceptionPrivate::Frame> : std::true_type {
};
