#include <zblib/data/ZbMemcpy.h>

#include <zblib/data/ZbClampTo.h>
#include <zblib/data/ZbStridedCopy.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <memory>

namespace
{

// The bounds of the mapping. Those of unsigned short and float are meant as they are: a ushort target
// receives 0 for every value, a float target nothing below the smallest positive normal number.
template <typename T>
struct MapBounds : ZbDetail::FullRange<T> {
};
template <>
struct MapBounds<unsigned short> {
    static constexpr double low = 0.0;
    static constexpr double high = 0.0;
};
template <>
struct MapBounds<float> {
    static constexpr double low = std::numeric_limits<float>::min();
    static constexpr double high = std::numeric_limits<float>::max();
};
template <>
struct MapBounds<double> {
    static constexpr double low = std::numeric_limits<double>::lowest();
    static constexpr double high = std::numeric_limits<double>::max();
};

struct Mapping {
    double offset;
    double scale;
};

template <typename Target, typename Source>
void mapValues(Target* __restrict target, const Source* __restrict source, long count, Mapping mapping)
{
    const ZbDetail::ClampTo<Target, MapBounds<Target>> clamp;
    for (long i = 0; i < count; ++i)
        target[i] = clamp((double(source[i]) + mapping.offset) * mapping.scale);
}

template <typename Target, typename Source>
void mapRun(Target* target, const Source* source, long count, Mapping mapping)
{
    zbMultiversion([=] { mapValues(target, source, count, mapping); });
}

// A pattern of elements and the first of them.
template <typename T>
struct Elements {
    T* data;
    ZbBytePattern pattern;

    Elements(T* first, const ZbBytePattern& bytes) noexcept : data(first), pattern(bytes)
    {
        pattern.changeElemSize(sizeof(T));
    }
    long longestRun() const noexcept { return pattern.stride(0) == 1 ? pattern.count(0) : 1; }
    bool isDense() const noexcept { return pattern.nesting() == 1 && pattern.stride(0) == 1; }
};

// True when mapping in order never overwrites a value that is yet to be read: both lie alike from the same
// address on, the target not wider than the source.
template <typename Target, typename Source>
bool isSafeInOrder(const Elements<Target>& target, const Elements<Source>& source) noexcept
{
    const void* targetData = target.data;
    if (targetData != source.data || sizeof(Target) > sizeof(Source) ||
        target.pattern.nesting() != source.pattern.nesting())
        return false;
    long extent = sizeof(Source);
    for (int level = 0; level < source.pattern.nesting(); ++level) {
        const long sourceStep = source.pattern.stride(level) * long(sizeof(Source));
        const long targetStep = target.pattern.stride(level) * long(sizeof(Target));
        if (target.pattern.count(level) != source.pattern.count(level) || sourceStep < extent ||
            targetStep > sourceStep)
            return false;
        extent += (source.pattern.count(level) - 1) * sourceStep;
    }
    return true;
}

// Run by run, as the patterns say. Nothing overlaps.
template <typename Target, typename Source>
void mapRuns(const Elements<Target>& target, const Elements<Source>& source, Mapping mapping)
{
    ZbBytePattern::Iterator to(target.pattern);
    ZbBytePattern::Iterator from(source.pattern);
    while (to.more() && from.more()) {
        const long n = std::min(to.contiguous(), from.contiguous());
        mapRun(target.data + to.offset(), source.data + from.offset(), n, mapping);
        to.forward(n);
        from.forward(n);
    }
}

// In pieces that are made dense on both sides, so that short runs cost no more than a strided copy. When
// memory overlaps, all values of a piece are read before one of them is written.
template <typename Target, typename Source>
void mapPieces(const Elements<Target>& target, const Elements<Source>& source, long count, Mapping mapping,
               bool overlap)
{
    constexpr long pieceSize = 1024;
    alignas(64) Target out[pieceSize];
    alignas(64) Source in[pieceSize];
    for (long first = 0; first < count; first += pieceSize) {
        const long n = std::min(pieceSize, count - first);
        const Source* from = source.data + first;
        if (!source.isDense()) {
            ZbDetail::gather(in, source.data, source.pattern, sizeof(Source), first, n);
            from = in;
        }
        if (target.isDense() && !overlap) {
            mapRun(target.data + first, from, n, mapping);
        } else {
            mapRun(out, from, n, mapping);
            ZbDetail::scatter(target.data, target.pattern, sizeof(Target), first, n, out);
        }
    }
}

template <typename Target, typename Source>
void map(const Elements<Target>& target, const Elements<Source>& source, Mapping mapping)
{
    const long count = std::min(ZbDetail::unitCount(target.pattern), ZbDetail::unitCount(source.pattern));
    if (count < 1)
        return;
    const bool overlap = ZbDetail::spansMeet(target.data, target.pattern, sizeof(Target), source.data,
                                             source.pattern, sizeof(Source));
    if (overlap && !isSafeInOrder(target, source)) {
        const std::unique_ptr<void, void (*)(void*)> copy(zbmalloc(size_t(count) * sizeof(Source)), zbfree);
        auto* values = static_cast<Source*>(copy.get());
        ZbDetail::gather(values, source.data, source.pattern, sizeof(Source), 0, count);
        const ZbBytePattern dense = ZbBytePattern::CreateContigousBlock(count * long(sizeof(Source)));
        mapPieces(target, Elements<Source>(values, dense), count, mapping, false);
        return;
    }
    // Below some such length, copying to make runs is cheaper than the start of a loop for each.
    constexpr long longRun = 64;
    const bool dense = target.isDense() && source.isDense();
    if (!overlap && (dense || std::min(target.longestRun(), source.longestRun()) >= longRun))
        mapRuns(target, source, mapping);
    else
        mapPieces(target, source, count, mapping, overlap);
}

}  // namespace

void zbmapLinear(ZbDataPointer target, const ZbBytePattern& targetPattern, ZbDataPointer source,
                 const ZbBytePattern& sourcePattern, double offset, double scale)
{
    const auto visit = [](ZbPrimType type, auto&& visitor) {
        zbVisitPrimType<unsigned char, short, unsigned short, int, float, double>(type, visitor);
    };
    visit(target.primType(), [&](auto targetTag) {
        visit(source.primType(), [&](auto sourceTag) {
            using Target = typename decltype(targetTag)::Type;
            using Source = typename decltype(sourceTag)::Type;
            map(Elements<Target>(static_cast<Target*>(target.dataPtr()), targetPattern),
                Elements<Source>(static_cast<Source*>(source.dataPtr()), sourcePattern),
                Mapping{offset, scale});
        });
    });
}
