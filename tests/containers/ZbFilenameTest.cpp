#include <zblib/containers/ZbFilename.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <random>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// A working folder of their own for tests that make files.
class ZbFilenameFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_folder.isValid());
        m_before = QDir::currentPath();
        ASSERT_TRUE(QDir::setCurrent(m_folder.path()));
    }
    void TearDown() override { QDir::setCurrent(m_before); }

    static ZbFilename write(const char* name, const QByteArray& contents)
    {
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
        return name;
    }
    static QByteArray contents(const char* name)
    {
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        return file.readAll();
    }
    static QStringList files() { return QDir().entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    QTemporaryDir m_folder;
    QString m_before;
};

ZbFilename packed(ZbFilename path)
{
    path.pack();
    return path;
}

// The rule of pack(), step by step.
QByteArray plainPacked(QByteArray path)
{
    path.replace('\\', '/');
    path.replace("//", "/");
    path.replace("/./", "/");
    for (;;) {
        const qsizetype parent = path.indexOf("/..");
        const qsizetype slash = parent < 1 ? -1 : path.lastIndexOf('/', parent - 1);
        if (slash == -1)
            return path;
        path.remove(slash, parent + 3 - slash);
    }
}

}  // namespace

TEST(ZbFilename, hasADirectoryABaseNameAndAnExtension)
{
    const struct {
        const char* path;
        const char* dirname;
        const char* basename;
        const char* extension;
        long extensionPos;
    } cases[] = {{"", "", "", "", -1},
                 {"/", "", "", "", -1},
                 {"/a", "", "a", "", -1},
                 {"a", "", "a", "", -1},
                 {"a/b/", "a/b", "", "", -1},
                 {"dir.d/file", "dir.d", "file", "", -1},
                 {"dir.d/file.tar.gz", "dir.d", "file.tar.gz", ".gz", 14},
                 {"/x/.profile", "/x", ".profile", ".profile", 3},
                 {"name.", "", "name.", ".", 4}};
    for (const auto& [path, dirname, basename, extension, extensionPos] : cases) {
        const ZbFilename name(path);
        EXPECT_STREQ(name.getDirname(), dirname) << path;
        EXPECT_STREQ(name.getBasename(), basename) << path;
        EXPECT_STREQ(name.getExtension(), extension) << path;
        EXPECT_EQ(name.getExtensionPos(), extensionPos) << path;
        EXPECT_EQ(name.hasExtension(), extensionPos != -1) << path;
        EXPECT_EQ(ZbFilename::extension(path),
                  path + (extensionPos == -1 ? std::strlen(path) : extensionPos));
    }
    EXPECT_STREQ(ZbFilename::basename(nullptr), "");
    EXPECT_STREQ(ZbFilename::extension(nullptr), "");
    EXPECT_EQ(ZbFilename::extensionPos(nullptr), -1);
    EXPECT_STREQ(ZbFilename::dirname(nullptr), "");
}

TEST(ZbFilename, extensionIsReplaced)
{
    const struct {
        const char* path;
        const char* extension;
        const char* result;
    } cases[] = {{"a.b.c", "txt", "a.b.txt"}, {"a.b.c", ".txt", "a.b.txt"}, {"a.b.c", "", "a.b"},
                 {"a.b.c", nullptr, "a.b"},   {"a.b/c", "%s", "a.b/c.%s"},  {"a", "b.c", "a.b.c"}};
    for (const auto& [path, extension, result] : cases) {
        ZbFilename name(path);
        name.setExtension(extension);
        EXPECT_STREQ(name, result);
    }
    ZbFilename own("a.bc");
    own.setExtension(own.getExtension() + 2);
    EXPECT_STREQ(own, "a.c");
    own.removeExtension();
    own.removeExtension();
    EXPECT_STREQ(own, "a");
}

