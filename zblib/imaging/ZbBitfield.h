#pragma once

#include <zblib/foundation/ZbExport.h>

#include <QByteArray>
#include <QString>
#include <QTypeInfo>

#include <utility>

/// A dense set of bits: one bit a voxel of a grid, or an element of any indexed collection.
///
/// Bit i is bit i % 32 of word i / 32, least significant first; seen as bytes, it is bit i % 8 of byte i / 8.
/// Bits of the last word beyond nBits() are padding. They carry no meaning: operations on whole words change
/// them freely, and everything that reads ignores them.
///
/// A value: copies are deep, a moved-from field is empty. The field owns its words, which come from zbmalloc.
/// Where an operation needs memory that there is not, ZbMemoryException is thrown and the field is as it was.
/// No index is checked. What searches for a bit answers nBits() when there is none.
///
/// Reentrant. Several threads may write bits of one field at once only if no two of them write into one word.
class ZB_API ZbBitfield
{
public:
    /// The value of bits that a field is created with or grows by. Any other number acts as INIT_NONE.
    enum INIT : int {
        INIT_SET = 0,
        INIT_UNSET = 1,
        INIT_NONE = 2,  // as the memory happens to be: to be written before it is read
    };

    /// How toLabels() treats what a label holds. Any other number: nothing is written.
    enum InsertPolicy : int {
        INSERT_SET = 1,       // set bits write the label, whatever is there
        INSERT_IF_EMPTY = 2,  // set bits write the label where there is 0
        INSERT_REPLACE = 3,   // set bits write the label, clear bits 0
        INSERT_OWN = 4,       // as INSERT_REPLACE, but only where there is 0 or the label itself
    };

    ZbBitfield() noexcept = default;
    ZbBitfield(unsigned long n, INIT init) { resize(n, init); }
    ZbBitfield(const ZbBitfield& other) { *this = other; }
    ZbBitfield(ZbBitfield&& other) noexcept { swap(other); }
    /// Keeps its words where their number is that of other.
    ZbBitfield& operator=(const ZbBitfield& other);
    ZbBitfield& operator=(ZbBitfield&& other) noexcept;
    ~ZbBitfield();

    void swap(ZbBitfield& other) noexcept;
    friend void swap(ZbBitfield& a, ZbBitfield& b) noexcept { a.swap(b); }

    // ---- size and storage

    /// Makes this a field of n bits. Bits below both sizes stay, new ones are as init says.
    void resize(unsigned long n, INIT init);

    unsigned long nBits() const noexcept { return m_nBits; }
    /// The words; null while there are none.
    unsigned int* dataPtr() noexcept { return m_words; }
    const unsigned int* dataPtr() const noexcept { return m_words; }
    /// Bytes that the words take.
    unsigned long memSize() const noexcept { return m_nWords * sizeof(unsigned int); }

    // ---- single bits

    /// The bit, as 0 or 1.
    unsigned int operator[](const unsigned long& i) const noexcept { return m_words[i / 32] >> i % 32 & 1u; }
    void set(const unsigned long& i) noexcept { m_words[i / 32] |= 1u << i % 32; }
    void unset(const unsigned long& i) noexcept { m_words[i / 32] &= ~(1u << i % 32); }
    void toggle(const unsigned long& i) noexcept { m_words[i / 32] ^= 1u << i % 32; }
    void set(const unsigned long& i, bool value) noexcept { value ? set(i) : unset(i); }
    /// Sets the bits from a to b, both included; a <= b.
    void setRange(unsigned long a, unsigned long b) noexcept;

    // ---- the whole field

    void setAll() noexcept;
    void unsetAll() noexcept;
    void clearAll() noexcept { unsetAll(); }
    void toggleAll() noexcept;

    /// Combine the words that both fields have; further words stay as they are.
    ZbBitfield& operator&=(const ZbBitfield& other) noexcept;
    ZbBitfield& operator|=(const ZbBitfield& other) noexcept;
    ZbBitfield& operator^=(const ZbBitfield& other) noexcept;

