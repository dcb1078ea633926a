#pragma once

#include <zblib/math/ZbVec2.h>
