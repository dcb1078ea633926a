#pragma once

#include <zblib/containers/ZbString.h>

/// Splits a text into tokens at white space.
///
///     for (ZbStringTokenizer tokenizer(text); tokenizer.hasMoreTokens();)
///         use(tokenizer.nextToken());
///
/// A token may have parts in double quotes, in which everything stands for itself, white space and backslashes
/// too; a quote that is not closed ends with the text. Elsewhere a backslash makes the character behind it
/// stand for itself. ZbString::protect() writes such tokens. Any text can be read; one pass over it, O(1) for
/// each character.
///
/// The text is neither owned nor copied: it must outlive the tokenizer and not change. Null is the empty text.
/// Reentrant, not thread-safe.
class ZB_API ZbStringTokenizer
{
public:
    explicit ZbStringTokenizer(const ZbString& text);
    explicit ZbStringTokenizer(const char* text);
    virtual ~ZbStringTokenizer();
    /// Starts again with another text.
    ZbStringTokenizer& operator=(const char* text);

    bool hasMoreTokens() const noexcept { return m_position < m_length; }
    /// The next token, empty if there is none. It is overwritten by the next call.
    ZbString& nextToken();

    /// Whether c separates tokens.
    virtual bool isSpace(char c);
    /// Goes to the next character that is not a separator.
    void skipSpace();

protected:
    /// For classes with separators of their own, which skip those at the start of the text themselves: a base
    /// class's constructor does not see them.
    ZbStringTokenizer(const char* text, long length);

private:
    ZbString m_token;
    long long m_position = 0;  // in [0, m_length], outside of nextToken() behind all separators
    long long m_length;
    const char* m_text;
};
