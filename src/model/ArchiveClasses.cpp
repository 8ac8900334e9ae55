#include "model/ArchiveClasses.h"

#include "model/KeyedUnarchiver.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/Strokes.h"

void registerModelArchiveClasses() {
    // Each archivable model class adds its factory here.
    KeyedUnarchiver::registerClass("PenPoints", &PenPoints::initWithCoder);
    KeyedUnarchiver::registerClass("Stroke", &Stroke::initWithCoder);
    KeyedUnarchiver::registerClass("Strokes", &Strokes::initWithCoder);
}
