#include <zblib/containers/ZbString.h>

#include <zblib/containers/ZbHashTable.h>
#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/types/ZbHandle.h>

#include <QString>

#include <gmock/gmock.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

static_assert(std::is_nothrow_move_constructible_v<ZbString> && std::is_nothrow_move_assignable_v<ZbString>);
static_assert(std::totally_ordered<ZbString> &&
              std::totally_ordered_with<ZbString, std::string_view> == false);

namespace
{

using testing::ElementsAre;

std::string text(const ZbString& string)
{
    EXPECT_EQ(string.getString()[string.length()], '\0');
    return std::string(string.begin(), string.end());
}

std::vector<std::string> explode(const ZbString& string)
{
    ZbDArray<ZbString> parts{"left", "from", "before"};
    string.explode(',', parts);
    std::vector<std::string> texts;
    for (const ZbString& part : parts)
        texts.push_back(text(part));
    return texts;
}

}  // namespace

TEST(ZbString, agreesWithStdStringOnRandomOperations)
{
    std::mt19937 random(7);
    const auto below = [&](long n) { return n <= 0 ? 0L : long(random() % (unsigned long)(n)); };
    ZbString string;
    std::string expected;
    for (int step = 0; step < 5000; ++step) {
        const long from = below(string.length() + 1);
        const long n = below(string.length() - from + 1);
        switch (below(expected.size() > 5000 ? 3 : 11)) {
        case 0:
            string = string.getString() + from;
            expected.erase(0, std::size_t(from));
            break;
        case 1:
            string.assign(string.getString() + from, n);
            expected = expected.substr(std::size_t(from), std::size_t(n));
            break;
        case 2:
            string.substrRemove(unsigned(from), unsigned(from + n));
            expected.erase(std::size_t(from), std::size_t(n));
            break;
        case 3:
            string += string.getString() + from;
            expected += expected.substr(std::size_t(from));
            break;
        case 4:
            string.append(string.getString() + from, n);
            expected.append(expected.substr(std::size_t(from), std::size_t(n)));
            break;
        case 5:
            string.printf("%s|%d|%s", string.getString() + from, step, string.getString());
            expected = expected.substr(std::size_t(from)) + '|' + std::to_string(step) + '|' + expected;
            break;
        case 6:
            string = string + ',' + "tail" + ZbString("s");
            expected += ",tails";
            break;
        case 7:
            string = "head" + string;
            expected = "head" + expected;
            break;
        case 8: {
            ZbString moved = std::move(string);
            string = moved;
            moved = ZbString();
            swap(moved, string);
            string = std::move(moved);
            break;
        }
        case 9:
            if (below(9) == 0)
                string.stream();
            break;
        case 10:
            string += char(below(255) + 1);
            expected += string[string.length() - 1];
            break;
        }
        ASSERT_EQ(text(string), expected) << step;
    }
}

TEST(ZbString, formatsTextsOfAnyLength)
{
    ZbString reused;
    for (const int length :
         {0, 1, 15, 16, 62, 63, 64, 65, 1022, 1023, 1024, 1025, 3000, 2999, 5, 100000, 2500}) {
        const char* const returned = reused.printf("%*d%%", length, 7);
        EXPECT_EQ(returned, reused.getString());
        const std::string expected = std::string(std::size_t(std::max(length - 1, 0)), ' ') + "7%";
        EXPECT_EQ(text(reused), expected);
        EXPECT_EQ(text(ZbString(0, "%*d%%", length, 7)), expected);
    }
    reused = "100%% of %d";
    EXPECT_STREQ(reused.printf(reused.getString(), 7), "100% of 7");
}

TEST(ZbString, formattingErrorLeavesTheEmptyText)
{
    ZbString string("before");
    const wchar_t outsideOfTheLocale[] = L"\x3b1";
    EXPECT_STREQ(string.printf("%ls", outsideOfTheLocale), "");
    EXPECT_TRUE(string == "");
}

