#include <zblib/imaging/ZbBitfield.h>

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/math/ZbMath.h>

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

namespace
{

using Word = unsigned int;

constexpr Word allOnes = ~Word(0);

// In 64 bits, and without the sum that would wrap for the largest n.
constexpr unsigned long wordsFor(unsigned long n)
{
    return n / 32 + (n % 32 != 0);
}

/// The bits of the last word of n that are no padding; all of them where 32 divides n.
constexpr Word lastWordMask(unsigned long n)
{
    return n % 32 == 0 ? allOnes : (1u << n % 32) - 1;
}

/// The first index from begin to end (exclusive) at which wordAt is not zero; end if there is none.
template <typename WordAt>
unsigned long firstNonZero(unsigned long begin, unsigned long end, WordAt wordAt)
{
    // Whole blocks are looked at before their words: one branch a block, and a loop that vectorises.
    constexpr unsigned long block = 64;
    const unsigned long found = zbMultiversion([=] {
        unsigned long i = begin;
        for (; i < end && end - i >= block; i += block) {
            Word any = 0;
            for (unsigned long k = 0; k < block; ++k)
                any |= wordAt(i + k);
            if (any != 0)
                break;
        }
        return i;
    });
    for (unsigned long i = found; i < end; ++i)
        if (wordAt(i) != 0)
            return i;
    return end;
}

/// to[i] = combine(to[i], from[i]) for count words. Both may be the same array.
template <typename Combine>
void combineWords(Word* to, const Word* from, unsigned long count, Combine combine)
{
    zbMultiversion([=] {
        for (unsigned long i = 0; i < count; ++i)
            to[i] = combine(to[i], from[i]);
    });
}

/// Index of the first bit from begin on that is set in the words xor flip; nBits if there is none.
unsigned long findBit(const Word* words, unsigned long begin, unsigned long nBits, Word flip)
{
    if (begin >= nBits)
        return nBits;
    unsigned long index = begin / 32;
    Word word = (words[index] ^ flip) & allOnes << begin % 32;
    if (word == 0) {
        index = firstNonZero(index + 1, wordsFor(nBits), [=](unsigned long i) { return words[i] ^ flip; });
        if (index == wordsFor(nBits))
            return nBits;
        word = words[index] ^ flip;
    }
    return std::min(nBits, 32 * index + unsigned(std::countr_zero(word)));
}

unsigned long countBitsPlain(const Word* words, unsigned long count)
{
    unsigned long total = 0;
    for (unsigned long i = 0; i < count; ++i)
        total += unsigned(ZbBitCount(words[i]));
    return total;
}

/// The same number. The bits of 64 nibbles are looked up at a time (the machine's own bit count takes word by
/// word and stays behind the memory), of four quarters of the words in turn: memory serves several streams
/// faster than one, and faster still when asked ahead.
ZB_TARGET_V3 unsigned long countBitsV3(const Word* words, unsigned long count)
{
    const __m256i bitsOfNibble = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4,  //
                                                  0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
    const __m256i lowNibble = _mm256_set1_epi8(15);
    const __m256i zero = _mm256_setzero_si256();
    constexpr unsigned long cacheLine = 16, ahead = 256;  // in words
    const unsigned long quarter = count / (4 * cacheLine) * cacheLine;
    __m256i totals = zero;
    for (unsigned long i = 0; i < quarter; i += cacheLine) {
        __m256i inBytes = zero;
        for (unsigned long q = 0; q < 4; ++q) {
            const unsigned long line = q * quarter + i;
            _mm_prefetch(words + std::min(line + ahead, count), _MM_HINT_T0);
            for (unsigned long k = 0; k < cacheLine; k += 8) {
                const __m256i bits = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + line + k));
                const __m256i low = _mm256_and_si256(bits, lowNibble);
                const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bits, 4), lowNibble);
                inBytes = _mm256_add_epi8(inBytes, _mm256_add_epi8(_mm256_shuffle_epi8(bitsOfNibble, low),
                                                                   _mm256_shuffle_epi8(bitsOfNibble, high)));
            }
        }
        totals = _mm256_add_epi64(totals, _mm256_sad_epu8(inBytes, zero));
    }
    unsigned long lanes[4];
    std::memcpy(lanes, &totals, sizeof lanes);
    return lanes[0] + lanes[1] + lanes[2] + lanes[3] +
           countBitsPlain(words + 4 * quarter, count - 4 * quarter);
}

