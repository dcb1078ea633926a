#include <zblib/data/ZbRawData.h>

#include <zblib/data/ZbHistogramFill.h>
#include <zblib/data/ZbParallelReduce.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <complex>
#include <type_traits>

namespace
{

// Values from which on a thread of its own is worth waking.
constexpr unsigned long smallestPiece = 1ul << 16;

template <typename T>
void fill(const T* data, unsigned long count, long stride, ZbHistogram& target, bool ignore, double ignored,
          ZbProgressInterface* progress)
{
    const auto add = [=](ZbHistogram& histogram, unsigned long begin, unsigned long end, bool reports) {
        ZbDetail::HistogramFill filler(histogram);
        if (ignore)
            filler.ignore(ignored);
        if (reports)
            filler.reportTo(progress);
        filler.add(data + long(begin) * stride, end - begin, stride);
    };
    // Each piece has a histogram of its own, which should be small beside the data.
    const unsigned long perThread = std::max(smallestPiece, (unsigned long)(target.getNumBins()));
    const int pieces = ZbDetail::pieceCount(count, perThread);
    if (pieces == 1) {
        add(target, 0, count, true);
        return;
    }
    ZbDetail::parallelReduce(
        count, pieces,
        [&](unsigned long begin, unsigned long end, int piece) {
            ZbHistogram partial = ZbDetail::HistogramFill::emptyLike(target);
            add(partial, begin, end, piece == 0);
            return partial;
        },
        [&](const ZbHistogram& partial) { target.merge(partial); });
}

}  // namespace

void ZbRawData::getHistogram(ZbTypedPointer data, unsigned long count, ZbHistogram& target, bool ignore,
                             const double& ignored, ZbProgressInterface* progress)
{
    getHistogram(data, count, 1, target, ignore, ignored, progress);
}

void ZbRawData::getHistogram(ZbTypedPointer data, unsigned long count, long stride, ZbHistogram& target,
                             bool ignore, const double& ignored, ZbProgressInterface* progress)
{
    const bool known =
        data.getPrimType() != ZbPrimType::STRING && zbVisitPrimType(data.getPrimType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            if constexpr (std::is_same_v<T, std::complex<float>>) {
                // The real parts, then the imaginary ones; dense data in one go.
                const auto* parts = static_cast<const float*>(data.getData());
                if (stride == 1) {
                    fill(parts, 2 * count, 1, target, ignore, ignored, progress);
                } else if (count > 0) {
                    fill(parts, count, 2 * stride, target, ignore, ignored, progress);
                    fill(parts + 1, count, 2 * stride, target, ignore, ignored, nullptr);
                }
            } else if constexpr (!std::is_pointer_v<T>) {
                fill(static_cast<const T*>(data.getData()), count, stride, target, ignore, ignored, progress);
            }
        });
    if (!known)
        ZbDetail::reportUnsupportedType(data.getPrimType(), "ZbRawData::getHistogram()");
}
