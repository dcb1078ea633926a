#include "Numbers.h"

#include <array>
#include <charconv>
#include <cmath>

namespace zbvolume
{

namespace
{

template <typename... Arguments>
std::string text(Arguments... arguments)
{
    std::array<char, 512> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), arguments...).ptr;
    return std::string(buffer.data(), end);
}

// Zero has no sign for people.
template <typename Real>
Real unsignedZero(Real value)
{
    return value == 0 ? Real(0) : value;
}

}  // namespace

std::string shortest(double value)
{
    // Whole numbers up to 2^53 in full, not as 1e+06.
    return std::abs(value) <= 9007199254740992.0 && value == std::floor(value) ? text((long long)value)
                                                                               : text(value);
}

std::string shortest(float value)
{
    return std::abs(value) <= 16777216.0F && value == std::floor(value) ? text((long long)value)
                                                                        : text(value);
}

std::string rounded(double value)
{
    return std::abs(value) < 1e7 && value == std::floor(value)
               ? text((long long)value)
               : text(unsignedZero(value), std::chars_format::general, 7);
}

std::string fixed(double value, int decimals)
{
    const std::string result = text(value, std::chars_format::fixed, decimals);
    return result.find_first_not_of("-0.") == std::string::npos && result[0] == '-' ? result.substr(1)
                                                                                    : result;
}

std::string grouped(unsigned long long value)
{
    std::string result = text(value);
    for (auto at = long(result.size()) - 3; at > 0; at -= 3)
        result.insert(std::size_t(at), 1, ' ');
    return result;
}

}  // namespace zbvolume
