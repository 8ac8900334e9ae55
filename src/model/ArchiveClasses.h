#pragma once

// Registers the factories of every model class that can appear in an archive
// (strokes, the stroke list, pen points). The unarchiver calls it once before
// its first read, so that reading works however the program was linked.
void registerModelArchiveClasses();
