#include <zblib/system/ZbEnvironment.h>

#include <QByteArray>

namespace
{

// Never destroyed: settings are read as late as by the last static destructor that allocates memory.
QString& productPrefix()
{
    static QString& prefix = *new QString;
    return prefix;
}

QString storedValue(const QString& fullName)
{
    return QString::fromLatin1(qgetenv(fullName.toUtf8().constData()));
}

void storeValue(const QString& fullName, const QString& value)
{
    qputenv(fullName.toUtf8().constData(), value.toUtf8());
}

}  // namespace

void ZbEnvironment::setProductName(const QString& name)
{
    productPrefix() = name.toUpper() + QLatin1Char('_');
}

const QString& ZbEnvironment::getProductName()
{
    return productPrefix();
}

QString ZbEnvironment::getValue(const QString& name, const bool& verbatim)
{
    if (verbatim)
        return storedValue(name);
    if (const QString& prefix = productPrefix(); !prefix.isEmpty()) {
        if (QString value = storedValue(prefix + name); !value.isEmpty())
            return value;
    }
    return storedValue(QLatin1String("HX_") + name);
}

bool ZbEnvironment::exists(const QString& name, const bool& verbatim)
{
    return !getValue(name, verbatim).isEmpty();
}

QString ZbEnvironment::getString(const QString& name, const QString& defaultValue, const bool& verbatim)
{
    const QString value = getValue(name, verbatim);
    return value.isEmpty() ? defaultValue : value;
}

int ZbEnvironment::getInt(const QString& name, const int& defaultValue, const bool& verbatim)
{
    bool isNumber = false;
    const int value = getValue(name, verbatim).toInt(&isNumber, 10);
    return isNumber ? value : defaultValue;
}

double ZbEnvironment::getDouble(const QString& name, const double& defaultValue, const bool& verbatim)
{
    bool isNumber = false;
    const double value = getValue(name, verbatim).toDouble(&isNumber);
    return isNumber ? value : defaultValue;
}

float ZbEnvironment::getFloat(const QString& name, const float& defaultValue, const bool& verbatim)
{
    bool isNumber = false;
    const float value = getValue(name, verbatim).toFloat(&isNumber);
    return isNumber ? value : defaultValue;
}

bool ZbEnvironment::getBool(const QString& name, const bool& defaultValue, const bool& verbatim)
{
    const QString value = getValue(name, verbatim);
    if (value.isEmpty())
        return defaultValue;
    return value == QLatin1String("1") || value.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
           value.compare(QLatin1String("t"), Qt::CaseInsensitive) == 0;
}

void ZbEnvironment::setValue(const QString& name, const QString& value, const bool& verbatim)
{
    storeValue(verbatim ? name : QLatin1String("HX_") + name, value);
}

void ZbEnvironment::setString(const QString& name, const QString& value, const bool& verbatim)
{
    setValue(name, value, verbatim);
}

void ZbEnvironment::setInt(const QString& name, const int& value, const bool& verbatim)
{
    setValue(name, QString::number(value, 10), verbatim);
}

void ZbEnvironment::setDouble(const QString& name, const double& value, const bool& verbatim)
{
    setValue(name, QString::number(value, 'g', 6), verbatim);
}

void ZbEnvironment::setFloat(const QString& name, const float& value, const bool& verbatim)
{
    setValue(name, QString::number(double(value), 'g', 6), verbatim);
}

void ZbEnvironment::setBool(const QString& name, const bool& value, const bool& verbatim)
{
    setValue(name, QString::number(value ? 1 : 0, 10), verbatim);
}
