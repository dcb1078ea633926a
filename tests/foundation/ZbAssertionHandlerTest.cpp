#include <zblib/foundation/ZbAssertionHandler.h>

#include <zblib/foundation/StringTupel.h>
#include <zblib/foundation/ZbAssertionHandlerInit.h>
#include <zblib/foundation/ZbMinimalAssertionHandler.h>
#include <zblib/system/ZbEnvironment.h>

#include "tests/support/FreshProcess.h"

#include <memory>

namespace
{

using Ignore = ZbAssertionHandler::IgnoreCriticalError;

class CountedHandler : public ZbMinimalAssertionHandler
{
public:
    explicit CountedHandler(int& deleted) : m_deleted(deleted) {}
    ~CountedHandler() override { ++m_deleted; }

private:
    int& m_deleted;
};

}  // namespace

TEST(ZbAssertionHandler, levelsHaveSyslogNames)
{
    const char* names[] = {"NONE",    "EMERG  ", "ALERT  ", "CRIT   ", "ERR    ",
                           "WARNING", "NOTICE ", "INFO   ", "DEBUG  ", "DEBUG+1",
                           "DEBUG+2", "DEBUG+3", "DEBUG+4", "DEBUG>4", "DEBUG>4"};
    for (int level = -1; level <= 13; ++level)
        EXPECT_STREQ(ZbAssertionHandler::getDebugLevelName(level), names[level + 1]);
}

TEST(ZbAssertionHandler, setDeletesTheOneBeforeButNotTheSame)
{
    int deleted = 0;
    auto* handler = new CountedHandler(deleted);
    ZbAssertionHandler::setAssertionHandler(handler);
    ZbAssertionHandler::setAssertionHandler(handler);
    EXPECT_EQ(deleted, 0);
    EXPECT_EQ(&ZbAssertionHandler::handler(), handler);
    ZbAssertionHandler::setAssertionHandler(nullptr);
    EXPECT_EQ(deleted, 1);
    EXPECT_NE(dynamic_cast<ZbMinimalAssertionHandler*>(&ZbAssertionHandler::handler()), nullptr);
}

TEST(ZbAssertionHandler, onlyTheOutermostGuardInstalls)
{
    int deleted = 0;
    const auto handler = std::make_unique<CountedHandler>(deleted);
    ZbAssertionHandler::setAssertionHandler(handler.get());
    {
        const ZbAssertionHandlerInit outer;
        const ZbAssertionHandler* installed = ZbAssertionHandler::thehandler();
        EXPECT_NE(installed, handler.get());
        const ZbAssertionHandlerInit inner;
        EXPECT_EQ(ZbAssertionHandler::thehandler(), installed);
        // While a guard lives a missing handler is still made up for.
        ZbAssertionHandler::setAssertionHandler(nullptr);
        EXPECT_NE(&ZbAssertionHandler::handler(), nullptr);
    }
    EXPECT_EQ(deleted, 0);
    std::unique_ptr<ZbAssertionHandler> replaced(ZbAssertionHandler::thehandler());
    const ZbAssertionHandlerInit again;
    EXPECT_NE(ZbAssertionHandler::thehandler(), replaced.get());
}

TEST(ZbMinimalAssertionHandler, printsALineAndAgrees)
{
    ZbMinimalAssertionHandler handler;
    testing::internal::CaptureStderr();
    EXPECT_EQ(handler.assertFailed(Ignore::IGNORE_ONCE, "a < b", "a.cpp", 1), Ignore::IGNORE_ONCE);
    EXPECT_EQ(handler.requireFailed(Ignore::IGNORE_ALWAYS, "%s", "b.cpp", 22), Ignore::IGNORE_ALWAYS);
    EXPECT_EQ(handler.ensureFailed(Ignore::DO_NOT_IGNORE, "c", "c.cpp", 333), Ignore::DO_NOT_IGNORE);
    EXPECT_EQ(handler.criticalError(Ignore::DO_NOT_IGNORE, "d", "d.cpp", 4444), Ignore::DO_NOT_IGNORE);
    handler.enter(0, "a", "b", "c");
    handler.exit();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Assertion a < b failed, file a.cpp, line 1\n"
                                                      "Require %s failed, file b.cpp, line 22\n"
                                                      "Ensure c failed, file c.cpp, line 333\n"
                                                      "Critical Error d, file d.cpp, line 4444\n");
}

