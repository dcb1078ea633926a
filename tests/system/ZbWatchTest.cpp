#include <zblib/system/ZbWatch.h>

#include <gtest/gtest.h>

#include <type_traits>

#include <unistd.h>

static_assert(!std::is_copy_constructible_v<ZbWatch> && !std::is_copy_assignable_v<ZbWatch>);

namespace
{

long now = -1000;  // times() may begin anywhere

long ticks(double seconds)
{
    return long(seconds * double(sysconf(_SC_CLK_TCK)));
}

}  // namespace

// In place of that of the system, so that time passes when the tests say so.
extern "C" clock_t times(tms* buffer) noexcept
{
    *buffer = {};
    return now;
}

TEST(ZbWatch, rendersHoursMinutesAndSeconds)
{
    const struct {
        double seconds;
        const char* text;
    } cases[] = {{0, "0 Hrs, 0 Mins, 0 Secs"},
                 {0.49, "0 Hrs, 0 Mins, 0 Secs"},
                 {0.5, "0 Hrs, 0 Mins, 1 Secs"},
                 {59.5, "0 Hrs, 1 Mins, 0 Secs"},
                 {3599.4, "0 Hrs, 59 Mins, 59 Secs"},
                 {3661.4, "1 Hrs, 1 Mins, 1 Secs"},
                 {360000, "100 Hrs, 0 Mins, 0 Secs"},
                 // Single precision has steps of 1/16 s here, so just below the half is the half.
                 {600000.49, "166 Hrs, 40 Mins, 1 Secs"}};
    for (const auto& [seconds, text] : cases) {
        const ZbWatch watch;
        now += ticks(seconds);
        EXPECT_STREQ(watch.getHumanReadableString(), text);
    }
}

TEST(ZbWatch, countsWhileItRuns)
{
    ZbWatch watch;
    now += 5;
    EXPECT_EQ(watch.getTicks(), 5);
    watch.start();
    now += 2;
    watch.stop();
    now += 100;
    watch.stop();
    EXPECT_EQ(watch.getTicks(), 7);
    EXPECT_TRUE(watch.isStopped());
    watch.start();
    now += 3;
    EXPECT_EQ(watch.getTicks(), 10);
    EXPECT_EQ(watch.getSeconds(), 10 / float(sysconf(_SC_CLK_TCK)));
    watch.stop();
    watch.restart();
    EXPECT_FALSE(watch.isStopped());
    now += 1;
    EXPECT_EQ(watch.getTicks(), 1);
}

TEST(ZbWatch, mayHaveAName)
{
    EXPECT_EQ(ZbWatch().getName(), nullptr);
    EXPECT_STREQ(*ZbWatch("erosion").getName(), "erosion");
    EXPECT_STREQ(*ZbWatch(nullptr).getName(), "");
}
