#pragma once

#include <zblib/foundation/ZbExport.h>

/// Whether a text matches a pattern with "*" (any characters, none too) and "?" (one character). Case counts;
/// there are no escapes and no classes of characters.
///
/// The search goes through the text once, O(length), and never back: what the rest of a pattern has matched is
/// not given back. So "*ab" matches neither "aab", whose first a is taken for that of ab, nor "abab", where
/// the first ab is. A "?" at the end of the pattern matches all that remains of the text, if there is any.
ZB_API bool zbWildMatch(const char* string, const char* pattern) noexcept;
