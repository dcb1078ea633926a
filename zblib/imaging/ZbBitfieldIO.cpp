#include <zblib/imaging/ZbBitfield.h>

#include <zblib/foundation/ZbException.h>

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

// Files and texts hold the words byte by byte as they lie in memory.
static_assert(std::endian::native == std::endian::little, "the stored forms need their bytes swapped here");

namespace
{

/// Bytes of the bits in a file.
constexpr unsigned long fileSize(unsigned long nBits)
{
    return nBits / 8 + (nBits % 8 != 0);
}

/// qUncompress() for blocks from outside: it would take as much memory as the first four bytes say, whatever
/// follows. A block that lies about it gives nothing, like one that is damaged otherwise.
QByteArray uncompressed(const QByteArray& block)
{
    constexpr qint64 prefix = 4;
    // Two bits of a zlib stream stand for at most 258 bytes.
    constexpr qint64 largestExpansion = 1032;
    if (block.size() < prefix)
        return {};
    if (qint64(qFromBigEndian<quint32>(block.constData())) > (block.size() - prefix) * largestExpansion)
        return {};
    return qUncompress(block);
}

}  // namespace

bool ZbBitfield::save(const QString& file) const
{
    std::FILE* stream = std::fopen(file.toUtf8().constData(), "wb");
    if (!stream)
        return false;
    const unsigned long size = fileSize(m_nBits);
    const bool written = size == 0 || std::fwrite(m_words, 1, size, stream) == size;
    // Closing writes what is still buffered, and fails where the disk is full.
    return std::fclose(stream) == 0 && written;
}

bool ZbBitfield::load(const QString& file, unsigned long n)
{
    resize(n, INIT_UNSET);
    std::FILE* stream = std::fopen(file.toUtf8().constData(), "rb");
    if (!stream)
        return false;
    const unsigned long size = fileSize(n);
    const bool read = size == 0 || std::fread(m_words, 1, size, stream) == size;
    std::fclose(stream);
    return read;
}

QByteArray ZbBitfield::serialize() const
{
    if (m_nBits >= 0x80000000ul)
        throw ZbException(QStringLiteral("Bitfield too large."));
    const auto count = std::int32_t(m_nBits);
    QByteArray block(qsizetype(sizeof count + memSize()), Qt::Uninitialized);
    std::memcpy(block.data(), &count, sizeof count);
    if (m_nWords != 0)
        std::memcpy(block.data() + sizeof count, m_words, memSize());
    return qCompress(block).toBase64();
}

void ZbBitfield::deserialize(const QByteArray& text)
{
    const QByteArray block = uncompressed(QByteArray::fromBase64(text));
    if (block.size() % 4 != 0)
        throw ZbException(QStringLiteral("Decoded string has unexpected length."));
    std::int32_t count;
    if (block.size() < qsizetype(sizeof count))
        throw ZbException(QStringLiteral("Decoded string is too short."));
    std::memcpy(&count, block.constData(), sizeof count);
    const auto payload = (unsigned long)(block.size()) - sizeof count;
    // Whole bytes are asked for: of the last few bits the payload may hold none.
    if (count < 0 || payload < (unsigned long)(count / 8))
        throw ZbException(
            QStringLiteral("Mismatch between size of decoded string and number of expected bits."));

    resize((unsigned long)(count), INIT_NONE);
    if (m_nWords == 0)
        return;
    const unsigned long copied = std::min(payload, memSize());
    std::memcpy(m_words, block.constData() + sizeof count, copied);
    std::memset(reinterpret_cast<char*>(m_words) + copied, 0, memSize() - copied);
}
