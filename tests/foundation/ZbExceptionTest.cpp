#include <zblib/foundation/ZbException.h>

#include <zblib/foundation/ZbMemoryException.h>

#include <gtest/gtest.h>

#include <memory>

TEST(ZbException, whatListsTheNewestFirst)
{
    EXPECT_EQ(ZbException().what(), "");
    ZbException exception(QString("first"));
    EXPECT_EQ(exception.what(), "first");
    exception.addFrame("file.cpp", 7, "second");
    exception.addFrame(nullptr, 0, "third\n");
    EXPECT_EQ(exception.what(), "third\n\nsecond\nfirst");
    EXPECT_EQ(exception.what(), "third\n\nsecond\nfirst");
}

TEST(ZbException, nullMessagesAreUnspecificAndEmptyOnesStay)
{
    ZbException exception{QString()};
    exception.addFrame("file.cpp", 1, QString(""));
    EXPECT_EQ(exception.what(), "\nunspecific");
    try {
        try {
            throw ZbException(QString("E"));
        } catch (ZbException& caught) {
            caught.rethrow("file.cpp", 2, static_cast<const char*>(nullptr));
        }
    } catch (const ZbException& caught) {
        EXPECT_EQ(caught.what(), "unspecific\nE");
    }
}

TEST(ZbException, rethrowPassesTheSameObjectOn)
{
    const ZbException* object = nullptr;
    try {
        try {
            try {
                throw ZbMemoryException(5UL << 30);
            } catch (ZbException& exception) {
                object = &exception;
                exception.rethrow("a.cpp", 1, "A");
            }
        } catch (ZbException& exception) {
            exception.rethrow("b.cpp", 2, QString("B"));
        }
    } catch (const ZbMemoryException& exception) {
        EXPECT_EQ(&exception, object);
        EXPECT_EQ(exception.getNumBytes(), 5UL << 30);
        EXPECT_TRUE(exception.what().startsWith("B\nA\nInsufficient"));
    }
}

TEST(ZbException, copiesAreTheirOwn)
{
    ZbException original(QString("first"));
    ZbException copy(original);
    ZbException assigned;
    assigned = original;
    const ZbException& alias = original;
    original = alias;
    original.addFrame(nullptr, 0, "second");
    EXPECT_EQ(original.what(), "second\nfirst");
    EXPECT_EQ(copy.what(), "first");
    EXPECT_EQ(assigned.what(), "first");
}

TEST(ZbException, raiseAndCloneSliceDerivedExceptions)
{
    const ZbMemoryException exception(1UL << 30);
    const std::unique_ptr<ZbException> clone(exception.clone());
    EXPECT_EQ(dynamic_cast<ZbMemoryException*>(clone.get()), nullptr);
    EXPECT_EQ(clone->what(), exception.what());
    try {
        exception.raise();
    } catch (const ZbMemoryException&) {
        FAIL() << "still a memory exception";
    } catch (const ZbException& raised) {
        EXPECT_EQ(raised.what(), exception.what());
    }
}

TEST(ZbException, backtraceNamesTheProgram)
{
    testing::internal::CaptureStderr();
    ZbException().printBacktrace();
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("libzblib"), std::string::npos);  // the constructor comes first
    EXPECT_NE(text.find("test_foundation"), std::string::npos);
    EXPECT_EQ(text.back(), '\n');
}
