#include "SampleVolume.h"

#include "Failure.h"

#include <zblib/foundation/ZbProgressInterface.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace zbvolume
{

namespace
{

// Only operations that IEEE 754 rounds exactly (+ - * / and the square root) touch the voxels, and the
// generator is one that the language fixes to the bit: so the bytes are the same on every machine. That rules
// out sine and cosine, and the distributions of <random>.

struct Point {
    double x, y, z;
};
Point operator+(const Point& a, const Point& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Point operator-(const Point& a, const Point& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Point operator*(double s, const Point& a)
{
    return {s * a.x, s * a.y, s * a.z};
}
double dot(const Point& a, const Point& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
double length(const Point& a)
{
    return std::sqrt(dot(a, a));
}

// The layout is in units of the cube's edge and does not depend on the number of voxels. Objects keep a
// distance that is three voxels of the smallest cube.
constexpr double clearance = 3.0 / minSampleSize;

// What lies around a line of points, closer than radius.
struct Tube {
    std::vector<Point> points;
    double radius;
    int contrast;
};

struct Ellipsoid {
    Point centre;
    Point axes[3];  // orthogonal unit vectors
    double halfAxes[3];
    int contrast;

    double reach() const { return *std::max_element(halfAxes, halfAxes + 3); }
};

struct Layout {
    std::vector<Tube> tubes;
    std::vector<Ellipsoid> ellipsoids;
};

// Above the background, whose values are 30 to 40, plus or minus the noise. A bright object's inner voxels
// are at 30 + 190 - noise = 200 or more; those of others are between 100 and 199.
constexpr int brightContrast = 190;
constexpr int contrasts[] = {90, 110, 130};
constexpr int noiseReach = 20;

// Of the time that a volume takes.
constexpr float paintingShare = 0.5F;

double distanceToSegment(const Point& p, const Point& a, const Point& b)
{
    const Point along = b - a;
    const double t = std::clamp(dot(p - a, along) / dot(along, along), 0.0, 1.0);
    return length(p - (a + t * along));
}

double distanceToTube(const Point& p, const Tube& tube)
{
    double distance = 10;
    for (std::size_t i = 1; i < tube.points.size(); i++)
        distance = std::min(distance, distanceToSegment(p, tube.points[i - 1], tube.points[i]));
    return distance - tube.radius;
}

// Distance of p from the surface, to first order: right near the surface, where it is used.
double distanceToEllipsoid(const Point& p, const Ellipsoid& e)
{
    double scaled = 0;
    double gradient = 0;
    for (int i = 0; i < 3; i++) {
        const double c = dot(p - e.centre, e.axes[i]) / e.halfAxes[i];
        scaled += c * c;
        gradient += c * c / (e.halfAxes[i] * e.halfAxes[i]);
    }
    scaled = std::sqrt(scaled);
    return scaled == 0 ? -e.reach() : scaled * (scaled - 1) / std::sqrt(gradient);
}

// A circle (climb 0) or a coil around the vertical axis of the cube; each step turns by the same small angle.
Tube coil(double radius, double from, double to, int turns, double tubeRadius, int contrast)
{
    constexpr int stepsPerTurn = 48;
    constexpr double cosine = 0.99144486137381041;  // of 360 / 48 degrees
    constexpr double sine = 0.13052619222005157;
    Tube tube{{}, tubeRadius, contrast};
    double x = radius;
    double y = 0;
    for (int i = 0; i <= turns * stepsPerTurn; i++) {
        tube.points.push_back({0.5 + x, 0.5 + y, from + (to - from) * i / (turns * stepsPerTurn)});
        const double turned = cosine * x - sine * y;
        y = sine * x + cosine * y;
        x = turned;
    }
    return tube;
}

class LayoutMaker
{
public:
    Layout make();

private:
    double uniform(double low, double high)
    {
        return low + (high - low) * (double(m_random()) / 4294967296.0);
    }
    Point inCube(double margin)
    {
        return {uniform(margin, 1 - margin), uniform(margin, 1 - margin), uniform(margin, 1 - margin)};
    }
    Point direction();
    bool isFree(const Point& p, double reach) const;
    void addBentTube(double radius, int contrast);
    void addEllipsoid(double largest, int contrast);

    std::mt19937 m_random{20260101};
    Layout m_layout;
};

Point LayoutMaker::direction()
{
    for (;;) {
        const Point p{uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)};
        const double distance = length(p);
        if (distance > 0.1 && distance <= 1)
            return 1 / distance * p;
    }
}

bool LayoutMaker::isFree(const Point& p, double reach) const
{
    for (const Tube& tube : m_layout.tubes)
        if (distanceToTube(p, tube) < reach + clearance)
            return false;
    for (const Ellipsoid& e : m_layout.ellipsoids)
        if (length(p - e.centre) < e.reach() + reach + clearance)
            return false;
    return true;
}

void LayoutMaker::addBentTube(double radius, int contrast)
{
    for (;;) {
        const Point from = inCube(0.1);
        const Point bend = inCube(0.1);
        const Point to = inCube(0.1);
        const double chord = length(to - from);
        if (chord < 0.2 || chord > 0.45 || length(bend - from) > 0.35 || length(bend - to) > 0.35)
            continue;
        Tube tube{{}, radius, contrast};
        bool free = true;
        for (int i = 0; i <= 24 && free; i++) {
            const double t = i / 24.0;
            tube.points.push_back((1 - t) * (1 - t) * from + 2 * t * (1 - t) * bend + t * t * to);
            free = isFree(tube.points.back(), radius + 0.01);
        }
        if (free) {
            m_layout.tubes.push_back(std::move(tube));
            return;
        }
    }
}

void LayoutMaker::addEllipsoid(double largest, int contrast)
{
    Ellipsoid e{};
    e.contrast = contrast;
    e.halfAxes[0] = largest;
    e.halfAxes[1] = std::max(0.028, largest * uniform(0.5, 1));
    e.halfAxes[2] = std::max(0.028, largest * uniform(0.5, 1));
    e.axes[0] = direction();
    const Point other = direction();
    const Point across = other - dot(other, e.axes[0]) * e.axes[0];
    e.axes[1] = 1 / length(across) * across;
    e.axes[2] = {e.axes[0].y * e.axes[1].z - e.axes[0].z * e.axes[1].y,
                 e.axes[0].z * e.axes[1].x - e.axes[0].x * e.axes[1].z,
                 e.axes[0].x * e.axes[1].y - e.axes[0].y * e.axes[1].x};
    do
        e.centre = inCube(e.reach() + clearance);
    while (!isFree(e.centre, e.reach()));
    m_layout.ellipsoids.push_back(e);
}

Layout LayoutMaker::make()
{
    m_layout.tubes.push_back({{{0.5, 0.5, 0.12}, {0.5, 0.5, 0.88}}, 0.045, brightContrast});  // the column
    m_layout.tubes.push_back(coil(0.19, 0.16, 0.84, 4, 0.03, contrasts[1]));
    m_layout.tubes.push_back(coil(0.4, 0.465, 0.465, 1, 0.026, contrasts[2]));  // the ring
    for (int i = 0; i < 5; i++)
        addBentTube(0.028, i == 2 ? brightContrast : contrasts[i % 3]);
    // The large ones first: they need the room most.
    const int left = sampleObjects - int(m_layout.tubes.size());
    int strong = 2;
    for (int i = 0; i < left; i++) {
        const bool isBright = i % 3 == 1 && strong < sampleStrongObjects;
        strong += isBright;
        const double share = double(left - 1 - i) / (left - 1);
        addEllipsoid(0.032 + 0.07 * share * share, isBright ? brightContrast : contrasts[i % 3]);
    }
    return std::move(m_layout);
}

// Draws objects into a cube of bytes: the contrast inside, and across the surface the share of the voxel that
// lies inside, as an imaging device would see it.
class Brush
{
public:
    Brush(unsigned char* voxels, int size, ZbProgressInterface& progress)
        : m_voxels(voxels), m_size(size), m_progress(progress)
    {
    }

    template <typename Distance>
    void paint(const Point& low, const Point& high, int contrast, Distance&& distance)
    {
        const auto first = [&](double edge) { return std::max(0, int(edge * m_size) - 1); };
        const auto last = [&](double edge) { return std::min(int(m_size) - 1, int(edge * m_size) + 1); };
        for (int z = first(low.z); z <= last(high.z); z++)
            for (int y = first(low.y); y <= last(high.y); y++)
                for (int x = first(low.x); x <= last(high.x); x++) {
                    const Point p{(x + 0.5) / m_size, (y + 0.5) / m_size, (z + 0.5) / m_size};
                    const double share = std::clamp(0.5 - distance(p) * m_size, 0.0, 1.0);
                    unsigned char& voxel = m_voxels[x + long(m_size) * (y + long(m_size) * z)];
                    voxel = std::max(voxel, static_cast<unsigned char>(std::lround(contrast * share)));
                }
        if (m_progress.wasInterrupted(true))
            throw Interrupted();
    }
    void paint(const Ellipsoid& e)
    {
        const Point reach{e.reach(), e.reach(), e.reach()};
        paint(e.centre - reach, e.centre + reach, e.contrast,
              [&](const Point& p) { return distanceToEllipsoid(p, e); });
    }
    void paint(const Tube& tube)
    {
        for (std::size_t i = 1; i < tube.points.size(); i++) {
            const Point& a = tube.points[i - 1];
            const Point& b = tube.points[i];
            const Point reach{tube.radius, tube.radius, tube.radius};
            const Point low{std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
            const Point high{std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
            paint(low - reach, high + reach, tube.contrast,
                  [&](const Point& p) { return distanceToSegment(p, a, b) - tube.radius; });
        }
    }

private:
    unsigned char* m_voxels;
    long m_size;
    ZbProgressInterface& m_progress;
};

// Background that brightens a little towards the top, and noise with a triangular distribution of integers
// from -noiseReach to noiseReach.
void addBackground(unsigned char* voxels, int size, ZbProgressInterface& progress)
{
    std::mt19937 random(4711);
    for (int z = 0; z < size; z++) {
        const int background = 30 + 10 * z / (size - 1);
        for (long i = 0; i < long(size) * size; i++) {
            const auto bits = std::uint32_t(random());
            const auto throwOf = [](std::uint32_t half) { return int(half * (noiseReach + 1) >> 16); };
            const int noise = throwOf(bits & 0xffff) + throwOf(bits >> 16) - noiseReach;
            *voxels = static_cast<unsigned char>(std::clamp(*voxels + background + noise, 0, 255));
            voxels++;
        }
        progress.setProgressValue(paintingShare + (1 - paintingShare) * float(z) / float(size));
        if (progress.wasInterrupted(true))
            throw Interrupted();
    }
}

NiftiImage makeHeader(int size)
{
    const std::int64_t dims[8] = {3, size, size, size, 1, 1, 1, 1};
    NiftiImage image(nifti_make_new_nim(dims, DT_UINT8, 0));
    if (!image)
        throw Failure("the sample", "not enough memory for a header");
    const double step = 64.0 / size;
    image->dx = image->dy = image->dz = step;
    image->pixdim[1] = image->pixdim[2] = image->pixdim[3] = step;
    image->xyz_units = NIFTI_UNITS_MM;
    image->sform_code = NIFTI_XFORM_SCANNER_ANAT;
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++)
            image->sto_xyz.m[i][j] = i == j   ? step
                                     : j == 3 ? step / 2 - 32
                                              : 0;  // the origin is in the middle
    return image;
}

}  // namespace

Volume makeSample(int size, ZbProgressInterface& progress)
{
    progress.startWorking("Making the sample");
    Volume volume;
    volume.path = "sample";
    volume.format = "built in";
    volume.dims = {size, size, size};
    volume.niftiVersion = 1;
    volume.header = makeHeader(size);
    volume.geometry = geometryOf(*volume.header);
    volume.block = allocateVoxels("the sample", std::uint64_t(volume.voxelCount()));
    auto* voxels = static_cast<unsigned char*>(volume.block.get());
    std::fill_n(voxels, volume.voxelCount(), static_cast<unsigned char>(0));

    const Layout layout = LayoutMaker().make();
    Brush brush(voxels, size, progress);
    float painted = 0;
    const auto paint = [&](const auto& object) {
        brush.paint(object);
        progress.setProgressValue(paintingShare * ++painted / float(sampleObjects));
    };
    std::for_each(layout.tubes.begin(), layout.tubes.end(), paint);
    std::for_each(layout.ellipsoids.begin(), layout.ellipsoids.end(), paint);
    addBackground(voxels, size, progress);
    progress.stopWorking();
    return volume;
}

}  // namespace zbvolume
