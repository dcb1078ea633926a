#pragma once

#include <string>

namespace zbvolume
{

/// The shortest text that reads back as value: "0.1", "-3", "1e+30", "nan". Independent of the locale.
std::string shortest(double value);
/// The same for a value of a float, which needs fewer digits.
std::string shortest(float value);
/// value with up to seven significant digits, as measured figures are shown.
std::string rounded(double value);
/// value with a fixed number of decimals.
std::string fixed(double value, int decimals);
/// 12345678 as "12 345 678", for people.
std::string grouped(unsigned long long value);

}  // namespace zbvolume
