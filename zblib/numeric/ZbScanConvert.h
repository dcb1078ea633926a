#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbVec2f.h>

/// Fills polygons into a grid of pixels: finds the pixels whose centres, (x + 0.5, y + 0.5), lie inside.
///
/// A polygon may be concave and may cross itself, where the even-odd rule decides. Its pixels come as horizontal
/// spans through a callback, row by row with ascending y, from left to right within a row, and clipped to a
/// rectangle whose bounds are all included; or one by one through a second callback. Nothing is kept between two
/// calls of render(), which may run in several threads at once and may be called from a callback.
///
///     ZbScanConvert converter(0, 0, width - 1, height - 1);
///     converter.setSpanCB(
///         [](void* image, int xLeft, int xRight, int y) { static_cast<Image*>(image)->fill(xLeft, xRight, y); },
///         &image);
///     converter.render(4, corners);
class ZbScanConvert
{
public:
    /// Called for the pixels [xLeft, xRight] of row y.
    using SpanCallback = void (*)(void* userData, int xLeft, int xRight, int y);
    using PixelCallback = void (*)(void* userData, int x, int y);

    /// Clips to [xmin, xmax] x [ymin, ymax]; a rectangle whose maximum is below its minimum has no pixels. Spans go
    /// to defaultSpanCB, and there is no pixel callback.
    ZbScanConvert(int xmin, int ymin, int xmax, int ymax) noexcept : m_clip{xmin, ymin, xmax, ymax} {}

    /// Each callback has a user data pointer of its own. A null span callback means defaultSpanCB.
    void setSpanCB(SpanCallback callback, void* userData) noexcept
    {
        m_spanCallback = callback ? callback : &defaultSpanCB;
        m_spanUserData = userData;
    }
    void setPixelCB(PixelCallback callback, void* userData) noexcept
    {
        m_pixelCallback = callback;
        m_pixelUserData = userData;
    }

    /// Fills the polygon of n points, of which the last is joined to the first.
    ///
    /// Points that are not finite do no harm; what is filled then is arbitrary. Beyond 64 points it takes memory in
    /// proportion to n, and throws ZbMemoryException where there is none. O(n log n) and, for each row,
    /// as many steps as edges cross it, if their order changes little from row to row.
    ZB_API void render(int n, const ZbVec2<float>* points) const;

    /// Passes each pixel of the span to the pixel callback of the converter that userData is, if it has one.
    ///
    /// It is given the converter itself as user data, whatever setSpanCB has set.
    ZB_API static void defaultSpanCB(void* userData, int xLeft, int xRight, int y);

private:
    static void concaveCB(void* converter, int y, int xLeft, int xRight);

    SpanCallback m_spanCallback = &defaultSpanCB;
    void* m_spanUserData = nullptr;
    PixelCallback m_pixelCallback = nullptr;
    void* m_pixelUserData = nullptr;
    int m_clip[4];  // xmin, ymin, xmax, ymax
};

/// The engine of ZbScanConvert: fills the polygon of n points, clipped to the rectangle clip of xmin, ymin, xmax, ymax,
/// and calls span for the pixels [xLeft, xRight] of each row y, in the order that ZbScanConvert says.
///
/// Positions of edges are floats that grow by a float from row to row, so that the pixels do not depend on where the
/// polygon is clipped at ymax.
ZB_API void concave(int n, const ZbVec2<float>* points, const int clip[4],
                    void (*span)(void* userData, int y, int xLeft, int xRight), void* userData);
