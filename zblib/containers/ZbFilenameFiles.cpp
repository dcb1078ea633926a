#include <zblib/containers/ZbFilename.h>

#include <QDir>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr int permissionBits = 07777;

std::optional<struct stat> statusOf(const char* path)
{
    struct stat status;
    return ::stat(path, &status) == 0 ? std::optional(status) : std::nullopt;
}

// An open file, closed at the end.
class File
{
public:
    File(const char* path, int flags, int mode = 0) : m_descriptor(::open(path, flags | O_CLOEXEC, mode)) {}
    ~File() { close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    explicit operator bool() const { return m_descriptor != -1; }
    int descriptor() const { return m_descriptor; }
    std::optional<struct stat> status() const
    {
        struct stat status;
        return ::fstat(m_descriptor, &status) == 0 ? std::optional(status) : std::nullopt;
    }
    /// Whether everything written has arrived, as far as the system tells.
    bool close()
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor == -1 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor;
};

bool writeAll(int descriptor, const char* bytes, ssize_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, size_t(count));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        count -= written;
    }
    return true;
}

bool copyContents(int from, int to)
{
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t count = ::read(from, buffer, sizeof(buffer));
        if (count == 0)
            return true;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 || !writeAll(to, buffer, count))
            return false;
    }
}

// Replaces the extension by the n-th that makes a name unique.
void setNumber(ZbFilename& path, int n, const ZbString& extension)
{
    path.setExtension(ZbString(0, ".%d%s", n, extension.getString()));
}

ZbString extensionWithoutDot(const ZbFilename& path)
{
    const char* const extension = path.getExtension();
    return *extension == '.' ? extension + 1 : extension;
}

QByteArray tempFolder()
{
    const QByteArray path = QDir::tempPath().toLocal8Bit();
    return path.isEmpty() ? QByteArray("/tmp") : path;  // TMPDIR may name a folder that is not there
}

// A folder that other users cannot fill with names and links; the process that has made it removes it. Where none can
// be made, the folder for temporary files itself, which stays.
class ProcessFolder
{
public:
    ProcessFolder() : m_path(tempFolder() + "/zblib-XXXXXX")
    {
        if (::mkdtemp(m_path.data()))
            m_owner = ::getpid();
        else
            m_path = tempFolder();
    }
    ~ProcessFolder()
    {
        if (::getpid() == m_owner)
            ::rmdir(m_path.constData());
    }
    ProcessFolder(const ProcessFolder&) = delete;
    ProcessFolder& operator=(const ProcessFolder&) = delete;

    const QByteArray& path() const { return m_path; }

private:
    QByteArray m_path;
    pid_t m_owner = 0;  // the process that removes it; a forked child has a copy of this object
};

ZbFilename tempPrefix(const char* dir)
{
    ZbFilename path(dir);
    if (!dir) {
        static const ProcessFolder folder;
        path = folder.path();
    }
    if (!path.isEmpty())
        path += '/';
    return path += "zb";
}

}  // namespace

bool ZbFilename::doesExist() const noexcept
{
    return ::access(getString(), F_OK) == 0;
}

bool ZbFilename::isReadable() const noexcept
{
    return ::access(getString(), R_OK) == 0;
}

bool ZbFilename::isWriteable() const noexcept
{
    return ::access(getString(), W_OK) == 0;
}

bool ZbFilename::isDirectory() const noexcept
{
    const auto status = statusOf(getString());
    return status && S_ISDIR(status->st_mode);
}

long long ZbFilename::fileSize() const noexcept
{
    const auto status = statusOf(getString());
    return status ? status->st_size : -1;
}

std::time_t ZbFilename::getModTime() const noexcept
{
    const auto status = statusOf(getString());
    return status ? status->st_mtime : -1;
}

std::time_t ZbFilename::getAccessTime() const noexcept
{
    const auto status = statusOf(getString());
    return status ? status->st_atime : -1;
}

int ZbFilename::getMode() const noexcept
{
    // Not to wait for the other end of a pipe.
    const File file(getString(), O_RDONLY | O_NONBLOCK);
    if (!file)
        return 0;
    const auto status = file.status();
    return status ? int(status->st_mode) & permissionBits : 0;
}

bool ZbFilename::setMode(int mode) noexcept
{
    return ::chmod(getString(), mode_t(mode)) == 0;
}

bool ZbFilename::create(int mode) noexcept
{
    File file(getString(), O_WRONLY | O_CREAT | O_TRUNC, mode);
    return file && file.close();
}

bool ZbFilename::unlink() noexcept
{
    return ::unlink(getString()) == 0;
}

bool ZbFilename::rename(const char* name)
{
    const ZbFilename target(name);
    if (::rename(getString(), target.getString()) != 0)
        return false;
    *this = target;
    return true;
}

bool ZbFilename::copy(const char* target) const noexcept
{
    const File from(getString(), O_RDONLY);
    const auto source = from ? from.status() : std::nullopt;
    if (!source || S_ISDIR(source->st_mode))
        return false;
    // Made empty only when it is known not to be the source.
    File to(target ? target : "", O_WRONLY | O_CREAT, 0666);
    const auto destination = to ? to.status() : std::nullopt;
    if (!destination)
        return false;
    if (source->st_dev == destination->st_dev && source->st_ino == destination->st_ino)
        return true;
    if (S_ISREG(destination->st_mode) && ::ftruncate(to.descriptor(), 0) != 0)
        return false;
    const bool isCopied = copyContents(from.descriptor(), to.descriptor());
    return to.close() && isCopied;
}

void ZbFilename::makeUnique()
{
    const ZbString extension = extensionWithoutDot(*this);
    for (int n = 1; doesExist(); ++n)
        setNumber(*this, n, extension);
}

bool ZbFilename::createUnique(int mode)
{
    const ZbString extension = extensionWithoutDot(*this);
    ZbFilename path(*this);
    for (int n = 1;; ++n) {
        if (File file(path.getString(), O_WRONLY | O_CREAT | O_EXCL, mode); file) {
            const bool isClosed = file.close();
            if (isClosed)
                *this = path;
            return isClosed;
        }
        if (errno != EEXIST)
            return false;
        setNumber(path, n, extension);
    }
}

ZbFilename ZbFilename::getTempFilename(const char* dir)
{
    ZbFilename path = tempPrefix(dir);
    path.makeUnique();
    return path;
}

ZbFilename ZbFilename::createTempFile(const char* dir, int mode)
{
    ZbFilename path = tempPrefix(dir);
    return path.createUnique(mode) ? path : ZbFilename();
}
