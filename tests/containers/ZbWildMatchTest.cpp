#include <zblib/containers/ZbWildMatch.h>

#include <gtest/gtest.h>

TEST(ZbWildMatch, matchesWithSimplifiedBacktracking)
{
    const struct {
        const char* string;
        const char* pattern;
        bool matches;
    } cases[] = {{"abc", "abc", true},
                 {"abc", "ab", false},
                 {"abc", "abcd", false},
                 {"abc", "aBc", false},
                 {"abc", "a*", true},
                 {"abc", "*c", true},
                 {"abc", "*b", false},
                 {"abc", "a**c", true},
                 {"ac", "a*c", true},
                 {"ac", "a?c", false},
                 {"abc", "a?c", true},
                 {"abc", "abc**", true},
                 {"abc", "abc?", false},
                 {"abc", "?b*", true},
                 {"image.0012.tif", "image.*.tif", true},
                 {"image.0012.png", "image.*.tif", false},
                 {"", "", true},
                 {"", "*", true},
                 {"", "?", false},
                 {"a", "", false},
                 {"a*", "a\\*", false},
                 // What was taken for the rest of the pattern is not taken back.
                 {"aab", "*ab", false},
                 {"abab", "*ab", false},
                 // A "?" at the end takes all that remains.
                 {"abc", "a?", true},
                 {"abc", "?", true},
                 {"a", "a?", false}};
    for (const auto& [string, pattern, matches] : cases)
        EXPECT_EQ(zbWildMatch(string, pattern), matches) << string << " and " << pattern;
}