unsigned long countBits(const Word* words, unsigned long count)
{
    return zbCpuLevel() == ZbCpuLevel::V3 ? countBitsV3(words, count) : countBitsPlain(words, count);
}

/// Position of the k-th set bit of a word, counted from 1. There are at least k.
unsigned int selectBit(Word word, unsigned int k)
{
    for (; k > 1; --k)
        word &= word - 1;
    return unsigned(std::countr_zero(word));
}

ZB_TARGET_V3 unsigned int selectBitV3(Word word, unsigned int k)
{
    return _tzcnt_u32(_pdep_u32(1u << (k - 1), word));
}

/// Index of the k-th bit, counted from 1, that is set in the words xor flip; nBits if there is none.
unsigned long findNthBit(const Word* words, unsigned long k, unsigned long nBits, Word flip)
{
    if (k == 0)
        return nBits;
    const unsigned long nWords = wordsFor(nBits);
    unsigned long i = 0;
    // By ever smaller blocks. Padding may take part: it lies above all bits of the field.
    for (unsigned long step = 1ul << 18; step > 0; step /= 64)
        for (; nWords - i >= step; i += step) {
            const unsigned long nSet = countBits(words + i, step);
            const unsigned long count = flip == 0 ? nSet : 32 * step - nSet;
            if (k <= count)
                break;
            k -= count;
        }
    if (i == nWords)
        return nBits;
    const auto select = zbCpuLevel() == ZbCpuLevel::V3 ? selectBitV3 : selectBit;
    return std::min(nBits, 32 * i + select(words[i] ^ flip, unsigned(k)));
}

/// Whether some bit is set both in a xor flip and in b, among their first count words and nBits bits.
bool anyCommonBit(const Word* a, const Word* b, unsigned long count, unsigned long nBits, Word flip)
{
    const auto common = [=](unsigned long i) { return (a[i] ^ flip) & b[i]; };
    const unsigned long whole = std::min(count, nBits / 32);
    return firstNonZero(0, whole, common) != whole ||
           (whole < count && (common(whole) & lastWordMask(nBits)) != 0);
}

}  // namespace

// ---- size and storage

ZbBitfield& ZbBitfield::operator=(const ZbBitfield& other)
{
    if (this == &other)
        return *this;
    if (m_nWords != other.m_nWords) {
        m_words = static_cast<Word*>(zbrealloc(m_words, other.memSize()));
        m_nWords = other.m_nWords;
    }
    m_nBits = other.m_nBits;
    if (m_nBits != 0)
        std::memcpy(m_words, other.m_words, memSize());
    return *this;
}

ZbBitfield& ZbBitfield::operator=(ZbBitfield&& other) noexcept
{
    ZbBitfield(std::move(other)).swap(*this);
    return *this;
}

ZbBitfield::~ZbBitfield()
{
    zbfree(m_words);
}

void ZbBitfield::swap(ZbBitfield& other) noexcept
{
    std::swap(m_nWords, other.m_nWords);
    std::swap(m_nBits, other.m_nBits);
    std::swap(m_words, other.m_words);
}

void ZbBitfield::resize(unsigned long n, INIT init)
{
    const unsigned long nWords = wordsFor(n);
    if (nWords != m_nWords)
        m_words = static_cast<Word*>(zbrealloc(m_words, nWords * sizeof(Word)));
    if (init == INIT_SET || init == INIT_UNSET) {
        const Word value = init == INIT_SET ? allOnes : 0;
        if (nWords > m_nWords)
            std::memset(m_words + m_nWords, int(value), (nWords - m_nWords) * sizeof(Word));
        if (n > m_nBits && m_nBits % 32 != 0) {
            // The padding of what was the last word becomes bits of the field.
            const Word kept = lastWordMask(m_nBits);
            Word& word = m_words[m_nWords - 1];
            word = (word & kept) | (value & ~kept);
        }
    }
    m_nWords = nWords;
    m_nBits = n;
}

// ---- single bits

void ZbBitfield::setRange(unsigned long a, unsigned long b) noexcept
{
    const unsigned long first = a / 32;
    const unsigned long last = b / 32;
    const Word fromA = allOnes << a % 32;
    const Word toB = allOnes >> (31 - b % 32);
    if (first == last) {
        m_words[first] |= fromA & toB;
        return;
    }
    m_words[first] |= fromA;
    std::memset(m_words + first + 1, 0xff, (last - first - 1) * sizeof(Word));
    m_words[last] |= toB;
}