TEST(ZbString, reservesAndNeverShrinks)
{
    ZbString string;
    EXPECT_EQ(string.capacity(), 16);
    string.printf("x");
    EXPECT_EQ(string.capacity(), 64);
    string = ZbString(std::string(63, 'x').c_str());
    string += "x";
    EXPECT_EQ(string.capacity(), 96);
    string += std::string(100, 'x').c_str();
    EXPECT_EQ(string.capacity(), 165);
    string = ZbString("short").getString();
    string.clear();
    EXPECT_EQ(string.capacity(), 165);
}

TEST(ZbString, isUnchangedWhenThereIsNoMemory)
{
    ZbString string("kept");
    EXPECT_THROW(string.reserve(LONG_MAX - 1), ZbMemoryException);
    EXPECT_THROW(string.append("x", LONG_MAX), ZbMemoryException);
    EXPECT_THROW(string.assign("x", LONG_MAX), ZbMemoryException);
    EXPECT_STREQ(string, "kept");
}

TEST(ZbString, equalsNullOnlyWhenItWasMovedFrom)
{
    ZbString string("text");
    const ZbString moved = std::move(string);
    const char* const null = nullptr;
    EXPECT_TRUE(string == null && string.isEmpty() && string.length() == 0 && string == ZbString());
    EXPECT_STREQ(string, "");
    EXPECT_EQ(explode(string), std::vector<std::string>{""});
    EXPECT_EQ(text(string.protect(false)), "\"\"");
    string += null;
    string.append(null, 3);
    EXPECT_TRUE(string == null);
    string += "new";
    EXPECT_STREQ(string, "new");
    for (const ZbString& empty :
         {ZbString(), ZbString(""), ZbString(null), ZbString(null, 5), ZbString("x", -1)})
        EXPECT_TRUE(empty == "" && empty != null && null < empty);
}

TEST(ZbString, ordersByUnsignedBytes)
{
    const ZbString sorted[] = {"", "a", ZbString("a\0", 2), ZbString("a\0b", 3), "ab", "b", "\x7f", "\x80"};
    for (const ZbString& a : sorted) {
        for (const ZbString& b : sorted) {
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a >= b, &a >= &b);
            EXPECT_EQ(a == b, &a == &b);
        }
    }
    EXPECT_TRUE(sorted[1] == "a" && "a" == sorted[1] && sorted[2] != "a" && sorted[2] > "a" &&
                "ab" < sorted[5]);
}

TEST(ZbString, naturalOrder)
{
    const struct {
        const char* a;
        const char* b;
        int order;
    } cases[] = {{"", "", 0},
                 {"", "a", -1},
                 {"..", "", -1},
                 {"..", "..", 0},
                 {".", "..", 1},
                 {"..", "0", -1},
                 {"...", "..a", -1},
                 {"a2", "a10", -1},
                 {"a2b", "a2", 1},
                 {"file2", "File10", -1},
                 {"B", "b", 0},
                 {"b", "C", -1},
                 {"_", "a", -1},
                 {"_", "A", -1},
                 {"a", "\xe4", -1},
                 {"1", "a", -1},
                 {"1", " ", -1},
                 {"a1", "a", 1},
                 {"a1", "ab", -1},
                 {"007", "7", 0},
                 {"007x", "7y", -1},
                 {"0", "00", 0},
                 {"10", "09", 1},
                 {"1.10", "1.9", 1},
                 {"18446744073709551617", "2", 1},
                 {"99999999999999999999999998", "99999999999999999999999999", -1}};
    for (const auto& [a, b, order] : cases) {
        EXPECT_EQ(ZbString(a).compareAlphaNumeric(b), order) << a << " and " << b;
        EXPECT_EQ(ZbString(b).compareAlphaNumeric(a), -order) << b << " and " << a;
    }
}

