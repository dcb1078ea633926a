#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/imaging/ZbConnectedComponents.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

using Cc = ZbConnectedComponents;
using Component = Cc::Component;
using Region = Cc::Region;
using Dims = std::array<int, 3>;
using Offset = std::array<int, 3>;
using Values = std::vector<double>;  // every value of every element type is one

struct Case {
    Dims dims;
    int nb;
    bool byValue;
    double low, high;
};

size_t voxelsOf(const Dims& dims)
{
    return size_t(dims[0]) * size_t(dims[1]) * size_t(dims[2]);
}

/// The neighbours that precede a voxel, in the order in which the pass asks them.
std::vector<Offset> previousNeighbours(int nb)
{
    constexpr Offset order[] = {{-1, -1, -1}, {1, -1, -1}, {-1, 1, -1}, {1, 1, -1},  {0, -1, -1},
                                {-1, 0, -1},  {1, 0, -1},  {0, 1, -1},  {-1, -1, 0}, {1, -1, 0},
                                {0, 0, -1},   {0, -1, 0},  {-1, 0, 0}};
    const auto isUsed = [nb](const Offset& offset) {
        const bool inSlice = offset[2] == 0;
        const long numAxes = 3 - std::count(offset.begin(), offset.end(), 0);
        switch (nb) {
        case 4:
            return inSlice && numAxes == 1;
        case 8:
            return inSlice;
        case 10:
            return inSlice || numAxes == 1;
        }
        return (nb == 6 && numAxes == 1) || (nb == 18 && numAxes <= 2) || nb == 26;
    };
    std::vector<Offset> result;
    std::copy_if(std::begin(order), std::end(order), std::back_inserter(result), isUsed);
    return result;
}

/// Calls visit(flat index) for the neighbours in the list that lie in the grid.
template <typename Visit>
void forNeighbours(const std::vector<Offset>& offsets, const Dims& dims, int x, int y, int z, Visit visit)
{
    for (const auto& [dx, dy, dz] : offsets) {
        const int nx = x + dx, ny = y + dy, nz = z + dz;
        if (nx >= 0 && ny >= 0 && nz >= 0 && nx < dims[0] && ny < dims[1] && nz < dims[2])
            visit(nx + dims[0] * (ny + long(dims[1]) * nz));
    }
}

/// The raster pass as it is defined, voxel by voxel. Tests hold the library's form to this one.
///
/// Labels are what is read back from them: indices under a mask, which is that of a byte for labels of bytes.
class PlainPass
{
public:
    int mask = -1;
    long limit = 64998;

    std::vector<Component> comps;
    int added = 0, cleaned = 0;

    int run(const std::vector<double>& in, std::vector<int>& out, double low, double high, const Dims& dims,
            int nb, bool labelMode)
    {
        const std::vector<Offset> offsets = previousNeighbours(nb);
        comps.assign(1, Component{});
        std::vector<int> list;
        long i = 0;
        for (int z = 0; z < dims[2]; ++z)
            for (int y = 0; y < dims[1]; ++y)
                for (int x = 0; x < dims[0]; ++x, ++i) {
                    if (in[i] < low) {
                        out[i] = 0;
                        continue;
                    }
                    list.clear();
                    forNeighbours(offsets, dims, x, y, z, [&](long n) {
                        if ((!labelMode || in[n] == in[i]) && out[n] != 0)
                            list.push_back(comps[out[n]].id);
                    });
                    int m;
                    if (list.empty()) {
                        m = addNew(out, i);
                        if (m < 0)
                            return -1;
                        if (labelMode)
                            comps[m].value = valueOf(in[i]);
                    } else {
                        m = *std::min_element(list.begin(), list.end());
                        for (const int r : list)
                            if (r != m)
                                merge(comps[m], comps[r], labelMode);
                    }
                    out[i] = m & mask;
                    comps[m].size += 1;
                    comps[m].center[0] += float(x);
                    comps[m].center[1] += float(y);
                    comps[m].center[2] += float(z);
                    if (!labelMode && in[i] >= high)
                        comps[m].value += 1;
                }
        cleanUp(out, i);
        return int(comps.size()) - 1;
    }

private:
    static int valueOf(double value)
    {
        constexpr double limit = 2147483648.0;
        return value >= limit ? INT_MAX : value > -limit ? int(value) : INT_MIN;
    }

