#pragma once

#include "Volume.h"

class ZbProgressInterface;

namespace zbvolume
{

constexpr int minSampleSize = 64;
constexpr int maxSampleSize = 1024;
constexpr int defaultSampleSize = 128;

/// At sampleThreshold every sample volume has sampleObjects objects, of which sampleStrongObjects reach
/// sampleStrong, with 6, 18 and 26 neighbours alike.
constexpr int sampleThreshold = 100;
constexpr int sampleStrong = 200;
constexpr int sampleObjects = 40;
constexpr int sampleStrongObjects = 12;

/// The built-in sample: a cube of size^3 bytes, 64 mm wide, with tubes (a coil around a column, a ring, bent
/// ones) and ellipsoids of different sizes and values in noise, each apart from the others.
///
/// size is in [minSampleSize, maxSampleSize]. The same bytes on every machine. Throws Interrupted.
Volume makeSample(int size, ZbProgressInterface& progress);

}  // namespace zbvolume
