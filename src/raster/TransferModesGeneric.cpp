// The transfer loops for the baseline instruction set.
#include "raster/TransferModes.h"

#include <cstring>

namespace {
#include "raster/TransferKernels.inc"
} // namespace

const TransferRowFunctions& transferRowsGeneric() {
    return kRowFunctions;
}
