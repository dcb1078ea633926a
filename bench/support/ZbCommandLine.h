#pragma once

#include <string>

namespace ZbBench
{

/// 1000 arguments between blanks: plain words, numbers, quoted texts with blanks inside, and escapes.
inline std::string commandLine()
{
    std::string line;
    for (int i = 0; i < 1000; ++i) {
        switch (i % 4) {
        case 0:
            line += "--threshold";
            break;
        case 1:
            line += std::to_string(100 * i);
            break;
        case 2:
            line += "\"a file name with blanks.tif\"";
            break;
        case 3:
            line += "mask\\\"1\\\".tif";
            break;
        }
        line += ' ';
    }
    return line;
}

}  // namespace ZbBench