TEST(ZbFilename, isMadeOfComparedAndJoinedWithTexts)
{
    const char* const text = "data/\xc3\xa4.raw";
    const ZbFilename path(text);
    EXPECT_TRUE(path == ZbString(text) && path == QString::fromUtf8(text) && path == text &&
                path == ZbFilename(QByteArray(text)) && path == ZbFilename(QString::fromUtf8(text)) &&
                path != "data/A.raw" && path != "");
    EXPECT_EQ(path.toQString(), QString::fromUtf8(text));
    ZbFilename joined;
    joined += 'a';
    joined += "b";
    joined += ZbString("c");
    joined += QString("d");
    joined += joined.getString() + 1;
    EXPECT_STREQ(joined + 'e' + "f" + ZbString("g") + QString("h"), "abcdbcdefgh");
    joined = joined.getString() + 4;
    EXPECT_STREQ(joined, "bcd");
    // Bytes that are not the array's own, without a zero behind them.
    const ZbFilename raw(QByteArray::fromRawData("abcdef", 3));
    EXPECT_STREQ(raw, "abc");
    EXPECT_TRUE(ZbFilename(static_cast<const char*>(nullptr)).isEmpty());
}

TEST(ZbFilename, isEditedAsText)
{
    ZbFilename path("a/B/a");
    path.appendFile("x");
    path.appendFile(path);
    EXPECT_STREQ(path, "a/B/a/x/a/B/a/x");
    EXPECT_EQ(path.index("/a"), 3);
    EXPECT_EQ(path.index("z"), -1);
    EXPECT_TRUE(path.contains("B/a") && path.contains("") && !path.contains("b"));
    EXPECT_STREQ(path.mid(2, 3), "B/a");
    EXPECT_STREQ(path.mid(12, 99), "a/x");
    path.removeLast(8);
    path.removeLast(-1);
    path.replaceSubStr("a", "aa");
    path.replaceSubStr("", "y");
    EXPECT_STREQ(path, "aa/B/aa/x");
    path.insertStr(2, path);
    path.toLower();
    EXPECT_STREQ(path, "aaaa/b/aa/x/b/aa/x");
    path.insertStr(-1, "no");
    path.insertStr(20, "far");
    EXPECT_STREQ(path.mid(15), "a/x  far");
    path.removeLast(99);
    EXPECT_TRUE(path.isEmpty());
    path = "slice";
    EXPECT_STREQ(path.printf("%s.%04d", path.getString(), 7), "slice.0007");
}

TEST(ZbFilename, quotesNamesWithBlanks)
{
    const struct {
        const char* path;
        const char* quoted;
    } cases[] = {{" a b\t", "\"a b\""},  {"  ab ", "ab"},  {"\"a b", "\"a b\""},
                 {"\"a b\"", "\"a b\""}, {"a\tb", "a\tb"}, {"", ""}};
    for (const auto& [path, quoted] : cases) {
        ZbFilename name(path);
        name.quote();
        EXPECT_STREQ(name, quoted);
    }
}

TEST(ZbFilename, packsByItsRule)
{
    const struct {
        const char* path;
        const char* result;
    } cases[] = {{"a//b/./c/../d", "a/b/d"}, {"a/b/../c", "a/c"},    {"a\\b", "a/b"},
                 {"a///b", "a//b"},          {"a/././b", "a/./b"},   {"a/../b", "a/../b"},
                 {"/a/../../b", "/../b"},    {"a/b/..c/d", "ac/d"},  {"/../a/../b", "/../a/../b"},
                 {"../a/b/..", "../a"},      {"/a/b/c/../..", "/a"}, {"a///b/....", "a/.."}};
    for (const auto& [path, result] : cases)
        EXPECT_STREQ(packed(path), result) << path;
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        QByteArray path;
        for (auto n = random() % 14; n > 0; --n)
            path += "ab/./.\\"[random() % 7];
        EXPECT_STREQ(packed(path), plainPacked(path).constData()) << path.constData();
    }
}

