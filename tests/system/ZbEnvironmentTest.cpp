#include <zblib/system/ZbEnvironment.h>

#include <gtest/gtest.h>

// In one test, because a product's name cannot be taken back.
TEST(ZbEnvironment, productsComeFirst)
{
    qputenv("ZBTEST", "plain");
    qputenv("HX_ZBTEST", "library");
    qputenv("_ZBTEST", "no product has no prefix");
    EXPECT_EQ(ZbEnvironment::getProductName(), "");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST"), "library");

    ZbEnvironment::setProductName("Morva");
    EXPECT_EQ(ZbEnvironment::getProductName(), "MORVA_");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST"), "library");
    qputenv("MORVA_ZBTEST", "product");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST"), "product");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST", true), "plain");
    ZbEnvironment::setValue("ZBTEST", "written");  // to the library's own
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST"), "product");
    qputenv("MORVA_ZBTEST", "");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST"), "written");
    ZbEnvironment::setValue("ZBTEST", "verbatim", true);
    EXPECT_EQ(qgetenv("ZBTEST"), "verbatim");
}

TEST(ZbEnvironment, emptySettingsDoNotExist)
{
    EXPECT_FALSE(ZbEnvironment::exists("ZBTEST_EMPTY"));
    ZbEnvironment::setString("ZBTEST_EMPTY", "");
    EXPECT_FALSE(ZbEnvironment::exists("ZBTEST_EMPTY"));
    EXPECT_EQ(ZbEnvironment::getString("ZBTEST_EMPTY", "default"), "default");
    ZbEnvironment::setString("ZBTEST_EMPTY", " ");
    EXPECT_TRUE(ZbEnvironment::exists("ZBTEST_EMPTY"));
    EXPECT_EQ(ZbEnvironment::getString("ZBTEST_EMPTY", "default"), " ");
}

TEST(ZbEnvironment, textsGoOutAsUtf8AndComeBackAsLatin1)
{
    ZbEnvironment::setValue("ZBTEST_TEXT", QString::fromUtf8("\u00FC"));
    EXPECT_EQ(qgetenv("HX_ZBTEST_TEXT"), "\xC3\xBC");
    EXPECT_EQ(ZbEnvironment::getValue("ZBTEST_TEXT"), QString::fromLatin1("\xC3\xBC"));
}

TEST(ZbEnvironment, numbersFallBackToTheDefault)
{
    EXPECT_EQ(ZbEnvironment::getInt("ZBTEST_NUMBER", 5), 5);
    const struct {
        const char* text;
        int asInt;
        double asDouble;
    } cases[] = {{"12", 12, 12},   {"-7", -7, -7}, {"12abc", 5, 5},
                 {"1.5", 5, 1.5},  {"0x10", 5, 5}, {"2147483648", 5, 2147483648.0},
                 {"1e3", 5, 1000}, {"", 5, 5}};
    for (const auto& [text, asInt, asDouble] : cases) {
        qputenv("HX_ZBTEST_NUMBER", text);
        EXPECT_EQ(ZbEnvironment::getInt("ZBTEST_NUMBER", 5), asInt) << text;
        EXPECT_EQ(ZbEnvironment::getDouble("ZBTEST_NUMBER", 5), asDouble) << text;
        EXPECT_EQ(ZbEnvironment::getFloat("ZBTEST_NUMBER", 5), float(asDouble)) << text;
    }
}

TEST(ZbEnvironment, booleansAreTrueForThreeWords)
{
    EXPECT_TRUE(ZbEnvironment::getBool("ZBTEST_BOOL", true));
    for (const char* text : {"1", "true", "TRUE", "True", "t", "T"}) {
        qputenv("HX_ZBTEST_BOOL", text);
        EXPECT_TRUE(ZbEnvironment::getBool("ZBTEST_BOOL", false)) << text;
    }
    for (const char* text : {"yes", "0", "on", "11", "tr", "false"}) {
        qputenv("HX_ZBTEST_BOOL", text);
        EXPECT_FALSE(ZbEnvironment::getBool("ZBTEST_BOOL", true)) << text;
    }
}

TEST(ZbEnvironment, settersWriteShortTexts)
{
    ZbEnvironment::setInt("ZBTEST_INT", -42);
    ZbEnvironment::setBool("ZBTEST_BOOL", true);
    ZbEnvironment::setDouble("ZBTEST_DOUBLE", 1234567.0);
    ZbEnvironment::setFloat("ZBTEST_FLOAT", 0.1F, true);
    EXPECT_EQ(qgetenv("HX_ZBTEST_INT"), "-42");
    EXPECT_EQ(qgetenv("HX_ZBTEST_BOOL"), "1");
    EXPECT_EQ(qgetenv("HX_ZBTEST_DOUBLE"), "1.23457e+06");
    EXPECT_EQ(qgetenv("ZBTEST_FLOAT"), "0.1");
}
