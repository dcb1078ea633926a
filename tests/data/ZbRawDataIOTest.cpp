#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbProgressInterface.h>

#include <tests/support/RandomBytes.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <complex>
#include <memory>

namespace
{

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

std::vector<char> contentsOf(const File& file)
{
    std::vector<char> bytes(size_t(std::ftell(file.get())));
    std::rewind(file.get());
    EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), file.get()), bytes.size());
    return bytes;
}

// Records what it is told, and interrupts when it is asked for the n-th time.
class Recorder : public ZbProgressInterface
{
public:
    explicit Recorder(int interruptAt = INT_MAX) : m_interruptAt(interruptAt) {}
    bool wasInterrupted(bool immediately) override
    {
        EXPECT_TRUE(immediately);
        return ++m_asked >= m_interruptAt;
    }
    void setProgressValue(float value) override { values.push_back(value); }

    std::vector<float> values;

private:
    int m_interruptAt;
    int m_asked = 0;
};

constexpr unsigned long mebi = 1 << 20;

// ---- byte order

template <typename Word>
void expectSwapped(void (*swap)(void*, unsigned long))
{
    for (size_t count : {0, 1, 2, 15, 16, 17, 63, 64, 65, 1000}) {
        std::vector<char> words = randomBytes(1 + count * sizeof(Word) + 1, unsigned(count)),
                          expected = words;
        for (size_t i = 0; i < count; ++i)
            std::reverse(&expected[1 + i * sizeof(Word)], &expected[1 + (i + 1) * sizeof(Word)]);
        swap(words.data() + 1, count);
        EXPECT_EQ(words, expected) << count << " words of " << sizeof(Word) << " bytes";
    }
}

TEST(ZbRawDataBytes, reversesEachWord)
{
    expectSwapped<short>(ZbRawData::swapBytesWord2);
    expectSwapped<int>(ZbRawData::swapBytesWord4);
    expectSwapped<double>(ZbRawData::swapBytesWord8);
}

TEST(ZbRawDataBytes, convertsBySizeOfTheType)
{
    unsigned short words[] = {0x0102, 0x0304};
    ZbRawData::fromLittleEndian(words, 2);
    EXPECT_EQ(words[0], 0x0102);
    ZbRawData::fromBigEndian(words, 1);
    EXPECT_EQ(words[0], 0x0201);
    EXPECT_EQ(words[1], 0x0304);
    unsigned char bytes[] = {1, 2};
    ZbRawData::swapBytes(bytes, 2);
    EXPECT_EQ(bytes[0], 1);
    // Complex is one word: its parts change places.
    unsigned char complex[] = {1, 2, 3, 4, 5, 6, 7, 8};
    ZbRawData::swapBytes(ZbTypedPointer(complex, ZbPrimType::COMPLEX), 1);
    EXPECT_EQ(complex[0], 8);
    EXPECT_EQ(complex[4], 4);
}

