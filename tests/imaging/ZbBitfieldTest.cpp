#include <zblib/foundation/ZbException.h>
#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/imaging/ZbBitfield.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

namespace
{

using Bits = std::vector<bool>;

std::mt19937 generator(7);

bool chance(double probability)
{
    return std::bernoulli_distribution(probability)(generator);
}

Bits randomBits(size_t count, double density)
{
    Bits bits(count);
    std::generate(bits.begin(), bits.end(), [&] { return chance(density); });
    return bits;
}

/// The field of bits, with random padding.
ZbBitfield fieldOf(const Bits& bits)
{
    ZbBitfield field(bits.size(), ZbBitfield::INIT_NONE);
    std::generate_n(field.dataPtr(), field.memSize() / 4, generator);
    for (unsigned long i = 0; i < bits.size(); ++i)
        field.set(i, bits[i]);
    return field;
}

Bits bitsOf(const ZbBitfield& field)
{
    Bits bits(field.nBits());
    for (unsigned long i = 0; i < bits.size(); ++i)
        bits[i] = field[i];
    return bits;
}

// Around words, vectors, and the blocks of 64 words by which fields are searched.
const size_t sizes[] = {0, 1, 31, 32, 33, 63, 64, 65, 255, 256, 257, 2047, 2048, 2049, 2112, 5000};
const double densities[] = {0, 0.001, 0.5, 0.999, 1};

void expectCountsAndFinds(size_t size, double density)
{
    SCOPED_TRACE(::testing::Message() << size << " bits, density " << density);
    const Bits bits = randomBits(size, density);
    const ZbBitfield field = fieldOf(bits);
    std::vector<unsigned long> places[2];
    for (unsigned long i = 0; i < size; ++i)
        places[bits[i]].push_back(i);
    const auto& [clear, set] = places;
    const auto nth = [size](const std::vector<unsigned long>& of, unsigned long k) {
        return k == 0 || k > of.size() ? size : of[k - 1];
    };
    EXPECT_EQ(field.nSetBits(), set.size());
    EXPECT_EQ(field.nUnsetBits(), clear.size());
    EXPECT_EQ(field.isAnyBitSet(), !set.empty());
    EXPECT_EQ(field.isAnyBitUnset(), !clear.empty());
    EXPECT_EQ(field.firstSetBit(), nth(set, 1));
    EXPECT_EQ(field.firstUnsetBit(), nth(clear, 1));
    const unsigned long nSet = set.size(), nClear = clear.size();
    for (const unsigned long k : {0ul, 1ul, 2ul, nSet / 2, nSet, nSet + 1, nClear / 2, nClear, nClear + 1}) {
        EXPECT_EQ(field.nthSetBit(k), nth(set, k)) << k;
        EXPECT_EQ(field.nthUnsetBit(k), nth(clear, k)) << k;
    }
}

TEST(ZbBitfield, countsAndFindsBits)
{
    for (const double density : densities) {
        for (const size_t size : sizes)
            expectCountsAndFinds(size, density);
        expectCountsAndFinds(135300, density);  // more than the block of 4096 words
    }
}

TEST(ZbBitfield, findsTheFirstSetBitBlockInItsMixedUnits)
{
    // Five units of eight bytes: words 0 to 3 count by eights, and bits are looked at from 32 on.
    const unsigned long cases[][3] = {{1, 0, 0}, {64, 63, 0}, {320, 127, 24}, {320, 128, 32}, {320, 319, 32}};
    for (const auto& [size, bit, block] : cases) {
        ZbBitfield field(size, ZbBitfield::INIT_UNSET);
        EXPECT_EQ(field.firstSetBitBlock(), size < 64 ? 0 : size);
        field.set(bit);
        EXPECT_EQ(field.firstSetBitBlock(), block) << bit << " of " << size;
    }
}

TEST(ZbBitfield, combinesWithFieldsOfOtherSizes)
{
    for (const size_t size : sizes)
        for (const size_t otherSize : {size, size_t(40), size_t(2100)}) {
            SCOPED_TRACE(::testing::Message() << size << " and " << otherSize << " bits");
            Bits both = randomBits(size, 0.5), any = both, one = both;
            ZbBitfield a = fieldOf(both), o = a, x = a;
            const ZbBitfield other = fieldOf(randomBits(otherSize, 0.5));
            // Words that only this field has stay; of common words the padding takes part.
            for (unsigned long i = 0; i < std::min(size, 8 * other.memSize()); ++i) {
                both[i] = both[i] && other[i];
                any[i] = any[i] || other[i];
                one[i] = one[i] != bool(other[i]);
            }
            EXPECT_EQ(bitsOf(a &= other), both);
            EXPECT_EQ(bitsOf(o |= other), any);
            EXPECT_EQ(bitsOf(x ^= other), one);
            x.toggleAll();
            one.flip();
            EXPECT_EQ(bitsOf(x), one);
        }
}

TEST(ZbBitfield, comparesBitsAndNotPadding)
{
    for (const size_t size : sizes) {
        const Bits bits = randomBits(size, 0.5);
        const ZbBitfield field = fieldOf(bits), same = fieldOf(bits);
        EXPECT_TRUE(field == same && field.isSuperset(same) && field.isSubset(same)) << size;
        EXPECT_FALSE(field == fieldOf(randomBits(size + 1, 0)));
        ZbBitfield complement = fieldOf(bits);
        complement.toggleAll();
        EXPECT_FALSE(field.hasIntersection(complement));
        for (size_t i = size - 1; i < size; i -= size / 3 + 1) {
            SCOPED_TRACE(::testing::Message() << "bit " << i << " of " << size);
            ZbBitfield changed = same, onlyBit(size, ZbBitfield::INIT_UNSET);
            changed.toggle(i);
            onlyBit.set(i);
            EXPECT_FALSE(field == changed);
            EXPECT_EQ(field.isSuperset(changed), bits[i]);
            EXPECT_EQ(field.isSubset(changed), !bits[i]);
            EXPECT_EQ(field.hasIntersection(onlyBit), bits[i]);
        }
    }
    // The size is that of the field asked; what a shorter one lacks is clear.
    const ZbBitfield small(10, ZbBitfield::INIT_SET), large(5000, ZbBitfield::INIT_SET), none;
    EXPECT_TRUE(small.isSuperset(large) && large.isSuperset(small) && none.isSuperset(large));
    EXPECT_TRUE(!none.hasIntersection(large) && none == ZbBitfield(0, ZbBitfield::INIT_SET));
}

TEST(ZbBitfield, keepsBitsWhenResizedAndFillsNewOnes)
{
    ZbBitfield field;
    Bits bits;
    for (int step = 0; step < 300; ++step) {
        const size_t size = step % 3 == 0 ? generator() % 3000 : bits.size() + generator() % 5;
        const bool value = chance(0.5);
        field.resize(size, value ? ZbBitfield::INIT_SET : ZbBitfield::INIT_UNSET);
        bits.resize(size, value);
        ASSERT_EQ(field.memSize(), (size + 31) / 32 * 4);
        ASSERT_EQ(bitsOf(field), bits) << "step " << step;
        field.toggleAll();
        bits.flip();
    }
    EXPECT_THROW(field.resize(ULONG_MAX, ZbBitfield::INIT_SET), ZbMemoryException);
    EXPECT_EQ(bitsOf(field), bits);
}

TEST(ZbBitfield, isAValue)
{
    const ZbBitfield original = fieldOf(randomBits(77, 0.5));
    ZbBitfield copy(original), assigned(500, ZbBitfield::INIT_SET);
    assigned = original;
    copy.toggleAll();
    EXPECT_TRUE(copy != original && assigned == original);
    const ZbBitfield moved = std::move(assigned);
    assigned = copy;
    copy = *&copy;
    EXPECT_TRUE(moved == original && assigned == copy);
    assigned = ZbBitfield();
    assigned.setAll();
    EXPECT_EQ(assigned.nBits(), 0u);
    copy.setAll();
    EXPECT_EQ(copy.nSetBits(), 77u);
    copy.clearAll();
    EXPECT_EQ(copy.nSetBits(), 0u);
}

TEST(ZbBitfield, setsRangesAndRemovesBits)
{
    Bits bits = randomBits(1100, 0.3);
    ZbBitfield field = fieldOf(bits);
    while (bits.size() > 1) {
        // Now and then the last bit, and ranges of one bit, within a word, and over several.
        const size_t removed = chance(0.2) ? bits.size() - 1 : generator() % bits.size();
        field.remove(removed);
        bits.erase(bits.begin() + long(removed));
        ASSERT_EQ(bitsOf(field), bits) << "without " << removed;
        const size_t last = generator() % bits.size();
        const size_t first = last - std::min(last, size_t(chance(0.5) ? 0 : generator() % 100));
        field.setRange(first, last);
        std::fill(bits.begin() + long(first), bits.begin() + long(last) + 1, true);
        ASSERT_EQ(bitsOf(field), bits) << "set " << first << " to " << last;
        field.toggleAll();
        bits.flip();
    }
}

TEST(ZbBitfield, convertsFromLabels)
{
    for (const size_t size : sizes)
        for (const unsigned char c : {0, 1, 255}) {
            std::vector<unsigned char> labels(size + 1);  // from the second one on: not aligned
            std::generate(labels.begin(), labels.end(), [] { return (unsigned char)(generator() % 3 - 1); });
            Bits expected(size);
            std::transform(labels.begin() + 1, labels.end(), expected.begin(),
                           [c](int label) { return label == c; });
            ZbBitfield field(size / 2, ZbBitfield::INIT_SET);
            field.fromLabels(size, labels.data() + 1, c);
            EXPECT_EQ(bitsOf(field), expected) << size << " labels, " << int(c);
        }
}

TEST(ZbBitfield, convertsToLabelsByPolicy)
{
    // What the policies 0 to 5 leave of the labels 0, 7 and 9 under a clear and a set bit, c being 7.
    const unsigned char values[] = {0, 7, 9};
    const unsigned char left[6][2][3] = {{{0, 7, 9}, {0, 7, 9}}, {{0, 7, 9}, {7, 7, 7}},
                                         {{0, 7, 9}, {7, 7, 9}}, {{0, 0, 0}, {7, 7, 7}},
                                         {{0, 0, 9}, {7, 7, 9}}, {{0, 7, 9}, {0, 7, 9}}};
    for (int policy = 0; policy < 6; ++policy)
        for (const size_t size : sizes) {
            SCOPED_TRACE(::testing::Message() << "policy " << policy << ", " << size << " labels");
            const Bits bits = randomBits(size + generator() % 40, densities[generator() % 5]);
            std::vector<unsigned char> labels, expected;
            for (size_t i = 0; i < size + 2; ++i) {  // one before and one behind stay
                const size_t kind = generator() % 3;
                labels.push_back(values[kind]);
                expected.push_back(i > 0 && i <= size ? left[policy][bits[i - 1]][kind] : values[kind]);
            }
            const ZbBitfield field = fieldOf(bits);
            field.toLabels(bits.size() + 1, labels.data() + 1, 7,
                           ZbBitfield::InsertPolicy(policy));  // too many
            field.toLabels(size, labels.data() + 1, 7, ZbBitfield::InsertPolicy(policy));
            ASSERT_EQ(labels, expected);
        }
}

TEST(ZbBitfield, savesAndLoadsFiles)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("b\u00efts"));
    for (const size_t size : {0, 1, 8, 33, 5000}) {
        const ZbBitfield field = fieldOf(randomBits(size, 0.5));
        ZbBitfield loaded;
        EXPECT_TRUE(field.save(path) && loaded.load(path, size) && loaded == field) << size;
        EXPECT_EQ(QFile(path).size(), qint64(size + 7) / 8);
        EXPECT_FALSE(loaded.load(path, size + 8));
    }
    ZbBitfield field(3, ZbBitfield::INIT_SET);
    EXPECT_FALSE(field.save(QStringLiteral("/dev/full")));
    EXPECT_FALSE(field.save(folder.filePath(QStringLiteral("no/such/folder"))));
    EXPECT_FALSE(field.load(folder.filePath(QStringLiteral("missing")), 10));
    EXPECT_EQ(bitsOf(field), Bits({1, 1, 1, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(field.load(folder.path(), 10));
}

/// The text of a block: words, the first of them the number of bits; prefix is its size unless given.
QByteArray textOf(const std::vector<quint32>& words, qint64 prefix = -1, int extraBytes = 0)
{
    QByteArray block(reinterpret_cast<const char*>(words.data()), qsizetype(4 * words.size()));
    block.append(extraBytes, 'x');
    QByteArray compressed = qCompress(block);
    if (prefix >= 0)
        qToBigEndian(quint32(prefix), compressed.data());
    return compressed.toBase64();
}

TEST(ZbBitfield, comesBackFromText)
{
    for (const size_t size : sizes) {
        const ZbBitfield field = fieldOf(randomBits(size, densities[generator() % 5]));
        ZbBitfield restored(100, ZbBitfield::INIT_SET);
        restored.deserialize(field.serialize());
        EXPECT_TRUE(restored == field) << size;
    }
    // Made by other programs with zlib: every even bit of 35.
    ZbBitfield field;
    field.deserialize("AAAADHicU2ZgYAgFAlYgDQAKZgF9");
    QString text;
    field.print(text);
    EXPECT_EQ(text.toStdString(), "10101010101010101010101010101010101");
    ZbBitfield large;
    large.resize(0x80000000ul, ZbBitfield::INIT_NONE);
    EXPECT_THROW(large.serialize(), ZbException);
}

TEST(ZbBitfield, takesWhatABlockHoldsAndNoMore)
{
    ZbBitfield field(70, ZbBitfield::INIT_SET);
    field.deserialize(textOf({39, 0xfu}));  // 39 bits ask for four bytes: the last seven bits are not there
    EXPECT_EQ(field.nBits(), 39u);
    EXPECT_EQ(field.nSetBits(), 4u);
    field.deserialize(textOf({3, 5, 0xffffffff, 0xffffffff}));
    EXPECT_EQ(bitsOf(field), Bits({1, 0, 1}));
    field.deserialize(textOf({0}));
    EXPECT_EQ(field.nBits(), 0u);
    // A long run compresses by nearly the largest factor there is.
    const ZbBitfield run(1ul << 25, ZbBitfield::INIT_SET);
    field.deserialize(run.serialize());
    EXPECT_TRUE(field == run);
}

TEST(ZbBitfield, refusesTextsThatAreNoField)
{
    const auto refusal = [](const QByteArray& text) {
        ZbBitfield field(70, ZbBitfield::INIT_SET);
        try {
            field.deserialize(text);
        } catch (const ZbException& exception) {
            EXPECT_EQ(field.nSetBits(), 70u);
            return exception.what().toStdString();
        }
        return std::string();
    };
    const QByteArray sound = textOf({35, 0, 0}), claimsFourGigabytes = textOf({35, 0, 0}, 0xffffffff);
    for (const QByteArray& text :
         {QByteArray(), textOf({}), sound.left(4), sound.chopped(8), claimsFourGigabytes})
        EXPECT_EQ(refusal(text), "Decoded string is too short.") << text.constData();
    for (const int extraBytes : {1, 2, 3})
        EXPECT_EQ(refusal(textOf({35, 0, 0}, -1, extraBytes)), "Decoded string has unexpected length.");
    for (const quint32 nBits : {40u, 0x7fffffffu, 0x80000000u, 0xffffffffu})
        EXPECT_EQ(refusal(textOf({nBits, 0})),
                  "Mismatch between size of decoded string and number of expected bits.");
}

}  // namespace
