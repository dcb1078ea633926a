#include <zblib/containers/ZbStringTokenizerGeneral.h>
#include <zblib/containers/ZbWildMatch.h>

#include <cstdint>
#include <cstdlib>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void checkTokenizer(ZbStringTokenizer&& tokenizer, long length)
{
    long tokens = 0;
    for (; tokenizer.hasMoreTokens(); ++tokens)
        require(tokenizer.nextToken().length() <= length);
    require(tokens <= length);
}

// What protect() promises: the text comes back where no quotes go around quotes or backslashes.
void checkProtect(const ZbString& text, bool quote)
{
    const ZbString protectedText = text.protect(quote);
    ZbStringTokenizer tokenizer(protectedText);
    const bool isQuoted = protectedText.startsWith("\"");
    const auto isMark = [](char c) { return c == '"' || c == '\\'; };
    if (!isQuoted || std::none_of(text.begin(), text.end(), isMark))
        require(tokenizer.nextToken() == text && !tokenizer.hasMoreTokens());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The first line is the text, what follows a pattern, a set of separators, a text to compare with.
    const auto* const bytes = reinterpret_cast<const char*>(data);
    const auto* const lineEnd = size ? static_cast<const char*>(std::memchr(bytes, '\n', size)) : nullptr;
    const ZbString text(bytes, lineEnd ? lineEnd - bytes : long(size));
    const ZbString other = lineEnd ? ZbString(lineEnd + 1, bytes + size - lineEnd - 1) : ZbString();

    checkTokenizer(ZbStringTokenizer(text), text.length());
    checkTokenizer(ZbStringTokenizerGeneral(text, other), text.length());
    checkProtect(text, false);
    checkProtect(text, true);
    zbWildMatch(text, other);
    // Up to a zero byte, for that is where names end.
    const ZbString name(text.getString());
    const ZbString otherName(other.getString());
    require(name.compareAlphaNumeric(otherName) == -otherName.compareAlphaNumeric(name));

    ZbDArray<ZbString> parts{text, other};
    parts[0].explode(',', parts);
    ZbString joined = parts[0];
    for (long i = 1; i < parts.size(); ++i)
        (joined += ',') += parts[i];
    require(joined == text);
    return 0;
}
