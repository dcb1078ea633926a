#include <zblib/containers/ZbStringStream.h>

#include <zblib/containers/ZbString.h>

#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>

TEST(ZbStringStream, appendsEachCharacterAtOnce)
{
    ZbString string("text: ");
    string.stream() << 12 << ' ' << std::setw(4) << std::left << "ab" << '|' << std::hex << 255;
    EXPECT_STREQ(string, "text: 12 ab  |ff");
    string.stream().put('\xff').put('\0').put('x');
    EXPECT_TRUE(string == ZbString("text: 12 ab  |ff\xff\0x", 19));
    string.clear();
    string.stream() << 16;  // still hexadecimal: it is the same stream
    EXPECT_STREQ(string, "10");
    EXPECT_TRUE(string.stream().good());
}

TEST(ZbStringStream, agreesWithStdStreamOnRandomOutput)
{
    ZbString string;
    std::ostringstream expected;
    std::ostringstream tied;
    const auto write = [&](auto& stream, unsigned random) {
        const char c = char(random >> 8);
        switch (random % 16) {
        case 0:
            stream.width(c % 8);
            break;
        case 1:
            stream.fill(c);
            break;
        case 2:
            stream.setstate(c % 8 == 0 ? std::ios::failbit : std::ios::goodbit);
            break;
        case 3:
            stream.clear();
            break;
        case 4:
            stream.tie(c % 2 ? &tied : nullptr);
            break;
        case 5:
            stream << int(c) << c;
            break;
        case 6:
            stream << "some text" << c << std::left << c;
            break;
        case 7:
            stream.write("with \0 in it", 12);
            break;
        case 8:
            stream.put(c).put(c);
            break;
        default:
            stream << c << c;
            break;
        }
        return stream.rdstate();
    };
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const auto number = unsigned(random());
        ASSERT_EQ(write(string.stream(), number), write(expected, number)) << i;
        ASSERT_EQ(std::string(string.begin(), string.end()), expected.str()) << i;
    }
}

TEST(ZbStringStream, theEndOfFileValueComesBackUnwritten)
{
    ZbString string("text");
    struct Buffer : ZbStringStreambuf {
        using ZbStringStreambuf::overflow;
        using ZbStringStreambuf::ZbStringStreambuf;
    } buffer(&string);
    EXPECT_EQ(buffer.overflow(EOF), EOF);
    EXPECT_EQ(buffer.overflow(255), 255);
    EXPECT_EQ(buffer.sputn("ab", 2), 2);
    EXPECT_STREQ(string, "text\xff"
                         "ab");
}

TEST(ZbStringStream, followsItsStringThroughMemory)
{
    ZbDArray<ZbString> strings;
    strings.append(ZbString("a"));
    std::ostream& stream = strings[0].stream();
    for (int i = 0; i < 100; ++i) {
        strings.insert(0, ZbString("other"));
        stream << i % 10;
    }
    EXPECT_EQ(strings[100].length(), 101);
    strings.sort([](const ZbString& a, const ZbString& b) { return a.compare(b); });
    stream << "z";
    EXPECT_TRUE(strings[0].startsWith("a012345678901") && strings[0][101] == 'z');
    EXPECT_EQ(&strings[0].stream(), &stream);
}

TEST(ZbStringStream, belongsToItsStringAndNotToTheText)
{
    ZbString string("a");
    std::ostream& stream = string.stream();
    const ZbString copy(string);
    ZbString other("b");
    other.stream() << "c";
    stream << "x";
    EXPECT_STREQ(copy, "a");
    string = other;
    stream << "d";
    string += "e";
    EXPECT_STREQ(string, "bcde");
    string = ZbString("f");
    stream << "g";
    EXPECT_STREQ(string, "fg");
    string = std::move(other);
    stream << "h";
    EXPECT_STREQ(string, "bch");
    other.stream() << "i";
    EXPECT_STREQ(other, "i");
}

TEST(ZbStringStream, turnsBadWhenThereIsNoMemory)
{
    ZbString string("kept");
    ZbStringStream stream(&string);
    stream.write("x", LONG_MAX);
    EXPECT_TRUE(stream.bad());
    EXPECT_STREQ(string, "kept");
}