TEST(ZbFilename, becomesRelativeToAFolder)
{
    const struct {
        const char* path;
        const char* base;
        const char* result;
    } cases[] = {{"/a/b/c.txt", "/a/b", "c.txt"},
                 {"/a/b/c.txt", "/a/b/", "c.txt"},
                 {"/a/b/c", "/a/d", "../b/c"},
                 {"/a/b", "/c/d", "../../a/b"},
                 {"/a", "/a/b/c", "../../"},
                 {"/a/b", "/a/b", ""},
                 {"/a/b", "/", "a/b"},
                 {"/ab/c", "/a", "../ab/c"},
                 {"/a//b/../c", "/a/./d/..", "c"},
                 {"a/b", "a/c", "../b"},
                 {"./a/b", ".", "a/b"},
                 {"../x", "y", "../../x"},
                 {"../x", "../y", "../x"},
                 // No way is known from here.
                 {"/a/b", "a", "/a/b"},
                 {"a/./b", "/a", "a/b"},
                 {"x", "../y", "x"}};
    for (const auto& [path, base, result] : cases) {
        ZbFilename name(path);
        name.makeRelativeTo(base);
        EXPECT_STREQ(name, result) << path << " from " << base;
    }
    ZbFilename self("/a/b");
    self.makeRelativeTo(self);
    EXPECT_STREQ(self, "");
}

TEST_F(ZbFilenameFiles, expandsToAbsolutePaths)
{
    const ZbFilename here(QDir::currentPath());
    const passwd* const account = getpwuid(getuid());
    ASSERT_TRUE(account);
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", "/my home");
    const struct {
        ZbFilename path, expanded, canonical;
    } cases[] = {{"/a/~/", "/a/~/", "/a/~"},
                 {"a/b", here + "/a/b", here + "/a/b"},
                 {"././a//", here + "/./a//", here + "/a"},
                 {"", here + "/", here},
                 {"~", "/my home", "/my home"},
                 {"~/a/../b", "/my home/a/../b", "/my home/b"},
                 {"~no-such-account/a", "/a", "/a"},
                 {"~no-such-account", "", ""},
                 {ZbFilename("~") + account->pw_name + "/a", ZbFilename(account->pw_dir) + "/a",
                  ZbFilename(account->pw_dir) + "/a"},
                 {"/", "/", ""}};
    for (const auto& [path, expanded, canonical] : cases) {
        ZbFilename name(path);
        EXPECT_EQ(name.isRelative(), path.getString()[0] != '/');
        name.expandPath();
        EXPECT_STREQ(name, expanded);
        name = path;
        name.canonizePath();
        EXPECT_STREQ(name, canonical);
    }
    qputenv("HOME", home);
    QDir().mkdir("gone");
    QDir::setCurrent("gone");
    QDir().rmdir(QDir::currentPath());
    ZbFilename name("a");
    name.expandPath();
    EXPECT_STREQ(name, "a");
}

TEST_F(ZbFilenameFiles, tellsWhatIsThere)
{
    const ZbFilename missing("missing");
    EXPECT_FALSE(missing.doesExist() || missing.isReadable() || missing.isWriteable() ||
                 missing.isDirectory());
    EXPECT_EQ(missing.fileSize(), -1);
    EXPECT_EQ(missing.getModTime(), -1);
    EXPECT_EQ(missing.getAccessTime(), -1);
    EXPECT_EQ(missing.getMode(), 0);
    EXPECT_FALSE(ZbFilename(missing).setMode(0600) || ZbFilename(missing).unlink() ||
                 ZbFilename("no/file").create(0600));

    ZbFilename file = write("file", "contents");
    EXPECT_TRUE(file.doesExist() && file.isReadable() && file.isWriteable() && !file.isDirectory());
    EXPECT_TRUE(ZbFilename(".").isDirectory());
    EXPECT_EQ(file.fileSize(), 8);
    EXPECT_TRUE(file.setMode(0640));
    EXPECT_EQ(file.getMode(), 0640);
    const timespec times[] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, file, times, 0), 0);
    EXPECT_EQ(file.getAccessTime(), 1000);
    EXPECT_EQ(file.getModTime(), 2000);
    ASSERT_EQ(truncate(file, 5LL << 30), 0);
    EXPECT_EQ(file.fileSize(), 5LL << 30);
    EXPECT_TRUE(file.create(0600));
    EXPECT_EQ(file.fileSize(), 0);

    EXPECT_FALSE(file.rename("no/file"));
    EXPECT_STREQ(file, "file");
    EXPECT_TRUE(file.rename("renamed"));
    EXPECT_STREQ(file, "renamed");
    EXPECT_TRUE(file.unlink());
    EXPECT_TRUE(files().isEmpty());
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    EXPECT_EQ(ZbFilename("pipe").getMode(), 0600);
}