    static void merge(Component& m, Component& r, bool labelMode)
    {
        m.size += r.size;
        if (!labelMode)
            m.value += r.value;
        for (int k = 0; k < 3; ++k)
            m.center[k] += r.center[k];
        r = {m.id, 0, 0, {}};
    }

    int addNew(std::vector<int>& out, long n)
    {
        ++added;
        if (long(comps.size()) > limit)
            cleanUp(out, n);
        if (long(comps.size()) > limit)
            return -1;
        comps.push_back({int(comps.size()), 0, 0, {}});
        return comps.back().id;
    }

    void cleanUp(std::vector<int>& out, long n)
    {
        ++cleaned;
        std::vector<int> map(comps.size(), 0);
        size_t k = 1;
        for (size_t j = 1; j < comps.size(); ++j) {
            if (comps[j].id != int(j)) {
                map[j] = map[comps[j].id];
            } else {
                map[j] = int(k) & mask;
                comps[k] = comps[j];
                comps[k].id = int(k);
                ++k;
            }
        }
        if (k == comps.size())
            return;
        comps.resize(k);
        for (long i = 0; i < n; ++i)
            out[i] = map[out[i]];
    }
};

/// The true regions by flooding, in raster order of their first voxels.
std::vector<Region> plainRegions(const Values& in, std::vector<long>& labels, const Case& c)
{
    const Dims& dims = c.dims;
    std::vector<Offset> offsets = previousNeighbours(c.nb);
    for (const auto& [dx, dy, dz] : previousNeighbours(c.nb))
        offsets.push_back({-dx, -dy, -dz});
    std::vector<Region> regions(1, {0, 0, 0.0, {}, {INT_MAX, INT_MAX, INT_MAX}, {-1, -1, -1}});
    const auto add = [&](Region& region, long i) {
        const int at[3] = {int(i % dims[0]), int(i / dims[0] % dims[1]), int(i / dims[0] / dims[1])};
        ++region.size;
        region.strong += in[i] >= c.high;
        for (int k = 0; k < 3; ++k) {
            region.center[k] += at[k];
            region.boxMin[k] = std::min(region.boxMin[k], at[k]);
            region.boxMax[k] = std::max(region.boxMax[k], at[k]);
        }
    };
    labels.assign(in.size(), 0);
    for (long i = 0; i < long(in.size()); ++i) {
        if (labels[i] != 0)
            continue;
        if (in[i] < c.low) {
            add(regions[0], i);
            continue;
        }
        const long label = long(regions.size());
        regions.push_back({0, 0, c.byValue ? in[i] : 0.0, {}, {INT_MAX, INT_MAX, INT_MAX}, {-1, -1, -1}});
        std::vector<long> todo(1, i);
        labels[i] = label;
        while (!todo.empty()) {
            const long at = todo.back();
            todo.pop_back();
            add(regions.back(), at);
            forNeighbours(offsets, dims, int(at % dims[0]), int(at / dims[0] % dims[1]),
                          int(at / dims[0] / dims[1]), [&](long n) {
                              if (labels[n] == 0 && !(in[n] < c.low) && (!c.byValue || in[n] == in[at])) {
                                  labels[n] = label;
                                  todo.push_back(n);
                              }
                          });
        }
    }
    for (Region& region : regions)
        for (int k = 0; k < 3; ++k) {
            if (region.size > 0)
                region.center[k] /= double(region.size);
            else
                region.boxMin[k] = 0;
        }
    return regions;
}

// ---- Both labellers with all types of values and labels

/// What a pass leaves behind. Labels are indices; a voxel that was not visited has the label 99.
struct PassResult {
    int count = 0;
    std::vector<int> labels{};
    std::vector<Component> comps{};
    int added = 0, cleaned = 0;
};

PassResult runPlain(const Values& in, const Case& c, int mask, long limit)
{
    PlainPass plain;
    plain.mask = mask;
    plain.limit = limit;
    PassResult result{.count = 0, .labels = std::vector<int>(in.size(), 99)};
    result.count = plain.run(in, result.labels, c.low, c.high, c.dims, c.nb, c.byValue);
    result.comps = plain.comps;
    result.added = plain.added;
    result.cleaned = plain.cleaned;
    return result;
}

