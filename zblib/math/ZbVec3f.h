#pragma once

#include <zblib/math/ZbVec3.h>
