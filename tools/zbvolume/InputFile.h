#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class ZbProgressInterface;

struct znzptr;  // of znzlib

namespace zbvolume
{

/// A regular file that is read from front to back. Compression is recognised by content and undone on the
/// way, so that callers see plain bytes. Errors throw Failure.
class InputFile
{
public:
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const std::string& path() const noexcept { return m_path; }
    bool isCompressed() const noexcept { return m_isCompressed; }

    /// Fails unless the file can hold that many plain bytes. Exact for a plain file. A compressed one is held
    /// to the most that its size can expand to, so that a header cannot ask for memory without end.
    void requireSize(std::uint64_t bytes) const;

    /// Reads up to size bytes and returns how many there were.
    std::size_t readSome(void* buffer, std::size_t size);
    /// Reads exactly size bytes; progress, if given, is told the fraction and asked whether to stop.
    void readAll(void* buffer, std::uint64_t size, ZbProgressInterface* progress = nullptr);
    /// Passes over size bytes.
    void skip(std::uint64_t size, ZbProgressInterface* progress = nullptr);
    /// Where a compressed file ends here, checks that its check sum is right.
    void checkEnd();

private:
    std::string m_path;
    std::uint64_t m_bytesOnDisk = 0;
    bool m_isCompressed = false;
    znzptr* m_stream = nullptr;  // never null after construction
};

}  // namespace zbvolume
