#include <zblib/foundation/ZbAssertionHandlerInit.h>

#include <zblib/foundation/StringTupel.h>
#include <zblib/foundation/ZbMinimalAssertionHandler.h>
#include <zblib/system/ZbEnvironment.h>

#include <cstdio>

namespace
{

constinit int livingGuards = 0;

// Settings are looked up verbatim: the switches are the library's, whatever the product is called.
constexpr bool verbatim = true;

// The words of a filter stay for good, since the handler's state points at them; so does their first text.
const StringTupel& functionFilter(const QString& text)
{
    static const StringTupel& words = *new StringTupel(text.toUtf8().constData());
    return words;
}

const StringTupel& packageFilter(const QString& text)
{
    static const StringTupel& words = *new StringTupel(text.toUtf8().constData());
    return words;
}

void readDebugSettings()
{
    std::fprintf(stderr, "Found HX_DEBUG -> Enabling debugging output\n");
    const int level = ZbEnvironment::getInt(QStringLiteral("HX_DEBUG_LEVEL"), 7, verbatim);
    ZbAssertionHandler::debuglevel() = level;
    if (ZbEnvironment::exists(QStringLiteral("HX_DEBUG_LEVEL"), verbatim))
        std::fprintf(stderr, "   level set to HX_DEBUG_LEVEL = %s\n",
                     ZbAssertionHandler::getDebugLevelName(level));
    else
        std::fprintf(stderr, "      you can set the level by providing HX_DEBUG_LEVEL\n");

    if (const QString text = ZbEnvironment::getValue(QStringLiteral("HX_DEBUG_FUNC_FILTER"), verbatim);
        !text.isEmpty()) {
        const StringTupel& words = functionFilter(text);
        ZbAssertionHandler::funcfilter() = words.words();
        ZbAssertionHandler::funcfiltercount() = words.count();
        std::fprintf(stderr, "   set funcfilter from HX_DEBUG_FUNC_FILTER = ");
        words.print();
        std::fprintf(stderr, "\n");
    } else {
        std::fprintf(stderr, "      you can set a function filter by providing HX_DEBUG_FUNC_FILTER\n");
    }

    if (const QString text = ZbEnvironment::getValue(QStringLiteral("HX_DEBUG_PACKAGE_FILTER"), verbatim);
        !text.isEmpty()) {
        const StringTupel& words = packageFilter(text);
        ZbAssertionHandler::packagefilter() = words.words();
        ZbAssertionHandler::packagefiltercount() = words.count();
        std::fprintf(stderr, "   set packagefilter from HX_DEBUG_PACKAGE_FILTER = ");
        words.print();
        std::fprintf(stderr, "\n");
    } else {
        std::fprintf(stderr, "      you can set a package filter by providing HX_DEBUG_PACKAGE_FILTER\n");
    }
}

}  // namespace

ZbAssertionHandlerInit::ZbAssertionHandlerInit()
{
    if (livingGuards == 0) {
        if (ZbEnvironment::exists(QStringLiteral("HX_DEBUG"), verbatim))
            readDebugSettings();
        else
            ZbAssertionHandler::debuglevel() = 3;
        ZbAssertionHandler::thehandler() = new ZbMinimalAssertionHandler;
    }
    ++livingGuards;
}

ZbAssertionHandlerInit::~ZbAssertionHandlerInit()
{
    --livingGuards;
}
