#include <zblib/containers/ZbWildMatch.h>

// Callers rely on the names that this accepts, the simplified backtracking and the greedy "?" at the end included.
bool zbWildMatch(const char* string, const char* pattern) noexcept
{
    const char* const first = pattern;
    const char* restart = nullptr;  // behind the last "*"
    while (*pattern && *string) {
        if (*pattern == '*') {
            while (*pattern == '*')
                ++pattern;
            restart = pattern;
        } else if (*pattern == '?' || *pattern == *string) {
            ++pattern;
            ++string;
        } else if (restart) {
            pattern = restart;
            ++string;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    if (*pattern || !*string)
        return !*pattern;
    return pattern != first && (pattern[-1] == '?' || pattern[-1] == '*');
}
