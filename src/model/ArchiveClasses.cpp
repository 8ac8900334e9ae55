#include "model/ArchiveClasses.h"

#include "model/KeyedUnarchiver.h"

void registerModelArchiveClasses() {
    // Each archivable model class adds its factory here, for example:
    //   KeyedUnarchiver::registerClass("Stroke", &Stroke::initWithCoder);
}
