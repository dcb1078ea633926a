#pragma once

#include <zblib/math/ZbMat4.h>
