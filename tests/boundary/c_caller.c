/* A caller in C between the library and the handler of what it throws. */
#include "c_caller.h"

int multiply_from_c(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    return MAT_Multiply(a, b, out);
}
