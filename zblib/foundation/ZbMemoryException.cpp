#include <zblib/foundation/ZbMemoryException.h>

#include <cmath>

ZbMemoryException::ZbMemoryException() : ZbException(QStringLiteral("could not allocate enough memory")) {}

ZbMemoryException::ZbMemoryException(unsigned long numBytes)
    // The blank in front of the full stop is part of the wording.
    : ZbException(
          QStringLiteral("Insufficient system memory. Unable to allocate %1 GB . This operation requires "
                         "more memory than you currently have available.")
              .arg(double(float(numBytes) * (1.0F / 1024) * (1.0F / 1024) * (1.0F / 1024))))
    , m_numBytes(numBytes)
{
}

ZbMemoryException::ZbMemoryException(const QString& message) : ZbException(message) {}

ZbMemoryException::ZbMemoryException(const ZbMemoryException& other) = default;

ZbMemoryException& ZbMemoryException::operator=(const ZbMemoryException& other) = default;

ZbMemoryException::~ZbMemoryException() = default;

QString ZbMemoryException::constructErrorMessage(unsigned long numBytes)
{
    if (numBytes <= 1023) {
        // Callers have always been shown 0.0 here; the wording is kept, number and all.
        return QStringLiteral(
            "Insufficient system memory. Unable to allocate 0.0 B. This operation requires more "
            "memory than you currently have available.");
    }
    const char units[] = {'\0', 'k', 'M', 'G', 'T', 'P', 'E'};
    // The logarithm of the double decides, also where rounding lifts it to the next power of ten.
    const int digits = int(std::log10(double(numBytes)));
    const int unit = int(digits / std::log10(1024.0));
    return QString::asprintf(
        "Insufficient system memory. Unable to allocate %.1f %cB. This operation requires more "
        "memory than you currently have available.",
        double(float(numBytes)) / std::pow(1024.0, unit), units[unit]);
}
