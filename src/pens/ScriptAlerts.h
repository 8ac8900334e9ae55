#pragma once

#include <string>

// How the Lua host reports pen script faults. The application shows the
// alerts as modal dialogs with a single "OK" button (blocking until
// dismissed) and sends the log lines to the system log; tests record both.
class ScriptAlerts {
public:
    virtual ~ScriptAlerts() = default;

    // A modal alert: title is the localised "Compile error" or "Runtime
    // error", message the Lua error text exactly as Lua gave it.
    virtual void scriptError(const std::string& title, const std::string& message) = 0;
    // One line of the error handler's log: the error message, then one line
    // per stack level.
    virtual void scriptLog(const std::string& line) = 0;
};

// Writes both alerts and log lines to the program's log (stderr); used when
// no alert handler is installed.
class LoggingScriptAlerts : public ScriptAlerts {
public:
    void scriptError(const std::string& title, const std::string& message) override;
    void scriptLog(const std::string& line) override;
};