template <typename D, typename L>
PassResult runPass(const Values& values, const Case& c, bool inPlace)
{
    std::vector<D> in(values.begin(), values.end());
    std::vector<L> separate(in.size(), L(99));
    L* out = inPlace ? reinterpret_cast<L*>(in.data()) : separate.data();
    ZbDArray<Component> comps;
    PassResult result;
    result.count = Cc::do_label(in.data(), out, comps, D(c.low), D(c.high), c.dims.data(), c.nb, c.byValue);
    using Index = std::conditional_t<std::is_same_v<L, short>, unsigned short, L>;
    for (size_t i = 0; i < in.size(); ++i)
        result.labels.push_back(int(Index(out[i])));
    result.comps.assign(comps.begin(), comps.end());
    result.added = Cc::dbg_add;
    result.cleaned = Cc::dbg_clean;
    return result;
}

enum class Output { Separate, InPlace, None };

struct RegionResult {
    long count = 0;
    std::vector<long> labels{};
    std::vector<Region> regions{};
};

template <typename D, typename L>
RegionResult runRegions(const Values& values, const Case& c, Output output)
{
    std::vector<D> in(values.begin(), values.end());
    std::vector<L> separate(in.size(), L(99));
    L* out = output == Output::InPlace ? reinterpret_cast<L*>(in.data()) : separate.data();
    const ZbTypedPointer labels(output == Output::None ? nullptr : out, ZbPrimType(out));
    ZbDArray<Region> regions;
    RegionResult result;
    result.count =
        Cc::labelRegions(in.data(), c.dims.data(), c.nb, labels, c.low, c.high, c.byValue, regions);
    result.labels.assign(out, out + in.size());
    result.regions.assign(regions.begin(), regions.end());
    return result;
}

struct TypePair {
    ZbPrimType value, label;
    int indexMask;
    long recordLimit;
    double largestLabel;
    PassResult (*pass)(const Values&, const Case&, bool inPlace);
    RegionResult (*regions)(const Values&, const Case&, Output);
};

template <typename D, typename L>
TypePair typePair()
{
    constexpr bool isReal = std::is_floating_point_v<L>;
    return {ZbPrimType((D*)nullptr),
            ZbPrimType((L*)nullptr),
            sizeof(L) == 1 ? 255 : -1,
            std::is_same_v<L, int> ? 9999998 : 64998,
            isReal ? std::pow(2.0, std::numeric_limits<L>::digits) : double(std::numeric_limits<L>::max()),
            runPass<D, L>,
            runRegions<D, L>};
}

template <typename... Types>
std::vector<TypePair> pairsOf()
{
    std::vector<TypePair> pairs;
    const auto append = [&]<typename D>(D*) { (pairs.push_back(typePair<D, Types>()), ...); };
    (append((Types*)nullptr), ...);
    return pairs;
}

/// Seven pairs in which each type is once that of the values and once that of the labels; of them those whose
/// values may be NaN if that is asked for. Seven rounds make all pairs.
std::vector<TypePair> pairsOfRound(unsigned round, bool withNan)
{
    static const auto all = pairsOf<unsigned char, short, unsigned short, int, unsigned int, float, double>();
    std::vector<TypePair> pairs;
    for (unsigned type = 0; type < 7; ++type)
        if (const TypePair& pair = all[7 * type + (type + round) % 7]; pair.value.isFloat() || !withNan)
            pairs.push_back(pair);
    return pairs;
}

std::ostream& operator<<(std::ostream& stream, const TypePair& pair)
{
    return stream << pair.value.getName() << " to " << pair.label.getName();
}

bool same(const Component& a, const Component& b)
{
    return a.id == b.id && a.size == b.size && a.value == b.value &&
           std::equal(a.center, a.center + 3, b.center);
}

bool same(const Region& a, const Region& b)
{
    return a.size == b.size && a.strong == b.strong && std::equal(a.center, a.center + 3, b.center) &&
           std::equal(a.boxMin, a.boxMin + 3, b.boxMin) && std::equal(a.boxMax, a.boxMax + 3, b.boxMax) &&
           (a.value == b.value || (std::isnan(a.value) && std::isnan(b.value)));
}

template <typename Table, typename Record>
bool sameTable(const Table& actual, const std::vector<Record>& expected)
{
    return std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(),
                      [](const Record& a, const Record& b) { return same(a, b); });
}

