#pragma once

#include <zblib/math/ZbMat3.h>
