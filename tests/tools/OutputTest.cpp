#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class ZbvolumeOutput : public ZbvolumeTest
{
protected:
    void SetUp() override { writeVolume<short>(path("v.nii"), {3, 2, 1}, {1, 0, 1, 1, 0, 1}); }
};

namespace
{

struct FullDiskCase {
    const char* name;
    const char* setUp;  // shell code in front of the program
    std::vector<std::string> arguments;
    const char* message;
    friend void PrintTo(const FullDiskCase& c, std::ostream* out) { *out << c.name; }
};

// A device that is always full, and a limit of 4 KiB a file.
const FullDiskCase fullDiskCases[] = {
    {"csv",
     "",
     {"count", "v.nii", "--threshold", "1", "--csv", "/dev/full"},
     "/dev/full: No space left on device"},
    {"png", "", {"histogram", "v.nii", "--png", "/dev/full"}, "/dev/full: No space left on device"},
    {"report", "exec >/dev/full;", {"info", "v.nii"}, "standard output: No space left on device"},
    {"volume", "ulimit -f 8;", {"sample", "s.nii"}, "s.nii: File too large"},
    {"compressedVolume", "ulimit -f 8;", {"sample", "s.nii.gz"}, "s.nii.gz: File too large"},
    {"enlarged",
     "ulimit -f 8;",
     {"resample", "v.nii", "--factor", "20", "-o", "r.nii"},
     "r.nii: File too large"},
    {"imageOfAPair", "ulimit -f 8;", {"sample", "s.hdr"}, "s.img: File too large"},
    {"otherFilesOfTheCommand",
     "ulimit -f 8;",
     {"count", "v.nii", "--threshold", "1", "--labels", "l.nii", "--csv", "t.csv", "--png", "p.png"},
     "p.png: File too large"},
};

class ZbvolumeFullDisk : public ZbvolumeOutput, public ::testing::WithParamInterface<FullDiskCase>
{
};

}  // namespace

TEST_P(ZbvolumeFullDisk, leavesNothingBehind)
{
    const Outcome outcome = zbvolumeAfter(GetParam().setUp, GetParam().arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, std::string("zbvolume: ") + GetParam().message + "\n");
    EXPECT_EQ(files(), std::vector<std::string>{"v.nii"});
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeFullDisk, ::testing::ValuesIn(fullDiskCases),
                         [](const auto& test) { return test.param.name; });

TEST_F(ZbvolumeOutput, replacesAFileOnlyWhenAllIsWell)
{
    writeFile(path("s.raw"), "precious");
    chmod(path("s.raw").c_str(), 0640);
    EXPECT_EQ(zbvolumeAfter("ulimit -f 8;", {"sample", "s.raw"}).status, 1);
    EXPECT_EQ(readFile(path("s.raw")), "precious");
    // Through a link, the file that it leads to is replaced and keeps its mode.
    ASSERT_EQ(symlink("s.raw", path("link.raw").c_str()), 0);
    EXPECT_EQ(zbvolume({"sample", "link.raw", "--size", "64"}).err, "");
    EXPECT_EQ(readFile(path("s.raw")).size(), 64U * 64 * 64);
    struct stat status = {};
    ASSERT_EQ(lstat(path("s.raw").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
    ASSERT_EQ(lstat(path("link.raw").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(ZbvolumeOutput, givesNewFilesTheModeOfTheUser)
{
    EXPECT_EQ(zbvolumeAfter("umask 027;", {"histogram", "v.nii", "--csv", "h.csv"}).err, "");
    struct stat status = {};
    ASSERT_EQ(stat(path("h.csv").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(ZbvolumeOutput, mayBeAPipe)
{
    const Outcome outcome = zbvolume({"histogram", "v.nii", "--csv", "/dev/stdout"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find("value,low,high,count\n0,-0.5,0.5,2\n1,0.5,1.5,4\n"), 0U);
}

TEST_F(ZbvolumeOutput, isRemovedOnInterruption)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        QProcess process;
        start(process, {"sample", "s.nii.gz", "--size", "512"});
        ASSERT_TRUE(process.waitForStarted());
        // The file is opened at once and takes seconds to be filled.
        for (int tries = 0; files().size() < 2 && tries < 2000; tries++)
            QThread::msleep(5);
        ASSERT_EQ(files().size(), 2U);
        ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
        EXPECT_EQ(process.exitCode(), signal);
        EXPECT_EQ(process.readAllStandardError(), "zbvolume: interrupted\n");
        EXPECT_EQ(files(), std::vector<std::string>{"v.nii"});
    }
}

TEST_F(ZbvolumeOutput, endsQuietlyWhenItsReaderHasGone)
{
    const Outcome outcome = zbvolumeAfter("trap '' INT;", {"histogram", "v.nii", "--bins", "200000",
                                                           "--range", "0", "200000", "--csv", "/dev/stdout"});
    EXPECT_EQ(outcome.status, 0);
    QProcess shell;
    shell.setWorkingDirectory(path("").c_str());
    shell.start(
        "sh",
        {"-c", QString("'%1' sample s.raw && '%1' histogram s.raw --raw 128 128 128 byte --range 0 200000 "
                       "--bins 200000 --csv /dev/stdout | head -n 1")
                   .arg(ZBVOLUME_PROGRAM)});
    ASSERT_TRUE(shell.waitForFinished(60000));
    EXPECT_EQ(shell.readAllStandardError(), "");
    EXPECT_EQ(files(), (std::vector<std::string>{"s.raw", "v.nii"}));
}
