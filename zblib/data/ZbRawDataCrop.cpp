#include <zblib/data/ZbRawData.h>

#include <zblib/data/ZbBlockBytes.h>
#include <zblib/data/ZbCopyBytes.h>
#include <zblib/data/ZbRawData3D.h>
#include <zblib/foundation/ZbLargeBlock.h>
#include <zblib/foundation/ZbMultiversion.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace
{

// ---- crop

struct Box {
    long minimum[3];
    long size[3];
};

// False for a box that has no voxels, or more along an axis than an int can count.
bool makeBox(const int* minimum, const int* maximum, Box& box)
{
    for (int k = 0; k < 3; ++k) {
        box.minimum[k] = minimum[k];
        box.size[k] = long(maximum[k]) - minimum[k] + 1;
        if (box.size[k] < 1 || box.size[k] > INT_MAX)
            return false;
    }
    return true;
}

char* allocateBox(const Box& box, long elementSize)
{
    return static_cast<char*>(ZbDetail::allocateLarge(
        ZbDetail::requireBlockBytes({box.size[0], box.size[1], box.size[2], elementSize})));
}

void fillElements(char* target, long count, const void* element, long elementSize)
{
    if (count <= 0)
        return;
    const size_t bytes = static_cast<size_t>(count * elementSize);
    if (!element) {
        std::memset(target, 0, bytes);
        return;
    }
    std::memcpy(target, element, static_cast<size_t>(elementSize));
    // What is filled is copied behind itself, in pieces that stay in the first cache.
    size_t done = static_cast<size_t>(elementSize);
    size_t piece = done;
    while (done < bytes) {
        std::memcpy(target + done, target, std::min(piece, bytes - done));
        done += std::min(piece, bytes - done);
        if (piece < 8192)
            piece *= 2;
    }
}

// Writes the box of a block to target.
void copyBox(char* target, const char* source, const int* dims, const Box& box, long elementSize,
             const void* element)
{
    // The voxels of the box that the block has, counted in the box.
    long first[3], last[3];
    for (int k = 0; k < 3; ++k) {
        first[k] = std::clamp(-box.minimum[k], 0L, box.size[k]);
        last[k] = std::clamp(dims[k] - box.minimum[k], first[k], box.size[k]);
    }
    const auto [nx, ny, nz] = box.size;
    if (first[0] == last[0] || first[1] == last[1] || first[2] == last[2]) {
        fillElements(target, nx * ny * nz, element, elementSize);
        return;
    }
    const bool wholeRows = first[0] == 0 && last[0] == nx && nx == dims[0];
    const long inside = last[0] - first[0];
    for (long z = 0; z < nz; ++z) {
        char* slice = target + z * ny * nx * elementSize;
        if (z < first[2] || z >= last[2]) {
            fillElements(slice, nx * ny, element, elementSize);
            continue;
        }
        fillElements(slice, nx * first[1], element, elementSize);
        const char* origin =
            source + ((box.minimum[2] + z) * dims[1] * dims[0] + box.minimum[0] + first[0]) * elementSize;
        const auto rowOf = [&](long y) { return origin + (box.minimum[1] + y) * dims[0] * elementSize; };
        if (wholeRows) {
            ZbDetail::copyBytes(slice + first[1] * nx * elementSize, rowOf(first[1]),
                                (last[1] - first[1]) * nx * elementSize);
        } else {
            for (long y = first[1]; y < last[1]; ++y) {
                char* row = slice + y * nx * elementSize;
                fillElements(row, first[0], element, elementSize);
                ZbDetail::copyBytes(row + first[0] * elementSize, rowOf(y), inside * elementSize);
                fillElements(row + last[0] * elementSize, nx - last[0], element, elementSize);
            }
        }
        fillElements(slice + last[1] * nx * elementSize, nx * (ny - last[1]), element, elementSize);
    }
}

// ---- flip

template <int width>
struct Element {
    char bytes[width];
};

template <typename Word>
void reverseCopy(Word* target, const char* source, long count)
{
    for (long i = 0; i < count; ++i)
        std::memcpy(target + i, source + (count - 1 - i) * static_cast<long>(sizeof(Word)), sizeof(Word));
}

// From both ends inwards, in blocks that are reversed on the way.
template <typename Word>
void reverseRow(char* row, long count)
{
    constexpr long block = 64;
    constexpr long blockBytes = block * static_cast<long>(sizeof(Word));
    char* front = row;
    char* back = row + count * static_cast<long>(sizeof(Word));
    while (back - front >= 2 * blockBytes) {
        Word reversedFront[block], reversedBack[block];
        reverseCopy(reversedFront, front, block);
        reverseCopy(reversedBack, back - blockBytes, block);
        std::memcpy(front, reversedBack, blockBytes);
        std::memcpy(back - blockBytes, reversedFront, blockBytes);
        front += blockBytes;
        back -= blockBytes;
    }
    // Fewer than two blocks are left.
    Word rest[2 * block];
    const long restCount = (back - front) / static_cast<long>(sizeof(Word));
    reverseCopy(rest, front, restCount);
    std::memcpy(front, rest, static_cast<size_t>(back - front));
}

void reverseRows(char* data, long elementSize, long count, long rows)
{
    const auto reverseAll = [&](auto reverse) {
        zbMultiversion([=] {
            // Reading from both ends hides from the processor that rows follow one another.
            const long rowBytes = count * elementSize;
            for (long row = 0; row < rows; ++row) {
                if (row + 1 < rows)
                    ZbDetail::prefetch(data + (row + 1) * rowBytes, std::min(rowBytes, 4096L));
                reverse(data + row * rowBytes, count);
            }
        });
    };
    switch (elementSize) {
    case 1:
        return reverseAll([](char* row, long n) { reverseRow<std::uint8_t>(row, n); });
    case 2:
        return reverseAll([](char* row, long n) { reverseRow<std::uint16_t>(row, n); });
    case 3:
        return reverseAll([](char* row, long n) { reverseRow<Element<3>>(row, n); });
    case 4:
        return reverseAll([](char* row, long n) { reverseRow<std::uint32_t>(row, n); });
    case 8:
        return reverseAll([](char* row, long n) { reverseRow<std::uint64_t>(row, n); });
    case 12:
        return reverseAll([](char* row, long n) { reverseRow<Element<12>>(row, n); });
    default:
        return reverseAll([=](char* row, long n) {
            for (long x = 0; x < n / 2; ++x)
                ZbDetail::exchangeBytes(row + x * elementSize, row + (n - 1 - x) * elementSize, elementSize);
        });
    }
}

}  // namespace