    /// Same number of bits, and the same bits.
    bool operator==(const ZbBitfield& other) const noexcept;

    /// Deletes bit i: the bits above it move down by one. O(nBits() - i), a word at a time.
    ///
    /// The bits are counted with signed 32-bit integers: a field of more than 2^31 bits is left as it is.
    void remove(unsigned long i);

    // ---- counting and searching

    unsigned long nSetBits() const noexcept;
    unsigned long nUnsetBits() const noexcept { return m_nBits - nSetBits(); }
    bool isAnyBitSet() const noexcept { return firstSetBit() != m_nBits; }
    bool isAnyBitUnset() const noexcept { return firstUnsetBit() != m_nBits; }
    unsigned long firstSetBit() const noexcept;
    unsigned long firstUnsetBit() const noexcept;
    /// Index of the k-th set (unset) bit, counted from 1; there is no 0-th.
    unsigned long nthSetBit(unsigned long k) const noexcept;
    unsigned long nthUnsetBit(unsigned long k) const noexcept;

    /// A coarse search with a unit of its own, which callers rely on: eight times the number of the first
    /// word that is not zero.
    ///
    /// With m = memSize() / 8: 0 when m is 0; 8 * i for the first word i < m - 1 that is not zero; else
    /// 8 * m - 8 when a bit from there on is set; else nBits().
    unsigned long firstSetBitBlock() const noexcept;

    /// Whether some bit is set in both fields. Bits count up to the size of this one; of a shorter other, the
    /// words that it lacks count as zero. So for isSuperset().
    bool hasIntersection(const ZbBitfield& other) const noexcept;
    /// Whether every bit that is set in other is set here.
    bool isSuperset(const ZbBitfield& other) const noexcept;
    bool isSubset(const ZbBitfield& other) const noexcept { return other.isSuperset(*this); }

    // ---- conversion

    /// Makes this a field of n bits, bit i telling whether labels[i] == c.
    void fromLabels(unsigned long n, const unsigned char* labels, unsigned char c);
    /// Writes label c into the n labels where the first n bits and policy say so; nothing when there are
    /// fewer bits than labels.
    void toLabels(unsigned long n, unsigned char* labels, unsigned char c,
                  InsertPolicy policy) const noexcept;

    /// Replaces out with a text of one character a bit, '0' or '1', bit 0 first.
    void print(QString& out) const;

    // ---- persistence

    /// Writes the bits, (nBits() + 7) / 8 bytes without a header, and tells whether all of them arrived.
    bool save(const QString& file) const;
    /// Becomes a field of n bits and reads them from a file that save() has written; false if it has less of
    /// them. On failure the bits that were not read are those that resize() gives.
    bool load(const QString& file, unsigned long n);

    /// The field as text: base64 of a qCompress()ed block, which is the number of bits (four bytes, signed,
    /// little endian) and the words. Throws ZbException "Bitfield too large." from 2^31 bits on.
    QByteArray serialize() const;
    /// Becomes the field that serialize() wrote.
    ///
    /// Safe for texts from anywhere: a size that the text cannot hold is refused before memory is taken for
    /// it, what the block has too much is ignored, and bits that it does not reach are clear. Throws
    /// ZbException for a text that is none of a field, which leaves this one as it was:
    /// "Decoded string has unexpected length.", "Decoded string is too short." or
    /// "Mismatch between size of decoded string and number of expected bits."
    void deserialize(const QByteArray& text);

private:
    unsigned long m_nWords = 0;  // (m_nBits + 31) / 32
    unsigned long m_nBits = 0;
    unsigned int* m_words = nullptr;  // null while m_nWords is 0
};

// Nothing points back into a field, so it may be moved by its bytes.
Q_DECLARE_TYPEINFO(ZbBitfield, Q_RELOCATABLE_TYPE);
