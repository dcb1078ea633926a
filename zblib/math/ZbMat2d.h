#pragma once

#include <zblib/math/ZbMat2.h>
