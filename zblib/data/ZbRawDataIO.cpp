#include <zblib/data/ZbRawData.h>

#include <zblib/foundation/ZbProgressInterface.h>

#include <unistd.h>

#include <algorithm>

namespace
{

constexpr unsigned long streamPiece = 0x100000;
constexpr long long descriptorPiece = 0x400000;

void reportFraction(ZbProgressInterface& progress, double done, double all)
{
    progress.setProgressValue(static_cast<float>(done / all));
}

// transfer(position, bytes) moves bytes to or from a stream and returns how many it moved.
template <typename Transfer>
unsigned long transferItems(unsigned long itemSize, unsigned long count, ZbProgressInterface* progress,
                            Transfer&& transfer)
{
    unsigned long bytes = 0;
    if (itemSize == 0 || __builtin_mul_overflow(itemSize, count, &bytes))
        return 0;
    unsigned long done = 0;
    while (bytes - done >= streamPiece) {
        const unsigned long moved = transfer(done, streamPiece);
        done += moved;
        if (moved < streamPiece)
            return done / itemSize;
        if (progress) {
            if (progress->wasInterrupted(true))
                return done;  // in bytes, and not in items: callers tell an interruption by it
            reportFraction(*progress, double(done), double(bytes));
        }
    }
    done += transfer(done, bytes - done);
    return done / itemSize;
}

}  // namespace

unsigned long ZbRawData::fwrite(const void* buffer, unsigned long itemSize, unsigned long count, FILE* stream,
                                ZbProgressInterface* progress)
{
    const char* bytes = static_cast<const char*>(buffer);
    return transferItems(itemSize, count, progress, [=](unsigned long position, unsigned long size) {
        return std::fwrite(bytes + position, 1, size, stream);
    });
}

unsigned long ZbRawData::fread(void* buffer, unsigned long itemSize, unsigned long count, FILE* stream,
                               ZbProgressInterface* progress)
{
    char* bytes = static_cast<char*>(buffer);
    return transferItems(itemSize, count, progress, [=](unsigned long position, unsigned long size) {
        return std::fread(bytes + position, 1, size, stream);
    });
}

long long ZbRawData::read(int descriptor, void* buffer, long long count, ZbProgressInterface* progress)
{
    char* bytes = static_cast<char*>(buffer);
    long long done = 0;
    while (done < count) {
        const long long piece = std::min(count - done, descriptorPiece);
        const long long got = ::read(descriptor, bytes + done, static_cast<size_t>(piece));
        if (got <= 0)
            break;
        done += got;
        if (progress) {
            if (progress->wasInterrupted(true))
                break;
            reportFraction(*progress, double(done), double(count));
        }
    }
    return done;
}
