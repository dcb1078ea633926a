#include <zblib/containers/ZbHash.h>

#include <QString>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

TEST(ZbHash, textsFoldByNine)
{
    EXPECT_EQ(zbhash(""), 0U);
    EXPECT_EQ(zbhash("a"), 97U);
    EXPECT_EQ(zbhash("ab"), 971U);
    EXPECT_EQ(zbhash("\xE4"), 0U - 28);  // signed characters
    char variable[] = "ab";
    EXPECT_EQ(zbhash(variable), 971U);
    EXPECT_EQ(zbhash("labels.resampled"), 1785430774U);
    EXPECT_EQ(zbhash(QString("labels.resampled")), 1785430774U);
    EXPECT_EQ(zbhash(QString::fromUtf8("gr\xC3\xB6\xC3\x9F"
                                       "e")),
              zbhash("gr\xC3\xB6\xC3\x9F"
                     "e"));
    EXPECT_EQ(zbhash(QString(QChar('a')) + QChar(0) + QChar(0x20AC)), 97U);
}

TEST(ZbHash, textsOfAllLengthsFoldLikeThePlainRule)
{
    std::mt19937 random(17);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 40, ' ');
        unsigned int expected = 0;
        for (char& character : text) {
            character = char(1 + random() % 255);
            expected = 9 * expected + unsigned(int(static_cast<signed char>(character)));
        }
        EXPECT_EQ(zbhash(text.c_str()), expected) << text;
    }
}

TEST(ZbHash, numbersAndAddressesAreTheirLowBits)
{
    EXPECT_EQ(zbhash(-1), 0xFFFFFFFFU);
    EXPECT_EQ(zbhash(0x123456789L), 0x23456789U);
    EXPECT_EQ(zbhash(reinterpret_cast<void*>(0x123456780L)), 0x23456780U);
    EXPECT_EQ(zbhash(reinterpret_cast<const int*>(0x123456780L)), 0x23456780U);
}

TEST(ZbHash, probesUseSignedRemainders)
{
    EXPECT_EQ(zbhash(17, 99, 5), 2U);
    EXPECT_EQ(zbhash(-17, 99, 5), 0U - 2);
    EXPECT_EQ(zbhash(INT_MIN, 1, -1), 0U);
    EXPECT_EQ(hash2(17, 5), 3U);
    EXPECT_EQ(hash2(20, 5), 5U);
    EXPECT_EQ(hash2(-17, 5), 7U);
}

TEST(ZbHash, computePrimeLeavesAThirdFree)
{
    const std::pair<int, int> cases[] = {{-6, -7},
                                         {0, 1},
                                         {1, 1},
                                         {2, 3},
                                         {3, 5},
                                         {7, 11},
                                         {12, 17},
                                         {18, 29},
                                         {100, 137},
                                         {1000, 1361},
                                         {93, 127},
                                         {1610612735, 2147483647},
                                         {1610612737, 2147483647},
                                         {INT_MAX, 2147483647}};
    for (const auto& [n, prime] : cases)
        EXPECT_EQ(computePrime(n), prime) << n;
}
