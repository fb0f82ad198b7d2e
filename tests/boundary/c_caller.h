#pragma once

#include "veldane.h"

#ifdef __cplusplus
extern "C"
#endif
    int
    multiply_from_c(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out);
