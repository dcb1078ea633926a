#include "OutputFile.h"

#include "Failure.h"

#include <znzlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace zbvolume
{

namespace
{

// The mode that the system gives to new files.
mode_t defaultMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

std::string folderOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool compressed) : m_path(path), m_target(path)
{
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode))
        throw Failure(path, "is a folder");
    if (path.empty() || path.back() == '/')
        throw Failure(path, "is not the name of a file");
    if (exists && !S_ISREG(status.st_mode)) {
        errno = 0;
        m_stream = znzopen(path.c_str(), "wb", compressed ? 1 : 0);
        if (m_stream == nullptr)
            throw Failure(path, systemCause());
        return;
    }
    if (exists) {
        if (access(path.c_str(), W_OK) != 0)
            throw Failure(path, systemCause());
        const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
        if (real)
            m_target = real.get();
    }

    std::string name = folderOf(m_target) + ".zbvolume-XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0)
        throw Failure(path, errno == ENOENT ? "its folder does not exist" : systemCause());
    m_temporary = name;
    fchmod(descriptor, exists ? status.st_mode & 07777 : defaultMode());
    close(descriptor);
    errno = 0;
    m_stream = znzopen(m_temporary.c_str(), "wb", compressed ? 1 : 0);
    if (m_stream == nullptr) {
        const std::string cause = systemCause();
        unlink(m_temporary.c_str());
        throw Failure(path, cause);
    }
}

OutputFile::~OutputFile()
{
    if (m_stream != nullptr)
        Xznzclose(&m_stream);
    if (!m_temporary.empty())
        unlink(m_temporary.c_str());
}

bool OutputFile::hasTargetOf(const OutputFile& other) const
{
    if (isDirect() || other.isDirect())
        return false;
    const auto place = [](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path));
    };
    return place(m_target) == place(other.m_target);
}

void OutputFile::write(const void* bytes, std::size_t size)
{
    errno = 0;
    if (znzwrite(bytes, 1, size, m_stream) != size)
        throw Failure(m_path, systemCause());
}

void OutputFile::finish()
{
    if (m_stream == nullptr)
        return;
    errno = 0;
    const int closed = Xznzclose(&m_stream);
    m_stream = nullptr;
    if (closed != 0)
        throw Failure(m_path, systemCause());
    if (m_temporary.empty())
        return;
    // Some file systems report a full disk only here.
    const int descriptor = open(m_temporary.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synced = descriptor >= 0 && (fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP);
    const std::string cause = systemCause();
    if (descriptor >= 0)
        close(descriptor);
    if (!synced)
        throw Failure(m_path, cause);
}

void OutputFile::commit()
{
    finish();
    if (m_temporary.empty())
        return;
    if (std::rename(m_temporary.c_str(), m_target.c_str()) != 0)
        throw Failure(m_path, systemCause());
    m_temporary.clear();
}

OutputFile* OutputFiles::open(const std::string& path, bool compressed)
{
    if (path.empty())
        return nullptr;
    auto opened = std::make_unique<OutputFile>(path, compressed);
    for (const auto& file : m_files)
        if (file->hasTargetOf(*opened))
            throw Failure(path, "is named for two results");
    return m_files.emplace_back(std::move(opened)).get();
}

OutputFile* OutputFiles::openBeside(const std::string& input, const std::string& path)
{
    std::error_code none;
    if (!path.empty() && std::filesystem::equivalent(input, path, none))
        throw Failure(path, "is the file that is read");
    return open(path);
}

std::vector<std::string> OutputFiles::names() const
{
    std::vector<std::string> names;
    for (const auto& file : m_files)
        names.push_back(file->path());
    return names;
}

void OutputFiles::commit()
{
    for (const auto& file : m_files)
        file->finish();
    for (const auto& file : m_files)
        file->commit();
}

}  // namespace zbvolume
