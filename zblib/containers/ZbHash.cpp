#include <zblib/containers/ZbHash.h>

#include <QByteArray>
#include <QString>

#include <climits>

unsigned int zbhash(const QString& text)
{
    unsigned int hash = 0;
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit == 0)
            return hash;
        if (unit >= 0x80)
            return zbhash(text.toUtf8().constData());
        hash = 9 * hash + unit;
    }
    return hash;
}

int computePrime(int n)
{
    long long candidate = n + n / 3LL;
    if (candidate % 2 == 0)
        ++candidate;
    const auto isDivisible = [](long long number) {
        for (long long divisor = 3; divisor * divisor <= number; divisor += 2) {
            if (number % divisor == 0)
                return true;
        }
        return false;
    };
    while (candidate < INT_MAX && isDivisible(candidate))
        candidate += 2;
    return candidate < INT_MAX ? int(candidate) : INT_MAX;
}
