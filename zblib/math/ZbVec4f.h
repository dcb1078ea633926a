#pragma once

#include <zblib/math/ZbVec4.h>