bool ZbRawData::crop(void*& data, int elementSize, int* dims, const int* boxMinimum, const int* boxMaximum,
                     const void* fill)
{
    Box box;
    if (elementSize < 1 || !makeBox(boxMinimum, boxMaximum, box))
        return false;
    char* cropped = allocateBox(box, elementSize);
    copyBox(cropped, static_cast<const char*>(data), dims, box, elementSize, fill);
    zbfree(data);
    data = cropped;
    for (int k = 0; k < 3; ++k)
        dims[k] = static_cast<int>(box.size[k]);
    return true;
}

bool ZbRawData::crop(ZbRawData3D& block, const int* boxMinimum, const int* boxMaximum, const void* fill)
{
    Box box;
    const int elementSize = block.getElemSize();
    if (elementSize < 1 || !makeBox(boxMinimum, boxMaximum, box))
        return false;
    const int dims[3] = {block.sizeX(), block.sizeY(), block.sizeZ()};
    char* cropped = allocateBox(box, elementSize);
    copyBox(cropped, static_cast<const char*>(block.dataPtr()), dims, box, elementSize, fill);
    block.commit(int(box.size[0]), int(box.size[1]), int(box.size[2]), elementSize, cropped);
    return true;
}

void ZbRawData::flip(void* data, int elementSize, const ZbDim3l& dims, int axis)
{
    if (axis < 0 || axis > 2 || elementSize < 1 || dims.nx < 1 || dims.ny < 1 || dims.nz < 1)
        return;
    char* bytes = static_cast<char*>(data);
    if (axis == 0) {
        reverseRows(bytes, elementSize, dims.nx, dims.ny * dims.nz);
        return;
    }
    // Whole rows, or whole slices, change places.
    const long size = dims.nx * elementSize * (axis == 2 ? dims.ny : 1);
    const long count = dims[axis];
    const long groups = axis == 2 ? 1 : dims.nz;
    for (long group = 0; group < groups; ++group)
        for (long i = 0; i < count / 2; ++i)
            ZbDetail::exchangeBytes(bytes + (group * count + i) * size,
                                    bytes + (group * count + count - 1 - i) * size, size);
}