TEST(ZbRawDataBytes, writesAndReadsInAnOrder)
{
    // More than a piece of the buffer, and not a multiple of it.
    std::vector<char> values = randomBytes(4 * 40001, 5);
    const std::vector<char> before = values;
    const ZbTypedPointer data(values.data(), ZbPrimType::FLOAT);
    for (const bool big : {false, true}) {
        const File file(std::tmpfile());
        EXPECT_EQ((big ? ZbRawData::writeBigEndian : ZbRawData::writeLittleEndian)(data, 40001, file.get()),
                  40001u);
        EXPECT_EQ(values, before);
        std::vector<char> stored = contentsOf(file), expected = before;
        if (big)
            ZbRawData::swapBytesWord4(expected.data(), 40001);
        EXPECT_EQ(stored, expected);

        // The last value is cut off: it does not count.
        std::fill(values.begin(), values.end(), char(0));
        ASSERT_EQ(ftruncate(fileno(file.get()), 4 * 40000 + 2), 0);
        std::rewind(file.get());
        EXPECT_EQ((big ? ZbRawData::readBigEndian : ZbRawData::readLittleEndian)(data, 40001, file.get()),
                  40000u);
        EXPECT_TRUE(std::equal(before.begin(), before.end() - 4, values.begin()));
        values = before;
    }
    const File full(std::fopen("/dev/full", "w"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(ZbRawData::writeBigEndian(ZbTypedPointer(values.data(), ZbPrimType(-1)), 1, full.get()), 0u);
    EXPECT_LT(ZbRawData::writeBigEndian(data, 40001, full.get()), 40001u);
}

// ---- input and output with progress

TEST(ZbRawDataIO, transfersWholeItemsAndReportsEachMebibyte)
{
    const std::vector<char> bytes = randomBytes(3 * mebi, 6);
    const File file(std::tmpfile());
    Recorder writing, reading;
    EXPECT_EQ(ZbRawData::fwrite(bytes.data(), 3, mebi, file.get(), &writing), mebi);
    EXPECT_EQ(writing.values, (std::vector<float>{float(1.0 / 3), float(2.0 / 3), 1.0f}));
    EXPECT_EQ(contentsOf(file), bytes);

    // The file ends inside of an item.
    std::vector<char> read(7 * 500000, 0);
    std::rewind(file.get());
    EXPECT_EQ(ZbRawData::fread(read.data(), 7, 500000, file.get(), &reading), 3 * mebi / 7);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), read.begin()));
    EXPECT_EQ(reading.values.size(), 3u);

    EXPECT_EQ(ZbRawData::fwrite(bytes.data(), 0, 5, file.get()), 0u);
    EXPECT_EQ(ZbRawData::fwrite(bytes.data(), ULONG_MAX / 2, 3, file.get()), 0u);
}

TEST(ZbRawDataIO, answersAnInterruptionWithBytes)
{
    std::vector<char> bytes = randomBytes(4 * mebi, 7);
    const File file(std::tmpfile());
    Recorder writing(2), reading(1);
    EXPECT_EQ(ZbRawData::fwrite(bytes.data(), 8, mebi / 2, file.get(), &writing), 2 * mebi);
    EXPECT_EQ(writing.values, std::vector<float>{0.25f});
    std::rewind(file.get());
    EXPECT_EQ(ZbRawData::fread(bytes.data(), 8, mebi / 2, file.get(), &reading), mebi);
    EXPECT_TRUE(reading.values.empty());
}

TEST(ZbRawDataIO, stopsAtAShortWrite)
{
    const std::vector<char> bytes(3 * mebi, 1);
    const File full(std::fopen("/dev/full", "w"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    Recorder progress;
    EXPECT_EQ(ZbRawData::fwrite(bytes.data(), 1, bytes.size(), full.get(), &progress), 0u);
    EXPECT_TRUE(progress.values.empty());
}

TEST(ZbRawDataIO, readsADescriptorInPieces)
{
    const std::vector<char> bytes = randomBytes(9 * mebi, 8);
    const File file(std::tmpfile());
    ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file.get()), bytes.size());
    std::fflush(file.get());
    const auto read = [&](long long count, Recorder& progress) {
        std::vector<char> target(size_t(10 * mebi), 0);
        lseek(fileno(file.get()), 0, SEEK_SET);
        const long long got = ZbRawData::read(fileno(file.get()), target.data(), count, &progress);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + got, target.begin()));
        EXPECT_EQ(std::count(target.begin() + got, target.end(), 0), 10 * long(mebi) - got);
        return got;
    };
    Recorder whole, beyond, interrupted(2);
    EXPECT_EQ(read(8 * mebi + 5, whole), 8 * mebi + 5);
    EXPECT_EQ(whole.values.size(), 3u);
    EXPECT_EQ(whole.values.back(), 1.0f);
    EXPECT_EQ(read(10 * mebi, beyond), 9 * mebi);
    EXPECT_EQ(read(9 * mebi, interrupted), 8 * mebi);
    EXPECT_EQ(ZbRawData::read(-1, nullptr, 5), 0);
}

}  // namespace
