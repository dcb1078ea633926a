#include <zblib/containers/ZbFilename.h>

#include <QList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace
{

// The home folder of an account, empty if there is none.
QByteArray homeOf(const QByteArray& account)
{
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwnam_r(account.constData(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
           buffer.size() < 1024 * 1024)
        buffer.resize(2 * buffer.size());
    return found ? QByteArray(found->pw_dir) : QByteArray();
}

// Replaces each occurrence of part, in place, by one "/"; occurrences do not overlap.
void replaceBySlash(char* text, const char* part)
{
    char* to = text;
    const char* from = text;
    while (const char* const found = std::strstr(from, part)) {
        std::memmove(to, from, std::size_t(found - from));
        to += found - from;
        *to++ = '/';
        from = found + std::strlen(part);
    }
    if (from != text)
        std::memmove(to, from, std::strlen(from) + 1);
}

// Removes "/x/.." from the left, in place, until there is no "/.." or no "/" in front of the first.
void removeParents(char* text)
{
    char* to = std::strstr(text, "/..");
    if (!to)
        return;
    for (const char* from = to; *from;) {
        *to++ = *from++;
        // The text up to here has only this "/..": it is the first, whatever has been removed before it.
        if (to - text < 3 || std::memcmp(to - 3, "/..", 3) != 0)
            continue;
        char* slash = to - 3;
        do {
            if (slash == text) {
                std::memmove(to, from, std::strlen(from) + 1);
                return;
            }
        } while (*--slash != '/');
        to = slash;
    }
    *to = 0;
}

// The names of a packed path.
QList<QByteArray> namesOf(const QByteArray& path)
{
    QList<QByteArray> names = path.split('/');
    names.removeIf([](const QByteArray& name) { return name.isEmpty() || name == "."; });
    return names;
}

}  // namespace

ZbFilename::ZbFilename(const QByteArray& path) : m_path(path)
{
    // Bytes that the array does not own need not end with a zero.
    if (path.capacity() == 0)
        m_path.detach();
}

ZbFilename& ZbFilename::append(const QByteArray& text)
{
    m_path.append(text);
    return *this;
}

const char* ZbFilename::basename(const char* path) noexcept
{
    if (!path)
        return "";
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

long ZbFilename::extensionPos(const char* path) noexcept
{
    const char* const dot = std::strrchr(basename(path), '.');
    return dot ? dot - path : -1;  // without a path there is no dot
}

const char* ZbFilename::extension(const char* path) noexcept
{
    const char* const name = basename(path);
    const char* const dot = std::strrchr(name, '.');
    return dot ? dot : name + std::strlen(name);
}

void ZbFilename::removeExtension()
{
    if (const long pos = getExtensionPos(); pos != -1)
        m_path.truncate(pos);
}

void ZbFilename::setExtension(const char* text)
{
    const QByteArray newExtension(text);
    removeExtension();
    if (newExtension.isEmpty())
        return;
    if (!newExtension.startsWith('.'))
        m_path += '.';
    m_path += newExtension;
}

ZbFilename ZbFilename::dirname(const char* path)
{
    const char* const slash = path ? std::strrchr(path, '/') : nullptr;
    return slash ? QByteArray(path, slash - path) : QByteArray();
}

void ZbFilename::appendFile(const char* name)
{
    m_path += '/' + QByteArray(name);
}

void ZbFilename::insertStr(int pos, const char* text)
{
    m_path.insert(pos, QByteArray(text));
}

void ZbFilename::replaceSubStr(const char* from, const char* to)
{
    const QByteArray before(from);
    if (!before.isEmpty())
        m_path.replace(before, QByteArray(to));
}

const char* ZbFilename::printf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ZbString text;
    text.vprintf(format, arguments);
    va_end(arguments);
    *this = text;
    return getString();
}

void ZbFilename::fixSlashes()
{
    m_path.replace('\\', '/');
}

void ZbFilename::quote()
{
    unpad();
    if (!m_path.contains(' '))
        return;
    if (!m_path.startsWith('"'))
        m_path.prepend('"');
    if (!m_path.endsWith('"'))
        m_path.append('"');
}

void ZbFilename::pack()
{
    if (m_path.isEmpty())
        return;
    fixSlashes();
    char* const text = m_path.data();
    replaceBySlash(text, "//");
    replaceBySlash(text, "/./");
    removeParents(text);
    m_path.truncate(qsizetype(std::strlen(text)));
}

void ZbFilename::expandPath()
{
    if (!isRelative())
        return;
    if (m_path.startsWith('~')) {
        const qsizetype slash = m_path.indexOf('/');
        const qsizetype end = slash == -1 ? m_path.size() : slash;
        const QByteArray account = m_path.mid(1, end - 1);
        m_path.replace(0, end, account.isEmpty() ? qgetenv("HOME") : homeOf(account));
        return;
    }
    char folder[4096];
    if (!getcwd(folder, sizeof(folder)))
        return;
    if (m_path.startsWith("./"))
        m_path.remove(0, 2);
    m_path.prepend(QByteArray(folder) + '/');
}

void ZbFilename::canonizePath()
{
    pack();
    expandPath();
    if (m_path.endsWith('/'))
        m_path.chop(1);
}

void ZbFilename::makeRelativeTo(const ZbFilename& base)
{
    ZbFilename folder(base);
    folder.pack();
    pack();
    if (isRelative() != folder.isRelative())
        return;
    const QList<QByteArray> names = namesOf(m_path);
    const QList<QByteArray> folders = namesOf(folder.m_path);
    const auto [rest, up] = std::mismatch(names.begin(), names.end(), folders.begin(), folders.end());
    // The way back from a folder ".." has a name that the paths do not tell.
    if (std::find(up, folders.end(), "..") != folders.end())
        return;
    m_path = QByteArray("../").repeated(folders.end() - up) + QList<QByteArray>(rest, names.end()).join('/');
}
