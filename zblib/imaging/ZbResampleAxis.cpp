#include <zblib/imaging/ZbResampleAxis.h>

#include <zblib/data/ZbBlockBytes.h>
#include <zblib/foundation/ZbLargeBlock.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>

namespace
{

// The entries that every list has room for; 0 for what no int holds.
int givenRoom(float width)
{
    const float room = 2.0f * (width + 1.0f);
    return room >= 0.0f && room < float(INT_MAX) ? int(room) : 0;
}

}  // namespace

ZbResampler::ContributionList* ZbResampler::filter_contrib(int newSize, int oldSize, float scale, float shift,
                                                           Kernel kernel, float support)
{
    if (newSize < 1)
        return nullptr;
    const float fscale = 1.0f / scale;
    const float oldCentre = float((oldSize - 1) * 0.5);
    const float newCentre = float(float(newSize) * fscale * 0.5);
    const float origin = float(0.5 * fscale) + (oldCentre - newCentre);
    const bool shrinks = scale < 1.0f;
    const float width = shrinks ? support / scale : support;

    const unsigned long bytes = ZbDetail::blockBytes({newSize, long(sizeof(ContributionList))});
    auto* lists = reinterpret_cast<ContributionList*>(ZbDetail::allocateBlock(bytes).release());
    std::memset(lists, 0, bytes);
    const auto release = [newSize](ContributionList* unfinished) { free_contrib(unfinished, newSize); };
    std::unique_ptr<ContributionList, decltype(release)> owner(lists, release);

    for (int i = 0; i < newSize; ++i) {
        ContributionList& list = lists[i];
        const float centre = float(i) / scale + origin + shift / scale;
        const double nearest = std::ceil(centre - width), farthest = std::floor(centre + width);
        // Cut to the block before they become integers: they may be anything, NaNs leave nothing.
        const double first = std::max(nearest, 0.0), last = std::min(farthest, oldSize - 1.0);
        const long candidates = nearest <= farthest && first <= last ? long(last) - long(first) + 1 : 0;
        const long room = std::max<long>(givenRoom(width), candidates);
        if (room == 0)
            continue;
        list.entries =
            static_cast<Contribution*>(zbmalloc(ZbDetail::blockBytes({room, long(sizeof(Contribution))})));
        float sum = 0.0f;
        for (long k = 0; k < candidates; ++k) {
            const int j = int(long(first) + k);
            const float distance = centre - float(j);
            const float weight = shrinks ? kernel(distance * scale) * scale : kernel(distance);
            list.entries[k] = {j, weight};
            sum += weight;
        }
        list.count = int(candidates);
        if (sum != 0.0f)
            for (long k = 0; k < candidates; ++k)
                list.entries[k].weight /= sum;
    }
    return owner.release();
}

void ZbResampler::free_contrib(ContributionList* lists, int newSize)
{
    if (!lists)
        return;
    for (int i = 0; i < newSize; ++i)
        zbfree(lists[i].entries);
    zbfree(lists);
}

ZbDetail::ResampleAxis::ResampleAxis(int newSize, int oldSize, float scale, float shift,
                                     ZbResampler::Kernel kernel, float support)
    : m_oldSize(oldSize)
{
    const auto release = [newSize](ZbResampler::ContributionList* lists) {
        ZbResampler::free_contrib(lists, newSize);
    };
    const std::unique_ptr<ZbResampler::ContributionList, decltype(release)> lists(
        ZbResampler::filter_contrib(newSize, oldSize, scale, shift, kernel, support), release);
    // Weights of 0 at the ends of a list are left out: they add nothing, but for NaNs and infinities, which would
    // spoil their neighbours even where the grids are the same. One entry stays.
    for (int i = 0; i < newSize; ++i) {
        ZbResampler::ContributionList& list = lists.get()[i];
        while (list.count > 1 && list.entries[list.count - 1].weight == 0.0f)
            --list.count;
        int begin = 0;
        while (begin < list.count - 1 && list.entries[begin].weight == 0.0f)
            ++begin;
        list.count -= begin;
        std::memmove(list.entries, list.entries + begin,
                     sizeof(ZbResampler::Contribution) * size_t(list.count));
    }
    m_lists.resize(newSize);
    long total = 0;
    for (int i = 0; i < newSize; ++i) {
        const ZbResampler::ContributionList& list = lists.get()[i];
        const int before = i > 0 ? m_lists[i - 1].begin + m_lists[i - 1].count : 0;
        m_lists[i] = {list.count > 0 ? list.entries[0].index : before, list.count, total};
        total += list.count;
        m_longest = std::max<long>(m_longest, list.count);
    }
    m_weights.resize(total);
    for (int i = 0; i < newSize; ++i)
        for (int k = 0; k < lists.get()[i].count; ++k)
            m_weights[m_lists[i].offset + k] = lists.get()[i].entries[k].weight;
}
