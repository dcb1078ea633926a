#include <zblib/containers/ZbStringTokenizer.h>

#include <zblib/containers/ZbStringTokenizerGeneral.h>

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using testing::ElementsAre;
using Tokens = std::vector<std::string>;

Tokens tokensOf(ZbStringTokenizer& tokenizer)
{
    Tokens tokens;
    while (tokenizer.hasMoreTokens()) {
        const ZbString& token = tokenizer.nextToken();
        tokens.emplace_back(token.begin(), token.end());
    }
    EXPECT_TRUE(tokenizer.nextToken() == "");
    return tokens;
}

Tokens tokensOf(const ZbString& text)
{
    ZbStringTokenizer tokenizer(text);
    return tokensOf(tokenizer);
}

Tokens tokensOf(const ZbString& text, const char* separators)
{
    ZbStringTokenizerGeneral tokenizer(text, separators);
    return tokensOf(tokenizer);
}

// The rule as a machine that sees one character at a time.
Tokens plainTokens(std::string_view text, std::string_view separators)
{
    enum { Between, Plain, Escaped, Quoted } state = Between;
    Tokens tokens;
    for (const char c : text) {
        const bool separates = separators.find(c) != std::string_view::npos;
        if (state == Between && !separates) {
            tokens.emplace_back();
            state = Plain;
        }
        if (state == Escaped) {
            tokens.back() += c;
            state = Plain;
        } else if (state == Quoted && c != '"') {
            tokens.back() += c;
        } else if (state == Quoted) {
            state = Plain;
        } else if (separates) {
            state = Between;
        } else if (c == '\\') {
            state = Escaped;
        } else if (c == '"') {
            state = Quoted;
        } else {
            tokens.back() += c;
        }
    }
    return tokens;
}

ZbString randomText(std::mt19937& random, std::string_view alphabet)
{
    ZbString text;
    for (auto length = random() % 12; length > 0; --length)
        text += alphabet[random() % alphabet.size()];
    return text;
}

}  // namespace

TEST(ZbStringTokenizer, splitsAtWhiteSpaceOutsideOfQuotes)
{
    EXPECT_THAT(tokensOf("  x  y "), ElementsAre("x", "y"));
    EXPECT_THAT(tokensOf("\t\n\v\f\rx"), ElementsAre("x"));
    EXPECT_THAT(tokensOf(""), ElementsAre());
    EXPECT_THAT(tokensOf(" "), ElementsAre());
    EXPECT_THAT(tokensOf("a\"b c\"d"), ElementsAre("ab cd"));
    EXPECT_THAT(tokensOf("\"\" x"), ElementsAre("", "x"));
    EXPECT_THAT(tokensOf("\"a\\\" b"), ElementsAre("a\\", "b"));
    EXPECT_THAT(tokensOf("\"open end "), ElementsAre("open end "));
    EXPECT_THAT(tokensOf("a\\ b\\\"c\\\\ d\\"), ElementsAre("a b\"c\\", "d"));
    EXPECT_THAT(tokensOf("\xa0\xff"), ElementsAre("\xa0\xff"));
}

TEST(ZbStringTokenizer, agreesWithTheRuleOnRandomTexts)
{
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const ZbString text = randomText(random, "ab \t\"\\\xff,");
        const std::string_view view(text.getString(), std::size_t(text.length()));
        EXPECT_EQ(tokensOf(text), plainTokens(view, " \t")) << view;
        EXPECT_EQ(tokensOf(text, ",\xff"), plainTokens(view, ",\xff")) << view;
        EXPECT_EQ(tokensOf(text, "\"\\a"), plainTokens(view, "\"\\a")) << view;
    }
}

TEST(ZbStringTokenizer, givesProtectedTextBack)
{
    EXPECT_STREQ(ZbString("plain").protect(false), "plain");
    EXPECT_STREQ(ZbString("plain").protect(true), "\"plain\"");
    EXPECT_STREQ(ZbString("a b").protect(false), "\"a b\"");
    EXPECT_STREQ(ZbString("").protect(false), "\"\"");
    EXPECT_STREQ(ZbString("a\"\\").protect(false), "a\\\"\\\\");
    EXPECT_STREQ(ZbString("\" \\").protect(false), "\"\\\" \\\\\"");
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const ZbString blanks = randomText(random, "ab \n\v\xff");
        const ZbString marks = randomText(random, "ab\"\\\xff") + 'x';
        EXPECT_THAT(tokensOf(blanks.protect(i % 2)), ElementsAre(blanks.getString()));
        EXPECT_THAT(tokensOf(marks.protect(false)), ElementsAre(marks.getString()));
    }
}

TEST(ZbStringTokenizer, startsAgainWithAnotherText)
{
    ZbStringTokenizer tokenizer(static_cast<const char*>(nullptr));
    EXPECT_FALSE(tokenizer.hasMoreTokens());
    tokenizer = " a b";
    EXPECT_STREQ(tokenizer.nextToken(), "a");
    const ZbString other("c d");
    tokenizer = other;
    EXPECT_THAT(tokensOf(tokenizer), ElementsAre("c", "d"));
}

TEST(ZbStringTokenizerGeneral, onlyItsOwnSeparatorsCount)
{
    EXPECT_THAT(tokensOf(" a;b ", ";"), ElementsAre(" a", "b "));
    EXPECT_THAT(tokensOf(";; a:;\"b;c\"", ";:"), ElementsAre(" a", "b;c"));
    EXPECT_THAT(tokensOf("a\xff"
                         "b",
                         "\xff"),
                ElementsAre("a", "b"));
    EXPECT_THAT(tokensOf(" a b", ""), ElementsAre(" a b"));
    ZbStringTokenizerGeneral tokenizer("x", ",");
    tokenizer = ", y";
    EXPECT_THAT(tokensOf(tokenizer), ElementsAre(" y"));
}
