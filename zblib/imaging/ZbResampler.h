#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbPrimType.h>

class ZbProgressInterface;
class ZbString;
class ZbTypedData3D;

/// Changes the resolution of image blocks with separable filters: along each axis, an output sample is a
/// weighted mean of the input samples near it.
///
///     ZbTypedData3D smaller;
///     smaller.init(128, 128, 64, volume.primType(), volume.numComponents(), nullptr);
///     ZbString error;
///     if (!ZbResampler::resample(volume, smaller, nullptr, 0, 1, &ZbResampler::Lanczos3_filter, 3,
///                                ZbResampler::FILTER_VALUES, error))
///         report(error);
///
/// The blocks are taken to cover the same extent: the grid of the output is centred on that of the input.
/// Different threads may work on different blocks at the same time.
class ZB_API ZbResampler
{
public:
    /// A filter kernel: the weight of an input sample by its distance from the output sample. It is zero from
    /// its support on; the distance has a sign.
    using Kernel = float (*)(float);

    /// What is resampled.
    enum FilterType : int {
        FILTER_VALUES = 0,  ///< quantities: weighted means
        FILTER_LABELS = 1   ///< categories: in each pass the input value with the largest summed weight, the
                            ///< smaller one on a tie, so that no new value appears
    };

    // ---- kernels, with their supports; 0 at a NaN

    static float box_filter(float x);          ///< 0.5: the nearest sample, both of two
    static float triangle_filter(float x);     ///< 1: linear interpolation
    static float bell_filter(float x);         ///< 1.5: the quadratic B-spline, smooths
    static float Mitchell_filter(float x);     ///< 2: Mitchell and Netravali's cubic with B = C = 1/3
    static float Lanczos3_filter(float x);     ///< 3: windowed sinc, the sharpest
    static float LanczosTest_filter(float x);  ///< 3: the same as Lanczos3_filter
    static float B_spline_filter(float x);     ///< 2: the cubic B-spline, smooths most
    static float cubic6_filter(float x);       ///< 3: interpolating cubic over six samples
    static float cubic8_filter(float x);       ///< 4: interpolating cubic over eight samples

    // ---- contribution lists

    /// What one input sample gives to an output sample.
    struct Contribution {
        int index;     ///< of an input sample
        float weight;  ///< its part of the output sample
    };
    /// The input samples that one output sample consists of, in ascending order of their indices, without gaps.
    struct ContributionList {
        int count;
        Contribution* entries;  ///< null where no memory was needed
    };

    /// The contribution lists of one axis, newSize of them; null when newSize is below 1.
    ///
    /// scale is the number of output samples per input sample, shift moves the output grid to higher inputs,
    /// in output samples. All is computed in float:
    ///
    ///     fscale = 1 / scale
    ///     o = 0.5 fscale + ((oldSize - 1) 0.5 - newSize fscale 0.5)
    ///     centre of output sample i: c = i / scale + o + shift / scale
    ///
    /// For scale < 1 the inputs j from ceil(c - width) to floor(c + width), width = support / scale, get the
    /// weight kernel((c - j) scale) scale; for others those within the support the weight kernel(c - j). Inputs
    /// outside of the block are left out, and the weights are divided by their sum, formed in this order,
    /// unless that is 0. Weights of 0 stay in the list; where no input is near, it is empty.
    ///
    /// The entries have room for (int)(2 (width + 1)), at least for those in the list. Lists and entries belong
    /// to the caller, who gives both to zbfree(), or calls free_contrib(). Throws ZbMemoryException.
    [[nodiscard]] static ContributionList* filter_contrib(int newSize, int oldSize, float scale, float shift,
                                                          Kernel kernel, float support);
    /// Frees what filter_contrib() returned for newSize; null is legal.
    static void free_contrib(ContributionList* lists, int newSize);

    // ---- resampling

    /// Resamples a line of oldSize values to newSize with Lanczos3_filter.
    ///
    /// scale is the number of output samples per input sample, 0 for newSize / oldSize; shift is as for
    /// filter_contrib(). target and source do not overlap. Throws ZbMemoryException.
    static void resample(int newSize, float scale, float* target, int oldSize, const float* source,
                         float shift);

    /// Resamples source to the size of target, to values of targetType.
    ///
    /// target comes with its sizes. Without data it is allocated, of targetType and with the components of
    /// source; data that it has must be of that kind, and is no part of source. shifts are those of the three
    /// axes as for filter_contrib(), null for none; the scales are the ratios of the sizes.
    ///
    /// An axis that shrinks by shrinkFactor or more is first reduced by the whole part of that ratio, to means
    /// (ZbRawData::downSample3D(), in the type of source) or to the most frequent labels (downSampleLabels3D();
    /// single integers only, others are not reduced): much faster for large ratios, and less exact. 0: never.
    ///
    /// Then the lists are applied along the three axes, one after the other, in the order that takes the fewest
    /// additions. Intermediate values are floats, summed in float in the order of the lists; an empty list
    /// gives 0. The result is multiplied by factor and converted: to integers by clamping it to the range of
    /// the type and truncating toward zero. Since sums of floats end a little below or above the number that
    /// they stand for, a value near a whole number counts as that number, so that constant blocks stay
    /// constant: near are some units in the last place of a float, namely 6 * 2^-23 of its size, and one eighth
    /// of 2^-23 more for each entry of the longest lists of the three axes. A NaN becomes the low bits of
    /// 0x80000000, in 64 bits those of 2^63. Labels keep their type, and so all their bits, to the end; a
    /// factor other than 1 multiplies them in double. Among labels that are floats NaN counts as one.
    ///
    /// Each component is resampled by itself. For all types but complex and string; these write the usual line
    /// to standard error.
    ///
    /// Memory beside the blocks, for each thread: float planes (planes of labels: of their type), namely one for
    /// each entry of the longest list along z when another axis is resampled before z, and for the rest 4 MiB, or
    /// two planes if they are larger; and sixteen rows. Besides these, the reduced block. Intermediate planes have
    /// the sizes that the axes have at that step. Progress is reported, from the calling thread, after each so
    /// many planes, between startWorking() and stopWorking().
    ///
    /// True on success; false with the reason in error: "could not allocate 17 MB" for memory (where that was
    /// for an intermediate block, "No enough memory available to resample the dataset." goes to standard error
    /// as well), an empty text when progress was interrupted. The values of target are undefined then, and
    /// memory that was allocated for it is freed again. O(voxels * entries of the lists), parallel.
    static bool resample(const ZbTypedData3D& source, ZbTypedData3D& target, const float* shifts,
                         const ZbPrimType& targetType, unsigned int shrinkFactor, float factor, Kernel kernel,
                         float support, FilterType filterType, ZbString& error,
                         ZbProgressInterface* progress = nullptr);
    /// The same to the type of source.
    static bool resample(const ZbTypedData3D& source, ZbTypedData3D& target, const float* shifts,
                         unsigned int shrinkFactor, float factor, Kernel kernel, float support,
                         FilterType filterType, ZbString& error, ZbProgressInterface* progress = nullptr);
};
