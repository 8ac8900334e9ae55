// The window tests need the application object before any widget, and
// settings of their own so that the user's are never touched.
#include "app/VimoApplication.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Windows without a display, also when the tests are only listed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir settingsDir;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir.path());
    VimoApplication::prepare();
    VimoApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