namespace
{

void setUpGuard(const char* debug)
{
    for (const char* name : {"HX_DEBUG_LEVEL", "HX_DEBUG_FUNC_FILTER", "HX_DEBUG_PACKAGE_FILTER"})
        qunsetenv(name);
    qputenv("HX_DEBUG", debug);
    ZbAssertionHandlerInit();
}

void printSettings()
{
    std::fprintf(stderr, "level %d, %d function words, %d package words\n", ZbAssertionHandler::debuglevel(),
                 ZbAssertionHandler::funcfiltercount(), ZbAssertionHandler::packagefiltercount());
}

}  // namespace

TEST(ZbAssertionHandlerInitDeathTest, explainsItsSettings)
{
    EXPECT_FRESH_STDERR(
        {
            qputenv("KELDA_HX_DEBUG", "1");  // the switches have no product's prefix
            ZbEnvironment::setProductName("Kelda");
            setUpGuard("");
            printSettings();
            setUpGuard("0");  // existence counts
            printSettings();
        },
        "level 3, 0 function words, 0 package words\n"
        "Found HX_DEBUG -> Enabling debugging output\n"
        "      you can set the level by providing HX_DEBUG_LEVEL\n"
        "      you can set a function filter by providing HX_DEBUG_FUNC_FILTER\n"
        "      you can set a package filter by providing HX_DEBUG_PACKAGE_FILTER\n"
        "level 7, 0 function words, 0 package words\n");
}

TEST(ZbAssertionHandlerInitDeathTest, readsLevelAndFilters)
{
    EXPECT_FRESH_STDERR(
        {
            qputenv("HX_DEBUG", "1");
            qputenv("HX_DEBUG_LEVEL", "9");
            qputenv("HX_DEBUG_FUNC_FILTER", " read  write");
            qputenv("HX_DEBUG_PACKAGE_FILTER", "zblib");
            ZbAssertionHandler::handler();
            printSettings();
            // The level is read again, the words of the filters stay the first.
            qputenv("HX_DEBUG_LEVEL", "high");
            qputenv("HX_DEBUG_FUNC_FILTER", "a b c");
            qunsetenv("HX_DEBUG_PACKAGE_FILTER");
            ZbAssertionHandlerInit();
            printSettings();
        },
        "Found HX_DEBUG -> Enabling debugging output\n"
        "   level set to HX_DEBUG_LEVEL = DEBUG+2\n"
        "   set funcfilter from HX_DEBUG_FUNC_FILTER = (read, write, )\n"
        "   set packagefilter from HX_DEBUG_PACKAGE_FILTER = (zblib, )\n"
        "level 9, 2 function words, 1 package words\n"
        "Found HX_DEBUG -> Enabling debugging output\n"
        "   level set to HX_DEBUG_LEVEL = DEBUG  \n"
        "   set funcfilter from HX_DEBUG_FUNC_FILTER = (read, write, )\n"
        "      you can set a package filter by providing HX_DEBUG_PACKAGE_FILTER\n"
        "level 7, 2 function words, 1 package words\n");
}

TEST(StringTupel, splitsAtBlanksOnly)
{
    const auto printed = [](const std::string& text) {
        testing::internal::CaptureStderr();
        StringTupel(text.c_str()).print();
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(printed(""), "()");
    EXPECT_EQ(printed("   "), "()");
    EXPECT_EQ(printed("a b"), "(a, b, )");
    EXPECT_EQ(printed("  a\tx   bc  "), "(a\tx, bc, )");

    std::string sixty;
    for (int i = 0; i < 60; ++i)
        sixty.append("w").append(std::to_string(i)).append(" ");
    const StringTupel words(sixty.c_str());
    EXPECT_EQ(words.count(), 49);
    EXPECT_STREQ(words[48], "w48");
}
