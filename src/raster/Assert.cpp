#include "raster/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

void vimoAssertionFailed(const char* condition, const char* function, const char* file, int line) {
    const char* base = std::strrchr(file, '/');
    base = base ? base + 1 : file;
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", condition,
                 function, base, line);
    std::fflush(stderr);
    std::abort();
}
