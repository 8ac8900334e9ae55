#include "pens/ScriptAlerts.h"

#include <QDebug>

void LoggingScriptAlerts::scriptError(const std::string& title, const std::string& message) {
    qWarning("%s: %s", title.c_str(), message.c_str());
}

void LoggingScriptAlerts::scriptLog(const std::string& line) {
    qWarning("%s", line.c_str());
}
