#pragma once

#include <zblib/math/ZbRot.h>