void expectSame(const PassResult& actual, const PassResult& expected)
{
    EXPECT_EQ(actual.count, expected.count);
    EXPECT_TRUE(actual.labels == expected.labels);
    EXPECT_TRUE(sameTable(actual.comps, expected.comps));
    EXPECT_EQ(actual.added, expected.added);
    EXPECT_EQ(actual.cleaned, expected.cleaned);
    EXPECT_EQ(Cc::dbg_merge, 0);
}

/// Noise, or blocks of one value with single voxels of noise in them; values 0 to 3, and perhaps NaN.
Values randomValues(const Dims& dims, unsigned seed, bool withNan)
{
    std::mt19937 random(seed);
    const unsigned block = 1 + random() % 3 * 4;
    std::vector<double> cells(4096);
    for (double& cell : cells)
        cell = random() % 4;
    Values values;
    for (int z = 0; z < dims[2]; ++z)
        for (int y = 0; y < dims[1]; ++y)
            for (int x = 0; x < dims[0]; ++x) {
                const unsigned cell =
                    unsigned(x) / block + 29 * (unsigned(y) / block) + 401 * (unsigned(z) / block);
                values.push_back(block == 1 || random() % 30 == 0 ? random() % 4
                                                                  : cells[cell % cells.size()]);
                if (withNan && random() % 50 == 0)
                    values.back() = std::numeric_limits<double>::quiet_NaN();
            }
    return values;
}

/// Sizes around the 64 voxels of a word, flat grids, and some that have an inside.
constexpr Dims randomDims[] = {{1, 1, 1},   {1, 9, 7},   {2, 2, 2},    {63, 4, 3},
                               {64, 5, 4},  {65, 6, 5},  {130, 1, 6},  {127, 40, 1},
                               {129, 3, 2}, {200, 1, 1}, {20, 19, 18}, {70, 30, 9}};

/// Calls visit(values, case, pairs) with the pairs of types to try.
template <typename Visit>
void forRandomCases(Visit visit)
{
    unsigned seed = 0;
    for (const Dims& dims : randomDims)
        for (const int nb : {4, 6, 8, 10, 18, 26, 7})  // 7 is no neighbourhood
            for (const bool byValue : {false, true})
                for (const bool withNan : {false, true}) {
                    ++seed;
                    SCOPED_TRACE(::testing::Message()
                                 << dims[0] << "x" << dims[1] << "x" << dims[2] << ", nb " << nb
                                 << ", by value " << byValue << ", seed " << seed);
                    visit(randomValues(dims, seed, withNan),
                          Case{dims, nb, byValue, double(seed / 4 % 4), double(2 + seed / 16 % 2)},
                          pairsOfRound(seed + seed / 28, withNan));  // another round for the next dims
                }
}

TEST(ZbConnectedComponents, passAgreesWithDefinition)
{
    forRandomCases([](const Values& in, const Case& c, const std::vector<TypePair>& pairs) {
        const PassResult expected = runPlain(in, c, -1, 64998);
        const PassResult expectedBytes = runPlain(in, c, 255, 64998);
        for (const TypePair& pair : pairs) {
            SCOPED_TRACE(pair);
            expectSame(pair.pass(in, c, false), pair.indexMask == 255 ? expectedBytes : expected);
            if (pair.value.size() == pair.label.size())
                expectSame(pair.pass(in, c, true), pair.indexMask == 255 ? expectedBytes : expected);
        }
    });
}

TEST(ZbConnectedComponents, regionsAgreeWithFlooding)
{
    forRandomCases([](const Values& in, const Case& c, const std::vector<TypePair>& pairs) {
        RegionResult expected;
        expected.regions = plainRegions(in, expected.labels, c);
        expected.count = long(expected.regions.size()) - 1;
        for (const TypePair& pair : pairs) {
            SCOPED_TRACE(pair);
            ::testing::internal::CaptureStderr();
            const RegionResult actual = pair.regions(in, c, Output::Separate);
            const std::string message = ::testing::internal::GetCapturedStderr();
            if (double(expected.count) > pair.largestLabel) {
                EXPECT_EQ(actual.count, -1);
                EXPECT_EQ(message, std::string("ERROR: labels of type ") + pair.label.getName() +
                                       " cannot hold " + std::to_string(expected.count) + " regions\n");
                EXPECT_EQ(actual.labels, std::vector<long>(in.size(), 99));
                continue;
            }
            EXPECT_EQ(message, "");
            EXPECT_EQ(actual.count, expected.count);
            EXPECT_TRUE(actual.labels == expected.labels);
            EXPECT_TRUE(sameTable(actual.regions, expected.regions));
            EXPECT_TRUE(sameTable(pair.regions(in, c, Output::None).regions, expected.regions));
            if (pair.value.size() == pair.label.size()) {
                const RegionResult placed = pair.regions(in, c, Output::InPlace);
                EXPECT_TRUE(placed.labels == expected.labels);
                EXPECT_TRUE(sameTable(placed.regions, expected.regions));
            }
        }
    });
}

