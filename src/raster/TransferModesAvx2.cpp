// The transfer loops for x86-64-v3: this unit alone is compiled with AVX2,
// FMA and BMI2 enabled, and is only called after the processor has been
// checked for them.
#include "raster/TransferModes.h"

#include <cstring>

#if defined(__AVX2__)
namespace {
#include "raster/TransferKernels.inc"
} // namespace

const TransferRowFunctions* transferRowsAvx2() {
    return &kRowFunctions;
}
#else
const TransferRowFunctions* transferRowsAvx2() {
    return nullptr;
}
#endif
