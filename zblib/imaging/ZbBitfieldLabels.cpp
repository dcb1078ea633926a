#include <zblib/imaging/ZbBitfield.h>

#include <zblib/foundation/ZbMultiversion.h>

#include <immintrin.h>

namespace
{

using Word = unsigned int;
using Policy = ZbBitfield::InsertPolicy;

/// What becomes of a label under a bit: the definition of the policies.
unsigned char inserted(unsigned char old, bool bit, unsigned char c, Policy policy)
{
    switch (policy) {
    case Policy::INSERT_SET:
        return bit ? c : old;
    case Policy::INSERT_IF_EMPTY:
        return bit && old == 0 ? c : old;
    case Policy::INSERT_REPLACE:
        return bit ? c : 0;
    case Policy::INSERT_OWN:
        return old != 0 && old != c ? old : bit ? c : 0;
    }
    return old;
}

/// The word of the bits labels[k] == c, for count <= 32 labels; further bits are clear.
Word wordOf(const unsigned char* labels, unsigned long count, unsigned char c)
{
    Word word = 0;
    for (unsigned long k = 0; k < count; ++k)
        word |= Word(labels[k] == c) << k;
    return word;
}

void fromLabelsPlain(const unsigned char* labels, unsigned long nWords, unsigned char c, Word* words)
{
    for (unsigned long i = 0; i < nWords; ++i)
        words[i] = wordOf(labels + 32 * i, 32, c);
}

ZB_TARGET_V3 void fromLabelsV3(const unsigned char* labels, unsigned long nWords, unsigned char c,
                               Word* words)
{
    const __m256i label = _mm256_set1_epi8(char(c));
    for (unsigned long i = 0; i < nWords; ++i) {
        const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(labels + 32 * i));
        words[i] = Word(_mm256_movemask_epi8(_mm256_cmpeq_epi8(block, label)));
    }
}

template <Policy policy>
void toLabelsPlain(const Word* words, unsigned long n, unsigned char c, unsigned char* labels)
{
    for (unsigned long i = 0; i < n; ++i)
        labels[i] = inserted(labels[i], words[i / 32] >> i % 32 & 1u, c, policy);
}

template <Policy policy>
ZB_TARGET_V3 void toLabelsV3(const Word* words, unsigned long n, unsigned char c, unsigned char* labels)
{
    const __m256i label = _mm256_set1_epi8(char(c));
    const __m256i zero = _mm256_setzero_si256();
    // Byte k of a block gets the byte of the word that holds bit k, and looks at its bit k % 8.
    const __m256i byteOfBit =
        _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
    const __m256i bitOfByte = _mm256_set1_epi64x(qint64(0x8040201008040201));
    for (unsigned long i = 0; i < n / 32; ++i) {
        // Of a sparse mask most labels need not be touched.
        if ((policy == Policy::INSERT_SET || policy == Policy::INSERT_IF_EMPTY) && words[i] == 0)
            continue;
        const __m256i spread = _mm256_shuffle_epi8(_mm256_set1_epi32(int(words[i])), byteOfBit);
        const __m256i isSet = _mm256_cmpeq_epi8(_mm256_and_si256(spread, bitOfByte), bitOfByte);
        const __m256i replaced = _mm256_and_si256(isSet, label);
        __m256i* const block = reinterpret_cast<__m256i*>(labels + 32 * i);
        if constexpr (policy == Policy::INSERT_REPLACE) {
            _mm256_storeu_si256(block, replaced);
            continue;
        }
        const __m256i old = _mm256_loadu_si256(block);
        const __m256i isEmpty = _mm256_cmpeq_epi8(old, zero);
        __m256i write = isSet;
        if constexpr (policy == Policy::INSERT_IF_EMPTY)
            write = _mm256_and_si256(isSet, isEmpty);
        else if constexpr (policy == Policy::INSERT_OWN)
            write = _mm256_or_si256(isEmpty, _mm256_cmpeq_epi8(old, label));
        _mm256_storeu_si256(block, _mm256_blendv_epi8(old, replaced, write));
    }
    const unsigned long rest = n - n % 32;
    toLabelsPlain<policy>(words + rest / 32, n % 32, c, labels + rest);
}

template <Policy policy>
void toLabelsBy(const Word* words, unsigned long n, unsigned char c, unsigned char* labels)
{
    const auto kernel = zbCpuLevel() == ZbCpuLevel::V3 ? toLabelsV3<policy> : toLabelsPlain<policy>;
    kernel(words, n, c, labels);
}

}  // namespace

void ZbBitfield::fromLabels(unsigned long n, const unsigned char* labels, unsigned char c)
{
    // Every word is written below, so none needs a value before.
    resize(n, INIT_NONE);
    const auto kernel = zbCpuLevel() == ZbCpuLevel::V3 ? fromLabelsV3 : fromLabelsPlain;
    kernel(labels, n / 32, c, m_words);
    if (n % 32 != 0)
        m_words[n / 32] = wordOf(labels + (n - n % 32), n % 32, c);
}

void ZbBitfield::toLabels(unsigned long n, unsigned char* labels, unsigned char c,
                          InsertPolicy policy) const noexcept
{
    if (m_nBits < n)
        return;
    switch (policy) {  // any other policy writes nothing
    case INSERT_SET:
        return toLabelsBy<INSERT_SET>(m_words, n, c, labels);
    case INSERT_IF_EMPTY:
        return toLabelsBy<INSERT_IF_EMPTY>(m_words, n, c, labels);
    case INSERT_REPLACE:
        return toLabelsBy<INSERT_REPLACE>(m_words, n, c, labels);
    case INSERT_OWN:
        return toLabelsBy<INSERT_OWN>(m_words, n, c, labels);
    }
}

void ZbBitfield::print(QString& out) const
{
    out.resize(qsizetype(m_nBits));
    QChar* text = out.data();
    for (unsigned long i = 0; i < m_nBits; ++i)
        text[i] = QLatin1Char((*this)[i] ? '1' : '0');
}
