#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct znzptr;  // of znzlib

namespace zbvolume
{

/// A file that appears whole or not at all.
///
/// The bytes go to a file of another name in the same folder, which takes the place of the target in
/// commit(); without commit() it is removed, and an older target stays as it was. A target that is a device
/// or a pipe is written directly instead, never replaced. Errors throw Failure with the target's name.
class OutputFile
{
public:
    /// Opens at once, so that a folder that is missing or closed shows before the work and not after it.
    /// compressed: as a gzip stream.
    explicit OutputFile(const std::string& path, bool compressed = false);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const noexcept { return m_path; }
    /// Whether both replace the same file, however it is named.
    bool hasTargetOf(const OutputFile& other) const;
    /// Whether the target is a device or a pipe.
    bool isDirect() const noexcept { return m_temporary.empty(); }
    void write(const void* bytes, std::size_t size);
    void write(const std::string& bytes) { write(bytes.data(), bytes.size()); }
    /// Takes bytes piece by piece, as long as this object lives.
    std::function<void(const std::string&)> sink()
    {
        return [this](const std::string& bytes) { write(bytes); };
    }
    /// Brings everything to the disk; nothing may be written after it.
    void finish();
    /// finish(), then puts the file in its place.
    void commit();

private:
    std::string m_path;          // as the user named it
    std::string m_target;        // where links lead to
    std::string m_temporary;     // empty when the target is written directly, and after commit()
    znzptr* m_stream = nullptr;  // null after finish()
};

/// The files that one command writes: all of them appear, or none.
class OutputFiles
{
public:
    /// The file, which belongs to this object; null if path is empty.
    OutputFile* open(const std::string& path, bool compressed = false);
    /// The same for a file that is no volume, which may not take the place of the input.
    OutputFile* openBeside(const std::string& input, const std::string& path);
    std::vector<std::string> names() const;
    /// Finishes all files before the first one appears, because nearly nothing fails after that.
    void commit();

private:
    std::vector<std::unique_ptr<OutputFile>> m_files;
};

}  // namespace zbvolume