// ---- The raster pass where records run out and where sums are rounded

struct LargeCase {
    const char* name;
    Case setting;
    double density;
    bool cleansUp, succeeds;  // of labels with the limit of 16 bits
};
const LargeCase largeCases[] = {
    {"cleansUpAndGoesOn", {{800, 800, 1}, 4, false, 1, 2}, 0.55, true, true},
    {"cleansUpInSlices", {{90, 90, 90}, 6, false, 1, 2}, 0.3, true, true},
    {"runsOut", {{600, 900, 1}, 4, false, 1, 2}, 0.3, true, false},
    {"runsOutByValue", {{500, 450, 1}, 4, true, 0, 0}, 0.5, true, false},
    {"cleansUpByValue", {{90, 80, 70}, 6, true, 0, 0}, 0.97, true, true},
    {"roundsSums", {{300, 7, 200}, 26, false, 1, 2}, 0.97, false, true},
};

TEST(ZbConnectedComponents, passAgreesWithDefinitionOnLargeGrids)
{
    const TypePair pairs[] = {typePair<unsigned char, unsigned char>(), typePair<unsigned char, short>(),
                              typePair<unsigned char, int>()};
    for (const LargeCase& large : largeCases) {
        SCOPED_TRACE(large.name);
        std::mt19937 random(3);
        Values in(voxelsOf(large.setting.dims));
        for (double& value : in)
            value = std::bernoulli_distribution(large.density)(random) ? 1 + random() % 2 : 0;
        for (const TypePair& pair : pairs) {
            SCOPED_TRACE(pair);
            ::testing::internal::CaptureStderr();
            const PassResult actual = pair.pass(in, large.setting, false);
            const std::string message = ::testing::internal::GetCapturedStderr();
            const PassResult expected = runPlain(in, large.setting, pair.indexMask, pair.recordLimit);
            expectSame(actual, expected);
            EXPECT_EQ(message, expected.count < 0 ? "ERROR: too many components\n" : "");
            if (pair.label == ZbPrimType::BYTE && expected.count >= 0)
                expectSame(pair.pass(in, large.setting, true), expected);
            if (pair.label == ZbPrimType::SHORT) {
                EXPECT_EQ(expected.cleaned > 1 || expected.count < 0, large.cleansUp);
                EXPECT_EQ(expected.count >= 0, large.succeeds);
            }
        }
    }
}

// ---- Small scenes, worked by hand

struct Scene {
    const char* name;
    Dims dims;
    const char* voxels;  // '.' is background; '#' is a voxel, and a digit one with that value
    int nb;
    const char* labels;
};
const Scene scenes[] = {
    {"nothing", {3, 2, 1}, "... ...", 4, "000 000"},
    {"corner", {2, 2, 1}, "#. .#", 8, "10 01"},
    {"cornerApart", {2, 2, 1}, "#. .#", 4, "10 02"},
    {"edgeAcrossSlices", {2, 2, 2}, "#. .. .. #.", 18, "10 00 00 10"},
    {"edgeAcrossSlicesApart", {2, 2, 2}, "#. .. .. #.", 6, "10 00 00 20"},
    {"cornerAcrossSlices", {2, 2, 2}, "#. .. .. .#", 26, "10 00 00 01"},
    {"cornerAcrossSlicesApart", {2, 2, 2}, "#. .. .. .#", 18, "10 00 00 02"},
    {"edgeInPlaneOfEight", {2, 2, 2}, "#. .. .. #.", 10, "10 00 00 20"},
    {"aboveEachOther", {1, 2, 2}, "# . # .", 10, "1 0 1 0"},
    {"slicesApart", {1, 2, 2}, "# . # .", 8, "1 0 2 0"},
    {"uShape", {3, 3, 1}, "#.# #.# ###", 4, "101 101 111"},
    {"uShapeThenAnother", {5, 3, 1}, "#.#.# #.#.. ###.#", 4, "10102 10100 11103"},
};

