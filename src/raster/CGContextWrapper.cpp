#include "raster/CGContextWrapper.h"

CGContextWrapper::CGContextWrapper(GraphicsContext& context) : _context(context) {}
