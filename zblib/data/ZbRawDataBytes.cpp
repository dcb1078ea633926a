#include <zblib/data/ZbRawData.h>

#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMultiversion.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "the conversions are written for this byte order");

namespace
{

std::uint16_t swapped(std::uint16_t word)
{
    return __builtin_bswap16(word);
}

std::uint32_t swapped(std::uint32_t word)
{
    return __builtin_bswap32(word);
}

std::uint64_t swapped(std::uint64_t word)
{
    return __builtin_bswap64(word);
}

// The words need not be aligned.
template <typename Word>
void swapEach(char* words, unsigned long count)
{
    for (unsigned long i = 0; i < count; ++i) {
        Word word;
        std::memcpy(&word, words + i * sizeof word, sizeof word);
        word = swapped(word);
        std::memcpy(words + i * sizeof word, &word, sizeof word);
    }
}

template <typename Word>
void swapWords(void* words, unsigned long count)
{
    zbMultiversion([=] { swapEach<Word>(static_cast<char*>(words), count); });
}

// Small enough to be swapped while it is in a cache, large enough for the calls not to matter.
constexpr unsigned long pieceBytes = 0x10000;

}  // namespace

void ZbRawData::swapBytesWord2(void* words, unsigned long count)
{
    swapWords<std::uint16_t>(words, count);
}

void ZbRawData::swapBytesWord4(void* words, unsigned long count)
{
    swapWords<std::uint32_t>(words, count);
}

void ZbRawData::swapBytesWord8(void* words, unsigned long count)
{
    swapWords<std::uint64_t>(words, count);
}

void ZbRawData::swapBytes(ZbTypedPointer data, unsigned long count)
{
    switch (ZbDetail::sizeOrZero(data.getPrimType())) {
    case 2:
        return swapBytesWord2(data.getData(), count);
    case 4:
        return swapBytesWord4(data.getData(), count);
    case 8:
        return swapBytesWord8(data.getData(), count);
    default:
        return;  // bytes have no order
    }
}

void ZbRawData::fromLittleEndian(ZbTypedPointer, unsigned long) {}

void ZbRawData::fromBigEndian(ZbTypedPointer data, unsigned long count)
{
    swapBytes(data, count);
}

unsigned long ZbRawData::readLittleEndian(ZbTypedPointer data, unsigned long count, FILE* stream)
{
    return std::fread(data.getData(), ZbDetail::sizeOrZero(data.getPrimType()), count, stream);
}

unsigned long ZbRawData::readBigEndian(ZbTypedPointer data, unsigned long count, FILE* stream)
{
    const unsigned long typeSize = ZbDetail::sizeOrZero(data.getPrimType());
    if (typeSize == 0)
        return 0;
    char* values = static_cast<char*>(data.getData());
    unsigned long done = 0;
    while (done < count) {
        const unsigned long piece = std::min(count - done, pieceBytes / typeSize);
        const unsigned long got = std::fread(values + done * typeSize, typeSize, piece, stream);
        swapBytes(ZbTypedPointer(values + done * typeSize, data.getPrimType()), got);
        done += got;
        if (got < piece)
            break;
    }
    return done;
}

unsigned long ZbRawData::writeLittleEndian(ZbTypedPointer data, unsigned long count, FILE* stream)
{
    return std::fwrite(data.getData(), ZbDetail::sizeOrZero(data.getPrimType()), count, stream);
}

unsigned long ZbRawData::writeBigEndian(ZbTypedPointer data, unsigned long count, FILE* stream)
{
    const unsigned long typeSize = ZbDetail::sizeOrZero(data.getPrimType());
    if (typeSize == 0)
        return 0;
    // The values pass through a buffer: whoever owns them may be reading them at the same time.
    alignas(64) char buffer[pieceBytes];
    const char* values = static_cast<const char*>(data.getData());
    unsigned long done = 0;
    while (done < count) {
        const unsigned long piece = std::min(count - done, pieceBytes / typeSize);
        std::memcpy(buffer, values + done * typeSize, piece * typeSize);
        swapBytes(ZbTypedPointer(buffer, data.getPrimType()), piece);
        const unsigned long put = std::fwrite(buffer, typeSize, piece, stream);
        done += put;
        if (put < piece)
            break;
    }
    return done;
}