TEST(ZbConnectedComponents, labelsScenes)
{
    for (const Scene& scene : scenes) {
        SCOPED_TRACE(scene.name);
        std::vector<unsigned char> in, expected, out(voxelsOf(scene.dims));
        for (const char* c = scene.voxels; *c; ++c)
            if (*c != ' ')
                in.push_back(*c == '#');
        for (const char* c = scene.labels; *c; ++c)
            if (*c != ' ')
                expected.push_back((unsigned char)(*c - '0'));
        const int count = *std::max_element(expected.begin(), expected.end());
        ZbDArray<Component> comps;
        EXPECT_EQ(Cc::do_label(in.data(), out.data(), comps, 1, 1, scene.dims.data(), scene.nb, 0), count);
        EXPECT_EQ(out, expected);
        ZbDArray<Region> regions;
        EXPECT_EQ(Cc::labelRegions(in.data(), scene.dims.data(), scene.nb, out.data(), 1, 1, false, regions),
                  count);
        EXPECT_EQ(out, expected);
    }
}

TEST(ZbConnectedComponents, labelFieldsIncludeTheValueZero)
{
    unsigned char in[] = {0, 0, 7, 7, 0, 7};  // rows 007 and 707
    const int dims[] = {3, 2, 1};
    unsigned short out[6];
    int huge[6];
    ZbDArray<Component> comps;
    EXPECT_EQ(Cc::labelLabels(in, dims, 4, out, 0, 0, comps, nullptr), 3);
    EXPECT_THAT(out, ::testing::ElementsAre(1, 1, 2, 3, 1, 2));
    EXPECT_EQ(Cc::labelLabelsHuge(in, dims, 4, huge, 0, 0, comps, nullptr), 3);
    EXPECT_THAT(huge, ::testing::ElementsAre(1, 1, 2, 3, 1, 2));
    EXPECT_TRUE(same(comps[1], {1, 3, 0, {2, 1, 0}}));
    EXPECT_TRUE(same(comps[3], {3, 1, 7, {0, 1, 0}}));
    EXPECT_EQ(Cc::labelConnectedComponents(in, dims, 4, out, 1, 1), 2);
    EXPECT_THAT(out, ::testing::ElementsAre(0, 0, 1, 2, 0, 1));
}

// Values around the thresholds as they are compared, one voxel each, and how many of them are regions.
TEST(ZbConnectedComponents, thresholdsAreRoundedAndClampedForIntegersOnly)
{
    const int dims[] = {4, 1, 1};
    const auto count = [&](const ZbTypedPointer& in, double low) {
        unsigned short* out = nullptr;
        const int passed = Cc::labelCC(in, dims, 7, out, 0, low, 0, 0, 0, nullptr, nullptr);
        zbfree(out);
        ZbDArray<Region> regions;
        unsigned char labels[4];
        EXPECT_EQ(Cc::labelRegions(in, dims, 7, labels, low, 0, false, regions), passed);
        return passed;
    };
    unsigned char bytes[] = {0, 119, 120, 255};
    EXPECT_EQ(count(bytes, 119.4), 3);
    EXPECT_EQ(count(bytes, 119.5), 2);
    EXPECT_EQ(count(bytes, 1e9), 1);
    EXPECT_EQ(count(bytes, -1e9), 4);
    short shorts[] = {-32768, -2, -1, 32767};
    EXPECT_EQ(count(shorts, -1.5), 2);
    EXPECT_EQ(count(shorts, -1.6), 3);
    float floats[] = {0.09f, 0.1f, 0.11f, -1};
    EXPECT_EQ(count(floats, 0.1), 2);
    double doubles[] = {0.09, 0.1f, 0.1, 1e300};
    EXPECT_EQ(count(doubles, 0.1), 3);
}

TEST(ZbConnectedComponents, labelCCAllocatesOnlyWhatIsMissing)
{
    unsigned char in[] = {1, 0, 2};
    const int dims[] = {3, 1, 1};
    unsigned short* out = nullptr;
    ZbDArray<Component> comps;
    EXPECT_EQ(Cc::labelCC(in, dims, 6, out, 0, 1, 2, 0, 0, &comps, nullptr), 2);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(std::vector<int>(out, out + 3), (std::vector<int>{1, 0, 2}));
    EXPECT_TRUE(same(comps[2], {2, 1, 1, {2, 0, 0}}));
    zbfree(out);
    unsigned short own[3];
    out = own;
    EXPECT_EQ(Cc::labelCC(in, dims, 6, out, 0, 1, 2, 0, 0, nullptr, nullptr), 2);
    EXPECT_EQ(out, own);
}