TEST_F(ZbFilenameFiles, copiesContents)
{
    QByteArray large(200001, 'x');
    large.replace(100000, 3, "abc");
    const ZbFilename file = write("file", large);
    write("longer", large + large);
    EXPECT_TRUE(file.copy("longer"));
    EXPECT_TRUE(file.copy("new"));
    EXPECT_EQ(contents("longer"), large);
    EXPECT_EQ(contents("new"), large);
    ASSERT_EQ(link("file", "link"), 0);
    EXPECT_TRUE(file.copy("file") && file.copy("link"));
    EXPECT_EQ(contents("file"), large);
    EXPECT_FALSE(ZbFilename("missing").copy("new") || ZbFilename(".").copy("new") || file.copy("no/file") ||
                 file.copy(nullptr));
    EXPECT_EQ(contents("new"), large);
}

TEST_F(ZbFilenameFiles, namesBecomeUnique)
{
    const auto unique = [](ZbFilename name) {
        name.makeUnique();
        return QByteArray(name);
    };
    EXPECT_EQ(unique("data.txt"), "data.txt");
    write("data.txt", "");
    EXPECT_EQ(unique("data.txt"), "data.1txt");
    write("data.1txt", "");
    EXPECT_EQ(unique("data.txt"), "data.2txt");
    write("data", "");
    EXPECT_EQ(unique("data"), "data.1");
    write("100.%d", "");
    EXPECT_EQ(unique("100.%d"), "100.1%d");
    EXPECT_EQ(unique("."), ".1");

    ZbFilename first("data.txt"), second("data.txt"), impossible("no/file");
    EXPECT_TRUE(first.createUnique(0640) && second.createUnique());
    EXPECT_STREQ(first, "data.2txt");
    EXPECT_STREQ(second, "data.3txt");
    EXPECT_EQ(first.getMode(), 0640);
    EXPECT_FALSE(impossible.createUnique());
    EXPECT_STREQ(impossible, "no/file");
}

TEST_F(ZbFilenameFiles, temporaryNamesAreFree)
{
    EXPECT_STREQ(ZbFilename::getTempFilename(""), "zb");
    EXPECT_STREQ(ZbFilename::getTempFilename("."), "./zb");
    EXPECT_STREQ(ZbFilename::createTempFile("."), "./zb");
    EXPECT_STREQ(ZbFilename::getTempFilename("."), "./zb.1");
    EXPECT_STREQ(ZbFilename::createTempFile("no/folder"), "");

    ZbFilename temporary = ZbFilename::createTempFile(nullptr);
    const ZbFilename folder = temporary.getDirname();
    EXPECT_TRUE(folder == ZbFilename::getTempFilename(nullptr).getDirname());
    EXPECT_TRUE(folder.getDirname() == QDir::tempPath());
    EXPECT_EQ(folder.getMode(), 0700);
    EXPECT_EQ(temporary.getMode(), 0600);
    EXPECT_TRUE(temporary.unlink());
}
