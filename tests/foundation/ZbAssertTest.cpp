// The checks as a debug build has them, whatever this build is.
#undef NDEBUG
#define ZB_PACKAGE_NAME "tests"
#include <zblib/foundation/ZbAssert.h>

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbException.h>
#include <zblib/foundation/ZbMinimalAssertionHandler.h>

#include <QString>

#include <gtest/gtest.h>

namespace
{

using Handler = ZbAssertionHandler;

using Ignore = Handler::IgnoreCriticalError;

// Writes down what it is told, and answers what the test wants.
class RecordingHandler : public ZbMinimalAssertionHandler
{
public:
    Ignore assertFailed(Ignore i, const char* e, const char*, int) override { return record("assert", i, e); }
    Ignore requireFailed(Ignore i, const char* e, const char*, int) override
    {
        return record("require", i, e);
    }
    Ignore ensureFailed(Ignore i, const char* e, const char*, int) override { return record("ensure", i, e); }
    Ignore criticalError(Ignore i, const char* e, const char*, int) override
    {
        return record("critical", i, e);
    }
    void debug(int level, const char* format, va_list arguments) override
    {
        said += QString("%1:%2;").arg(level).arg(QString::vasprintf(format, arguments));
    }

    Ignore record(const char* kind, Ignore ignore, const char* expression)
    {
        said += QString("%1 %2 %3;").arg(kind, expression).arg(int(ignore));
        return answer;
    }

    QString said;
    Ignore answer = IGNORE_ONCE;
};

class ZbAssert : public testing::Test
{
protected:
    ZbAssert() { Handler::setAssertionHandler(m_handler); }
    ~ZbAssert() override
    {
        Handler::setAssertionHandler(nullptr);
        Handler::debuglevel() = 3;
        Handler::funcfiltercount() = 0;
        Handler::packagefiltercount() = 0;
    }

    RecordingHandler* m_handler = new RecordingHandler;
};

}  // namespace

TEST_F(ZbAssert, failuresReachTheirOperation)
{
    ZB_ASSERT(1 + 1 == 2);
    ZB_ASSERT(1 > 2);
    ZB_REQUIRE(2 > 3);
    ZB_ENSURE(3 > 4);
    ZB_CRITICAL(4 > 5);
    EXPECT_EQ(m_handler->said, "assert 1 > 2 1;require 2 > 3 1;ensure 3 > 4 1;critical 4 > 5 0;");
}

TEST_F(ZbAssert, whatIsNotIgnoredIsThrown)
{
    m_handler->answer = Handler::DO_NOT_IGNORE;
    try {
        ZB_CRITICAL(4 > 5);
        FAIL() << "went on";
    } catch (const ZbException& exception) {
        EXPECT_EQ(exception.what(), "4 > 5");
    }
    EXPECT_THROW(ZB_ASSERT(false), ZbException);
}

TEST_F(ZbAssert, ignoringAlwaysSilencesOnePlace)
{
    m_handler->answer = Handler::IGNORE_ALWAYS;
    for (int i = 0; i < 3; ++i) {
        ZB_ASSERT(i < 0);
        m_handler->answer = Handler::IGNORE_ONCE;
        ZB_ASSERT(i > 5);
    }
    EXPECT_EQ(m_handler->said, "assert i < 0 1;assert i > 5 1;assert i > 5 1;assert i > 5 1;");
}

TEST_F(ZbAssert, misplacedInsertionsCanBeThrown)
{
    struct Value {
        int value = 7;
    };
    ZbDArray<Value> array(3);
    m_handler->answer = Handler::DO_NOT_IGNORE;
    const Value item;
    EXPECT_THROW(array.insert(4, item), ZbException);
    EXPECT_THROW(array.insert(-1, &item, 1), ZbException);
    EXPECT_THROW(array.insertMemory(4, 1), ZbException);
    EXPECT_EQ(array.size(), 3);
}

TEST_F(ZbAssert, debugOutputPassesLevelAndFilters)
{
    const auto readValues = [&] { ZB_DEBUG(7, "%d values", 5); };
    readValues();
    Handler::debuglevel() = 7;
    readValues();
    const char* const functions[] = {"write", "debugOutputPasses"};
    Handler::funcfilter() = functions;
    Handler::funcfiltercount() = 1;
    readValues();
    Handler::funcfiltercount() = 2;
    ZB_DEBUG(6, "function");
    const char* const packages[] = {"test", "tests"};
    Handler::packagefilter() = packages;
    Handler::packagefiltercount() = 1;
    ZB_DEBUG(6, "half a name");
    Handler::packagefiltercount() = 2;
    ZB_DEBUG(6, "package");
    EXPECT_EQ(m_handler->said, "7:5 values;6:function;6:package;");
}