TEST(ZbString, kindsOfCharacters)
{
    for (int c = 0; c < 256; ++c) {
        const char characters[] = {'1', char(c)};
        const ZbString one(characters + 1, 1);
        EXPECT_EQ(one.isDigit(), c >= '0' && c <= '9') << c;
        EXPECT_EQ(one.isAlpha(), (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) << c;
        EXPECT_EQ(one.isAlnum(), one.isDigit() || one.isAlpha()) << c;
        EXPECT_EQ(one.isPrintable(), c >= 32 && c <= 127) << c;
        EXPECT_EQ(ZbString(characters, 2).isDigit(), one.isDigit()) << c;
    }
    const ZbString empty;
    EXPECT_TRUE(empty.isDigit() && empty.isAlpha() && empty.isAlnum() && empty.isPrintable());
}

TEST(ZbString, numbers)
{
    EXPECT_STREQ(ZbString().setInt64(LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(ZbString(" -12.5").toInt64(), -12);
    EXPECT_EQ(ZbString::toInt64("x1"), 0);
    EXPECT_EQ(ZbString::toInt64(nullptr), 0);
    EXPECT_EQ(ZbString::toInt64("9999999999999999999"), LLONG_MAX);
    const struct {
        const char* text;
        long long value;
        long last;
    } cases[] = {{"7", 7, 0},
                 {"0042a", 42, 3},
                 {"x12", ('x' - '0') * 100 + 12, 2},
                 {"+1", ('+' - '0') * 10 + 1, 1},
                 {"9223372036854775807", LLONG_MAX, 18},
                 {"92233720368547758081", LLONG_MAX, 19},
                 {"+99999999999999999999", LLONG_MIN, 20}};
    for (const auto& [text, value, last] : cases) {
        const char* p = text;
        EXPECT_EQ(ZbString::parseNumber(p), value) << text;
        EXPECT_EQ(p - text, last) << text;
    }
}

TEST(ZbString, explodesIntoOnePartMoreThanSeparators)
{
    EXPECT_THAT(explode("a,,b"), ElementsAre("a", "", "b"));
    EXPECT_THAT(explode("a,"), ElementsAre("a", ""));
    EXPECT_THAT(explode(","), ElementsAre("", ""));
    EXPECT_THAT(explode(""), ElementsAre(""));
    ZbDArray<ZbString> parts{"x", "a long enough part,b", "y"};
    parts[1].explode(',', parts);
    EXPECT_THAT(parts, ElementsAre(ZbString("a long enough part"), ZbString("b")));
}

TEST(ZbString, removesWhatThereIs)
{
    const struct {
        unsigned from, to;
        const char* left;
    } cases[] = {{1, 3, "ade"},   {0, 5, ""},      {0, 99, ""},     {4, UINT_MAX, "abcd"}, {2, 2, "abcde"},
                 {3, 1, "abcde"}, {5, 6, "abcde"}, {7, 9, "abcde"}, {UINT_MAX, 0, "abcde"}};
    for (const auto& [from, to, left] : cases) {
        ZbString string("abcde");
        EXPECT_STREQ(string.substrRemove(from, to), left);
        EXPECT_EQ(text(string), left);
    }
}

TEST(ZbString, startsWithItsPrefixes)
{
    const ZbString string("prefix");
    EXPECT_TRUE(string.startsWith("") && string.startsWith("pre") && string.startsWith("prefix"));
    EXPECT_FALSE(string.startsWith("prefixes") || string.startsWith("Pre"));
}

TEST(ZbString, worksWithHandlesTablesAndQString)
{
    const ZbHandle<ZbString> handle(new ZbString("counted"));
    EXPECT_EQ(ZbString(*handle).getRefCount(), 0);
    ZbHashTable<ZbString, int> table(0);
    for (int i = 0; i < 100; ++i)
        table[ZbString(0, "name %d", i)] = i;
    EXPECT_EQ(*table.lookup("name 42"), 42);
    EXPECT_EQ(zbhash(ZbString("ab")), 971U);
    const QString greek = QString::fromUtf8("\xce\xb1\xce\xb2");
    EXPECT_STREQ(ZbString::fromQString(greek), "\xce\xb1\xce\xb2");
    EXPECT_EQ(ZbString::fromQString(greek).toQString(), greek);
}
