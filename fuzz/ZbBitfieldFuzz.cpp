#include <zblib/foundation/ZbException.h>
#include <zblib/imaging/ZbBitfield.h>

#include <QtGlobal>

#include <cstdint>
#include <cstdlib>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void checkDeserialize(const QByteArray& text)
{
    ZbBitfield field(100, ZbBitfield::INIT_SET);
    try {
        field.deserialize(text);
    } catch (const ZbException&) {
        require(field.nBits() == 100 && field.nSetBits() == 100);
        return;
    }
    require(field.memSize() == (field.nBits() + 31) / 32 * 4);
    require(field.nSetBits() <= field.nBits());
    ZbBitfield again;
    again.deserialize(field.serialize());
    require(again == field);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Qt says what is wrong with a stream, thousands of times a second.
    static const auto silenced =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static_cast<void>(silenced);

    const auto input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    // Three ways in, for streams and blocks that are sound are hard to come by: the text, the stream, the
    // block.
    checkDeserialize(input);
    checkDeserialize(input.toBase64());
    checkDeserialize(qCompress(input).toBase64());
    return 0;
}