TEST(ZbConnectedComponents, refusesOtherTypesAndImpossibleSizes)
{
    signed char in[1] = {1};
    double values[1] = {1};
    long long out[1] = {5};
    const int dims[] = {1, 1, 1};
    const int tooMany[] = {INT_MAX, INT_MAX, INT_MAX};
    unsigned short* allocated = nullptr;
    ZbDArray<Component> comps;
    ZbDArray<Region> regions;
    const ZbTypedPointer int64(out, ZbPrimType::INT64);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Cc::labelCC(in, dims, 6, allocated, 0, 1, 1, 0, 0, nullptr, nullptr), -1);
    EXPECT_EQ(allocated, nullptr);
    EXPECT_EQ(Cc::labelConnectedComponents(values, int64, comps, 1, 1, dims, 6, 1), -1);
    EXPECT_EQ(Cc::labelConnectedComponents(values, ZbTypedPointer(out, -1), comps, 1, 1, dims, 6, 1), -1);
    EXPECT_EQ(Cc::labelRegions(ZbTypedPointer(in, 12), dims, 6, values, 1, 1, false, regions), -1);
    EXPECT_EQ(Cc::labelRegions(in, dims, 6, values, 1, 1, false, regions), -1);
    EXPECT_EQ(Cc::labelRegions(values, dims, 6, int64, 1, 1, false, regions), -1);
    EXPECT_EQ(Cc::labelCC(values, tooMany, 6, allocated, 0, 1, 1, 0, 0, nullptr, nullptr), -1);
    EXPECT_EQ(Cc::labelRegions(values, tooMany, 6, values, 1, 1, false, regions), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Unsupported data type sbyte in ZbRawData()\n"
              "Unsupported data type int64 in ZbRawData()\n"
              "Unsupported data type unknown in ZbRawData()\n"
              "Unsupported data type unknown in ZbConnectedComponents::labelRegions()\n"
              "Unsupported data type sbyte in ZbConnectedComponents::labelRegions()\n"
              "Unsupported data type int64 in ZbConnectedComponents::labelRegions()\n"
              "ERROR: too many voxels\n"
              "ERROR: too many voxels\n");
    EXPECT_EQ(out[0], 5);

    const int empty[] = {3, 0, -2};
    EXPECT_EQ(Cc::do_label(values, values, comps, 1, 1, empty, 6, 0), 0);
    EXPECT_EQ(comps.size(), 1);
    EXPECT_EQ(Cc::labelRegions(values, empty, 6, values, 1, 1, false, regions), 0);
    EXPECT_TRUE(same(regions[0], {0, 0, 0, {0, 0, 0}, {0, 0, 0}, {-1, -1, -1}}));
}

// Records 0 to 6: 3 has been merged into 2 and 6 into 3.
TEST(ZbConnectedComponents, cleanUpDropsMergedAndSmallRecords)
{
    const ZbDArray<Component> before = {{0, 0, 0, {}}, {1, 9, 1, {}}, {2, 8, 5, {}}, {2, 0, 0, {}},
                                        {4, 2, 6, {}}, {5, 7, 7, {}}, {3, 0, 0, {}}};
    const auto labelsAfter = [&](int minSize, int minValue, std::vector<int> sizes) {
        ZbDArray<Component> comps = before;
        std::vector<short> labels = {0, 1, 2, 3, 4, 5, 6, 7, 6};
        EXPECT_EQ(Cc::cleanup_components(comps, labels.data(), labels.size() - 1, minSize, minValue),
                  int(sizes.size()));
        for (long i = 0; i < comps.size(); ++i)
            EXPECT_TRUE(i == 0 ? comps[i].id == 0 : comps[i].id == i && comps[i].size == sizes[size_t(i)]);
        return labels;
    };
    // Label 7 is no record, and the last voxel is not among those to rewrite.
    EXPECT_EQ(labelsAfter(-1, -1, {0, 9, 8, 2, 7}), (std::vector<short>{0, 1, 2, 2, 3, 4, 2, 7, 6}));
    EXPECT_EQ(labelsAfter(3, 0, {0, 9, 8, 7}), (std::vector<short>{0, 1, 2, 2, 0, 3, 2, 7, 6}));
    EXPECT_EQ(labelsAfter(8, 5, {0, 8}), (std::vector<short>{0, 0, 1, 1, 0, 0, 1, 7, 6}));

    // Without a record to drop nothing changes, not even a label that a map would.
    ZbDArray<Component> comps = {{0, 0, 0, {}}, {1, 1, 1, {}}};
    double label = 0.5;
    EXPECT_EQ(Cc::cleanup_components(comps, &label, 1, -1, -1), 2);
    EXPECT_EQ(label, 0.5);
}