// ---- the whole field

void ZbBitfield::setAll() noexcept
{
    if (m_words)
        std::memset(m_words, 0xff, memSize());
}

void ZbBitfield::unsetAll() noexcept
{
    if (m_words)
        std::memset(m_words, 0, memSize());
}

void ZbBitfield::toggleAll() noexcept
{
    combineWords(m_words, m_words, m_nWords, [](Word word, Word) { return ~word; });
}

ZbBitfield& ZbBitfield::operator&=(const ZbBitfield& other) noexcept
{
    combineWords(m_words, other.m_words, std::min(m_nWords, other.m_nWords),
                 [](Word a, Word b) { return a & b; });
    return *this;
}

ZbBitfield& ZbBitfield::operator|=(const ZbBitfield& other) noexcept
{
    combineWords(m_words, other.m_words, std::min(m_nWords, other.m_nWords),
                 [](Word a, Word b) { return a | b; });
    return *this;
}

ZbBitfield& ZbBitfield::operator^=(const ZbBitfield& other) noexcept
{
    combineWords(m_words, other.m_words, std::min(m_nWords, other.m_nWords),
                 [](Word a, Word b) { return a ^ b; });
    return *this;
}

bool ZbBitfield::operator==(const ZbBitfield& other) const noexcept
{
    if (m_nBits != other.m_nBits)
        return false;
    if (m_nBits == 0)
        return true;
    const unsigned long last = m_nWords - 1;
    return std::memcmp(m_words, other.m_words, last * sizeof(Word)) == 0 &&
           ((m_words[last] ^ other.m_words[last]) & lastWordMask(m_nBits)) == 0;
}

void ZbBitfield::remove(unsigned long i)
{
    if (m_nBits > 1ul + INT_MAX)
        return;
    const unsigned long first = i / 32;
    const unsigned long last = m_nWords - 1;
    const Word below = (1u << i % 32) - 1;
    const Word kept = m_words[first] & below;
    zbMultiversion([=, words = m_words] {
        for (unsigned long j = first; j < last; ++j)
            words[j] = words[j] >> 1 | words[j + 1] << 31;
    });
    m_words[last] >>= 1;
    m_words[first] = kept | (m_words[first] & ~below);
    resize(m_nBits - 1, INIT_UNSET);
}

// ---- counting and searching

unsigned long ZbBitfield::nSetBits() const noexcept
{
    if (m_nBits == 0)
        return 0;
    const unsigned long last = m_nWords - 1;
    return countBits(m_words, last) + unsigned(ZbBitCount(m_words[last] & lastWordMask(m_nBits)));
}

unsigned long ZbBitfield::firstSetBit() const noexcept
{
    return findBit(m_words, 0, m_nBits, 0);
}

unsigned long ZbBitfield::firstUnsetBit() const noexcept
{
    return findBit(m_words, 0, m_nBits, allOnes);
}

unsigned long ZbBitfield::nthSetBit(unsigned long k) const noexcept
{
    return findNthBit(m_words, k, m_nBits, 0);
}

unsigned long ZbBitfield::nthUnsetBit(unsigned long k) const noexcept
{
    return findNthBit(m_words, k, m_nBits, allOnes);
}

unsigned long ZbBitfield::firstSetBitBlock() const noexcept
{
    const unsigned long m = memSize() / 8;
    if (m == 0)
        return 0;
    const unsigned long i = firstNonZero(0, m - 1, [words = m_words](unsigned long j) { return words[j]; });
    if (i < m - 1)
        return 8 * i;
    const unsigned long rest = 8 * m - 8;
    return findBit(m_words, rest, m_nBits, 0) < m_nBits ? rest : m_nBits;
}

bool ZbBitfield::hasIntersection(const ZbBitfield& other) const noexcept
{
    return anyCommonBit(m_words, other.m_words, std::min(m_nWords, other.m_nWords), m_nBits, 0);
}

bool ZbBitfield::isSuperset(const ZbBitfield& other) const noexcept
{
    return !anyCommonBit(m_words, other.m_words, std::min(m_nWords, other.m_nWords), m_nBits, allOnes);
}
