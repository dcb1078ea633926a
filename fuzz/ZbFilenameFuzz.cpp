#include <zblib/containers/ZbFilename.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void checkParts(const ZbFilename& path)
{
    if (path.contains("/"))
        require(path.getDirname() + '/' + path.getBasename() == path);
    else
        require(path.getDirname().isEmpty() && path == path.getBasename());
    ZbFilename edited(path);
    edited.setExtension("txt");
    require(edited.hasExtension() && std::strcmp(edited.getExtension(), ".txt") == 0);
    edited.removeExtension();
    require(edited.length() == (path.hasExtension() ? path.getExtensionPos() : path.length()));
}

// Where a path leads is for the file system to tell; this holds what can be seen in the text.
void checkNormalForms(const ZbFilename& path, const ZbFilename& base)
{
    ZbFilename packed(path);
    packed.pack();
    require(packed.length() <= path.length() && !packed.contains("\\"));
    const long parent = packed.index("/..");
    require(parent == -1 || packed.index("/") == parent);

    ZbFilename relative(path);
    relative.makeRelativeTo(base);
    require(relative.isRelative() || !packed.isRelative());

    ZbFilename quoted(path);
    quoted.quote();
    const ZbFilename once(quoted);
    quoted.quote();
    require(quoted == once);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // A path and, behind a line feed, a folder.
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype lineEnd = input.indexOf('\n');
    // Names end at a zero.
    const ZbFilename path(input.left(lineEnd).constData());
    const ZbFilename base(lineEnd == -1 ? QByteArray() : input.mid(lineEnd + 1));
    checkParts(path);
    checkNormalForms(path, base);
    return 0;
}
