#include "Picture.h"

#include "Failure.h"

#include <QBuffer>

namespace zbvolume
{

std::string pngBytes(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        throw Failure("picture", "cannot be written as PNG");
    return bytes.toStdString();
}

}  // namespace zbvolume
