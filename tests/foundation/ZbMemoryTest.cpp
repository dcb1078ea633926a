#include <zblib/foundation/ZbMemory.h>

#include <zblib/foundation/ZbMemoryException.h>

#include "tests/support/FreshProcess.h"

#include <climits>
#include <cstring>

#include <sys/sysinfo.h>

TEST(ZbMemory, reallocGrowsAndKeepsContents)
{
    void* block = zbrealloc(nullptr, 8);
    std::memcpy(block, "abcdefg", 8);
    block = zbrealloc(block, 1000000);
    EXPECT_STREQ(static_cast<char*>(block), "abcdefg");
    EXPECT_EQ(zbrealloc(block, 0), nullptr);
    zbfree(nullptr);
}

TEST(ZbMemory, failureThrowsAndLeavesTheBlock)
{
    const QString message = ZbMemoryException::constructErrorMessage(ULONG_MAX);
    EXPECT_THROW(static_cast<void>(zbmalloc(ULONG_MAX)), ZbMemoryException);
    void* block = zbmalloc(8);
    std::memcpy(block, "abcdefg", 8);
    try {
        block = zbrealloc(block, ULONG_MAX);
        FAIL() << "so much memory was found";
    } catch (const ZbMemoryException& exception) {
        EXPECT_EQ(exception.what(), message);
        EXPECT_EQ(exception.getNumBytes(), 0U);
    }
    EXPECT_STREQ(static_cast<char*>(block), "abcdefg");
    zbfree(block);
}

namespace
{

// More than is free; malloc itself might grant it.
unsigned long moreThanThereIs()
{
    struct sysinfo info = {};
    sysinfo(&info);
    return info.totalram * info.mem_unit + 1;
}

// Tells on standard error what became of a request, then what standard output got to read.
void askForTooMuch()
{
    testing::internal::CaptureStdout();
    const char* outcome = "granted";
    try {
        zbfree(zbmalloc(moreThanThereIs()));
    } catch (const ZbMemoryException& exception) {
        const bool isExpected =
            exception.what() == ZbMemoryException::constructErrorMessage(moreThanThereIs());
        outcome = isExpected ? "refused" : "failed otherwise";
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    std::fprintf(stderr, "%s;%s", printed.empty() ? "granted or refused" : outcome, printed.c_str());
}

}  // namespace

// The library may take its decision while it is loaded, so the settings are made before the new process starts.
TEST(ZbMemoryDeathTest, freeMemoryIsCheckedWhereTheSettingExists)
{
    setenv("HX_CHECK_FREERAM", "0", 1);  // existence counts, not the value
    EXPECT_FRESH_STDERR(
        {
            zbfree(zbmalloc(1000));
            unsetenv("HX_CHECK_FREERAM");  // too late
            askForTooMuch();
        },
        "refused;Not enough free RAM\n");
    unsetenv("HX_CHECK_FREERAM");
}

TEST(ZbMemoryDeathTest, freeMemoryIsNotCheckedOtherwise)
{
    setenv("HX_CHECK_FREERAM", "", 1);
    setenv("CHECK_FREERAM", "1", 1);  // without a prefix it is somebody else's
    EXPECT_FRESH_STDERR(
        {
            zbfree(zbmalloc(1000));
            setenv("HX_CHECK_FREERAM", "1", 1);  // too late
            askForTooMuch();
        },
        "granted or refused;");
    unsetenv("HX_CHECK_FREERAM");
    unsetenv("CHECK_FREERAM");
}

TEST(ZbMemoryException, unitsFollowTheDigits)
{
    const struct {
        unsigned long numBytes;
        const char* number;
        const char* unit;  // null: not even the NUL that stands for none
    } cases[] = {{0, "0.0", nullptr},
                 {1023, "0.0", nullptr},
                 {1024, "1024.0", ""},
                 {9999, "9999.0", ""},
                 {10000, "9.8", "k"},
                 {1000000, "976.6", "k"},
                 {9999999, "9765.6", "k"},
                 {10000000, "9.5", "M"},
                 {1000000000, "953.7", "M"},
                 {10000000000, "9.3", "G"},
                 {10000000000000, "9.1", "T"},
                 {9999273214, "9536.0", "M"},     // 9536.1 without the step through single precision
                 {9999999999999999, "8.9", "P"},  // sixteen digits, which as a double are 10^16
                 {999999999999999999, "888.2", "P"},
                 {ULONG_MAX, "16.0", "E"}};
    for (const auto& [numBytes, number, unit] : cases) {
        QString expected = QString("Insufficient system memory. Unable to allocate %1 ").arg(number);
        if (unit)
            expected += QChar(*unit);
        expected += "B. This operation requires more memory than you currently have available.";
        EXPECT_EQ(ZbMemoryException::constructErrorMessage(numBytes), expected) << numBytes;
    }
}

TEST(ZbMemoryException, constructorsGiveTheirMessages)
{
    EXPECT_EQ(ZbMemoryException().what(), "could not allocate enough memory");
    EXPECT_EQ(ZbMemoryException().getNumBytes(), 0U);
    const ZbMemoryException sized(1073741824);
    EXPECT_EQ(sized.what(),
              "Insufficient system memory. Unable to allocate 1 GB . This operation requires more memory "
              "than you currently have available.");
    EXPECT_EQ(ZbMemoryException(sized).getNumBytes(), 1073741824U);
    EXPECT_TRUE(ZbMemoryException(357913941UL).what().contains("allocate 0.333333 GB ."));
    EXPECT_EQ(ZbMemoryException(QString("none")).what(), "none");
}
