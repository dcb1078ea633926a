#include "InputFile.h"

#include "Failure.h"

#include <zblib/foundation/ZbProgressInterface.h>

#include <znzlib.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

namespace zbvolume
{

namespace
{

// Bytes between two looks at the progress object.
constexpr std::size_t blockSize = std::size_t(4) << 20;

// Deflate codes at best 258 bytes in two bits, which is 1032 to 1.
constexpr std::uint64_t maxExpansion = 1032;

}  // namespace

InputFile::InputFile(const std::string& path) : m_path(path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        throw Failure(path, systemCause());
    if (S_ISDIR(status.st_mode))
        throw Failure(path, "is a folder");
    if (!S_ISREG(status.st_mode))
        throw Failure(path, "is not a regular file");
    m_bytesOnDisk = std::uint64_t(status.st_size);

    errno = 0;
    m_stream = znzopen(path.c_str(), "rb", 0);
    if (m_stream == nullptr)
        throw Failure(path, systemCause());
    std::array<unsigned char, 2> start = {};
    if (znzread(start.data(), 1, start.size(), m_stream) == start.size())
        m_isCompressed = start[0] == 0x1f && start[1] == 0x8b;
    Xznzclose(&m_stream);
    m_stream = znzopen(path.c_str(), "rb", m_isCompressed ? 1 : 0);
    if (m_stream == nullptr)
        throw Failure(path, systemCause());
}

InputFile::~InputFile()
{
    Xznzclose(&m_stream);
}

void InputFile::requireSize(std::uint64_t bytes) const
{
    const std::uint64_t most = m_isCompressed ? m_bytesOnDisk * maxExpansion : m_bytesOnDisk;
    if (bytes > most)
        throw Failure(m_path, "is truncated: " + std::to_string(m_bytesOnDisk) +
                                  (m_isCompressed ? " compressed bytes, " : " bytes, ") +
                                  std::to_string(bytes) + " expected");
}

std::size_t InputFile::readSome(void* buffer, std::size_t size)
{
    errno = 0;
    const std::size_t got = znzread(buffer, 1, size, m_stream);
    if (got > size)  // -1 for a compressed stream that does not decode
        throw Failure(m_path, "is damaged: its compressed data does not decode");
    if (got < size && errno != 0)
        throw Failure(m_path, systemCause());
    return got;
}

void InputFile::readAll(void* buffer, std::uint64_t size, ZbProgressInterface* progress)
{
    auto* bytes = static_cast<unsigned char*>(buffer);
    for (std::uint64_t done = 0; done < size;) {
        const auto wanted = std::size_t(std::min<std::uint64_t>(blockSize, size - done));
        const std::size_t got = readSome(bytes + done, wanted);
        done += got;
        if (got < wanted)
            throw Failure(m_path, "is truncated: " + std::to_string(size - done) + " bytes are missing");
        if (progress != nullptr) {
            progress->setProgressValue(float(double(done) / double(size)));
            if (progress->wasInterrupted(true))
                throw Interrupted();
        }
    }
}

void InputFile::skip(std::uint64_t size, ZbProgressInterface* progress)
{
    if (!m_isCompressed) {
        if (size > std::uint64_t(std::numeric_limits<std::int64_t>::max()) ||
            znzseek(m_stream, std::int64_t(size), SEEK_CUR) < 0)
            throw Failure(m_path, systemCause());
        return;
    }
    std::vector<unsigned char> passed(std::size_t(std::min<std::uint64_t>(blockSize, size)));
    while (size > 0) {
        const auto step = std::min<std::uint64_t>(passed.size(), size);
        readAll(passed.data(), step);
        size -= step;
        if (progress != nullptr && progress->wasInterrupted(true))
            throw Interrupted();
    }
}

void InputFile::checkEnd()
{
    unsigned char next = 0;
    if (m_isCompressed)
        readSome(&next, 1);
}

}  // namespace zbvolume
