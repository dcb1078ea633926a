#pragma once

#include <zblib/containers/ZbRelocatable.h>
#include <zblib/containers/ZbString.h>
#include <zblib/foundation/ZbExport.h>

#include <QByteArray>
#include <QString>

#include <concepts>
#include <ctime>

/// The name of a file or folder, with "/" as the separator, and what programs do with such names and files.
///
/// The name is bytes in the local 8-bit encoding, as the system takes them; QString is converted. A null
/// pointer as text is the empty text. Copies share their bytes until one is written. Editing a name asks
/// nothing of the file system, expandPath(), canonizePath() and makeUnique() excepted; texts that are passed in
/// may lie in the name itself. Operations on files take the name as it stands and follow symbolic links.
/// Nothing here throws but for want of memory: what fails answers false, 0 or -1.
///
/// Reentrant, not thread-safe. The working folder and the environment belong to the process.
class ZB_API ZbFilename
{
public:
    ZbFilename() = default;
    ZbFilename(const QByteArray& path);
    ZbFilename(const QString& path) : m_path(path.toLocal8Bit()) {}
    ZbFilename(const ZbString& path) : m_path(path.getString(), path.length()) {}
    ZbFilename(const char* path) : m_path(path) {}

    const char* getString() const noexcept { return m_path.constData(); }
    operator const char*() const noexcept { return getString(); }
    QString toQString() const { return QString::fromLocal8Bit(m_path); }
    bool isEmpty() const noexcept { return m_path.isEmpty(); }
    long length() const noexcept { return long(m_path.size()); }

    // By bytes, so case counts and so does the way in which a path is written.
    bool operator==(const ZbFilename& other) const noexcept { return m_path == other.m_path; }
    bool operator==(const QByteArray& other) const noexcept { return m_path == other; }
    bool operator==(const ZbString& other) const { return *this == ZbFilename(other); }
    bool operator==(const QString& other) const { return m_path == other.toLocal8Bit(); }
    bool operator==(const char* other) const noexcept { return m_path == other; }

    // For char alone: a number converts to char only by mistake.
    ZbFilename& operator+=(std::same_as<char> auto text) { return append(QByteArray(1, text)); }
    ZbFilename& operator+=(const char* text) { return append(QByteArray(text)); }
    ZbFilename& operator+=(const ZbString& text) { return append(ZbFilename(text).m_path); }
    ZbFilename& operator+=(const QString& text) { return append(text.toLocal8Bit()); }
    ZbFilename& operator+=(const QByteArray& text) { return append(text); }
    friend ZbFilename operator+(ZbFilename path, std::same_as<char> auto text) { return path += text; }
    friend ZbFilename operator+(ZbFilename path, const char* text) { return path += text; }
    friend ZbFilename operator+(ZbFilename path, const ZbString& text) { return path += text; }
    friend ZbFilename operator+(ZbFilename path, const QString& text) { return path += text; }
    friend ZbFilename operator+(ZbFilename path, const QByteArray& text) { return path += text; }

    // ---- parts of a path

    /// The text behind the last "/"; points into path.
    static const char* basename(const char* path) noexcept;
    const char* getBasename() const noexcept { return basename(getString()); }
    /// The index of the last "." of the base name, or -1.
    static long extensionPos(const char* path) noexcept;
    long getExtensionPos() const noexcept { return extensionPos(getString()); }
    bool hasExtension() const noexcept { return getExtensionPos() != -1; }
    /// The text from that dot on, or the empty text; points into path.
    static const char* extension(const char* path) noexcept;
    const char* getExtension() const noexcept { return extension(getString()); }
    void removeExtension();
    /// Replaces the extension, if there is one, by text, with or without its dot. Null and the empty text only
    /// remove it.
    void setExtension(const char* text);
    /// The text in front of the last "/": empty for "/a" and for a name without "/", "a/b" for "a/b/".
    static ZbFilename dirname(const char* path);
    ZbFilename getDirname() const { return dirname(getString()); }
    /// Appends "/", even where there is one already, and name.
    void appendFile(const char* name);

    // ---- the path as text

