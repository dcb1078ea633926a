#pragma once

// Private: the one way in which several threads each make a private partial result that is merged afterwards.

#include <zblib/foundation/ZbMemory.h>

#include <exception>
#include <memory>
#include <omp.h>
#include <optional>
#include <type_traits>

namespace ZbDetail
{

/// The number of pieces that [0, count) is worth being split into: one for each thread, none smaller than
/// smallestPiece unless it is the only one. Inside of a parallel region there is one.
inline int pieceCount(unsigned long count, unsigned long smallestPiece)
{
    const unsigned long worthwhile = count / smallestPiece;
    const auto threads = (unsigned long)(omp_in_parallel() ? 1 : omp_get_max_threads());
    return worthwhile < 2 ? 1 : int(worthwhile < threads ? worthwhile : threads);
}

/// Splits [0, count) into consecutive pieces of equal size (the last may be smaller), calls
/// work(begin, end, piece) for each on a thread of its own, and then merge(partial) for what they returned, in the
/// order of the pieces.
///
/// Piece 0 is the calling thread's; only that one may report progress. merge runs on the calling thread, so it
/// needs no lock, and an order of merging that is fixed lets "the first of several" mean the same in every run.
/// The first exception of the pieces, in their order, is thrown on after all have ended, and nothing is merged.
template <typename Work, typename Merge>
void parallelReduce(unsigned long count, int pieces, Work&& work, Merge&& merge)
{
    using Partial = std::invoke_result_t<Work&, unsigned long, unsigned long, int>;
    struct Outcome : ZbAllocated {
        std::optional<Partial> partial;
        std::exception_ptr failure;
    };
    const std::unique_ptr<Outcome[]> outcomes(new Outcome[static_cast<std::size_t>(pieces)]);
    const unsigned long size = count / (unsigned long)(pieces) + (count % (unsigned long)(pieces) != 0);
    // Static with chunks of 1: piece i is thread i's, and 0 the calling one's.
#pragma omp parallel for schedule(static, 1) num_threads(pieces) if (pieces > 1)
    for (int piece = 0; piece < pieces; ++piece) {
        Outcome& outcome = outcomes[std::size_t(piece)];
        // No exception may leave a parallel region.
        try {
            const unsigned long begin =
                size * (unsigned long)(piece) < count ? size * (unsigned long)(piece) : count;
            const unsigned long end = count - begin < size ? count : begin + size;
            outcome.partial.emplace(work(begin, end, piece));
        } catch (...) {
            outcome.failure = std::current_exception();
        }
    }
    for (int piece = 0; piece < pieces; ++piece)
        if (outcomes[std::size_t(piece)].failure)
            std::rethrow_exception(outcomes[std::size_t(piece)].failure);
    for (int piece = 0; piece < pieces; ++piece)
        merge(*outcomes[std::size_t(piece)].partial);
}

}  // namespace ZbDetail