template <typename L>
void expectRecordLimit(long limit)
{
    ZbDArray<Component> comps(limit);
    for (long i = 0; i < limit; ++i)
        comps[i] = {int(i), 0, 0, {}};
    L label(1);
    EXPECT_EQ(Cc::addNewComponent(comps, &label, 1), limit);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Cc::addNewComponent(comps, &label, 1), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ERROR: too many components\n");
    comps[1].id = 0;
    EXPECT_EQ(Cc::addNewComponent(comps, &label, 1), limit);
    EXPECT_EQ(label, L(0));
}

TEST(ZbConnectedComponents, recordsAreLimited)
{
    expectRecordLimit<unsigned short>(64998);
    expectRecordLimit<unsigned int>(64998);
    expectRecordLimit<double>(64998);
    expectRecordLimit<int>(9999998);
}

TEST(ZbConnectedComponents, componentsSortBySize)
{
    ZbDArray<Component> comps = {{1, 5, 0, {}}, {2, 3, 0, {}}, {3, 5, 0, {}}, {4, 4, 0, {}}};
    comps.sort(Cc::compareComponents);
    const int order[] = {comps[0].id, comps[1].id, comps[2].id, comps[3].id};
    EXPECT_THAT(order, ::testing::ElementsAre(2, 4, 1, 3));
    EXPECT_EQ(Cc::compareComponents(comps[2], comps[3]), 0);
}

/// Writes down what it is told and interrupts when asked the given time.
class Progress : public ZbProgressInterface
{
public:
    explicit Progress(int stopAt) : m_stopAt(stopAt) {}

    void startWorking(const QString& text) override { log.push_back("start " + text.toStdString()); }
    void startWorkingNoStop(const QString& text) override
    {
        log.push_back("startNoStop " + text.toStdString());
    }
    void stopWorking() override { log.push_back("stop"); }
    void setProgressValue(float value) override { values.push_back(value); }
    bool wasInterrupted(bool) override { return ++m_asked == m_stopAt; }

    std::vector<std::string> log;
    std::vector<float> values;

private:
    const int m_stopAt;
    int m_asked = 0;
};

TEST(ZbConnectedComponents, reportsProgressAndStops)
{
    const std::vector<std::string> working = {"start Labelling Regions", "stop"};
    std::vector<unsigned char> in(1 << 23, 1), out(in.size());
    const int dims[] = {512, 512, 32};
    ZbDArray<Region> regions;
    const auto label = [&](Progress& progress) {
        return Cc::labelRegions(in.data(), dims, 6, out.data(), 1, 1, false, regions, &progress);
    };
    Progress all(0);
    EXPECT_EQ(label(all), 1);
    EXPECT_EQ(all.log, working);
    EXPECT_GE(all.values.size(), 10u);
    EXPECT_TRUE(std::is_sorted(all.values.begin(), all.values.end()));
    EXPECT_TRUE(all.values.front() >= 0 && all.values.back() <= 1);
    for (const int stopAt : {1, 3, int(all.values.size())}) {
        Progress stopped(stopAt);
        EXPECT_EQ(label(stopped), -1);
        EXPECT_EQ(stopped.values.size(), size_t(stopAt));
        EXPECT_EQ(stopped.log, working);
    }

    Progress pass(1);
    const int small[] = {10, 10, 1};
    ZbDArray<Component> comps;
    unsigned short labels[100];
    EXPECT_EQ(Cc::labelLabels(in.data(), small, 4, labels, 0, 0, comps, &pass), 1);
    EXPECT_EQ(pass.log, (std::vector<std::string>{"startNoStop Identifiying Regions", "stop"}));
}

}  // namespace
