// Reference dot product of two 36-element signed descriptors.
#include "ombrix.h"
#include "ombrixAssert.h"

int32_t obxDotProduct36x1s8C(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    int32_t sum = 0;
    for (int i = 0; i < 36; ++i) sum += int32_t{a[i]} * b[i];
    return sum;
}