    /// The position of text, or -1. The empty text is at 0.
    long index(const char* text) const noexcept { return long(m_path.indexOf(text)); }
    bool contains(const char* text) const noexcept { return index(text) != -1; }
    /// Inserts in front of pos. Behind the end, blanks fill up to pos; below 0 nothing happens.
    void insertStr(int pos, const char* text);
    /// Removes the last n bytes, or all there are.
    void removeLast(int n) { m_path.chop(n); }
    /// Replaces every occurrence, from left to right; what has been inserted is not searched. The empty text
    /// occurs nowhere.
    void replaceSubStr(const char* from, const char* to);
    /// The n bytes from pos on, as far as there are such; n below 0 means all.
    ZbFilename mid(int pos, int n = -1) const { return m_path.mid(pos, n); }
    /// Letters of ASCII; other bytes stay.
    void toLower() { m_path = m_path.toLower(); }
    /// Replaces the path by the formatted text, as ZbString::printf() does, and returns it.
    const char* printf(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // ---- normal forms

    /// Replaces "\" by "/".
    void fixSlashes();
    /// Removes white space at both ends.
    void unpad() { m_path = m_path.trimmed(); }
    /// unpad(), and double quotes at both ends where there are none yet, if there is a blank inside.
    void quote();
    /// fixSlashes(), and removes "//", "/./" and "name/.." from the text. O(length).
    ///
    /// Callers know the results by heart, so they are those of single replacements: of three slashes two
    /// stay, of "/././" stays "/./", any name that begins with two dots counts as "..", and one whose name has no
    /// "/" in front, as in "a/../b", stays and ends the removal of all further ones.
    void pack();
    /// Makes a relative path absolute: puts the working folder in front, or replaces a leading "~" by the
    /// home folder (HOME) and "~name" by that of an account. An unknown one counts as empty: "~nobody/a"
    /// becomes "/a". Where there is no working folder (it was removed, or its name has 4096 bytes or more) the
    /// path stays.
    void expandPath();
    /// pack(), expandPath(), and removes one "/" at the end, that of the root folder too.
    void canonizePath();
    /// Whether the first byte is not "/". So "~" is relative, and the empty path is.
    bool isRelative() const noexcept { return !m_path.startsWith('/'); }
    /// Makes this path relative to a folder. Both are packed first, and slashes at the end do not count.
    ///
    /// "/a/b/c" is "c" from "/a/b", "../b/c" from "/a/d", and the empty path from "/a/b/c". Where that cannot
    /// be told from the names (one path is absolute and the other is not, or base leads out of the folder
    /// that both begin in) the packed path stays.
    void makeRelativeTo(const ZbFilename& base);

    // ---- files

    // As access() tells for the real user of the process.
    bool doesExist() const noexcept;
    bool isReadable() const noexcept;
    bool isWriteable() const noexcept;
    bool isDirectory() const noexcept;
    /// In bytes; -1 where there is no file.
    long long fileSize() const noexcept;
    /// The time of the last change of the contents, and of the last access; -1 where there is no file.
    std::time_t getModTime() const noexcept;
    std::time_t getAccessTime() const noexcept;
    /// The permission bits (07777) of a file that can be opened for reading; 0 of others.
    int getMode() const noexcept;
    bool setMode(int mode) noexcept;
    /// Creates the file, mode less the umask, or makes it empty.
    bool create(int mode) noexcept;
    bool unlink() noexcept;
    /// Renames the file, and this becomes the new name.
    bool rename(const char* name);
    /// Copies the contents. The target's permissions stay, or are those of any new file. A file copied onto
    /// itself, by whatever name, stays as it is. If false, the target may have a part of the contents.
    bool copy(const char* target) const noexcept;

    /// Makes this a name that no file has: the extension gets the first number in front that is free, so
    /// "data.txt" becomes "data.1txt" and "data" becomes "data.1". A free name stays.
    ///
    /// Another process may take the name before the caller does: createUnique() lets it not.
    void makeUnique();
    /// Creates a file that was not there before, mode less the umask, under the name that makeUnique() would
    /// choose; false, and the name stays, where that fails.
    bool createUnique(int mode = 0600);
    /// A free name, by makeUnique(), that begins with "zb" in a folder. Null is a folder of this process alone
    /// in the system's folder for temporary files, which is removed at exit if it is empty; the empty text is the
    /// working folder.
    static ZbFilename getTempFilename(const char* dir);
    /// Creates such a file by createUnique() and returns its name, empty where that fails.
    static ZbFilename createTempFile(const char* dir, int mode = 0600);

private:
    ZbFilename& append(const QByteArray& text);

    QByteArray m_path;
};

template <>
struct ZbIsRelocatable<ZbFilename> : std::true_type {
};
