#pragma once

#include "pens/ScriptAlerts.h"

// Pen script faults as modal dialogs with an OK button; log lines go to the
// program's log.
class DialogScriptAlerts : public ScriptAlerts {
public:
    void scriptError(const std::string& title, const std::string& message) override;
    void scriptLog(const std::string& line) override;
};
