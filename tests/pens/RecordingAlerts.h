#pragma once

#include "pens/ScriptAlerts.h"

#include <string>
#include <vector>

// Keeps every alert and log line the Lua host reports.
class RecordingAlerts : public ScriptAlerts {
public:
    struct Alert {
        std::string title;
        std::string message;
    };

    void scriptError(const std::string& title, const std::string& message) override {
        alerts.push_back({title, message});
    }
    void scriptLog(const std::string& line) override { log.push_back(line); }
    void clear() {
        alerts.clear();
        log.clear();
    }

    std::vector<Alert> alerts;
    std::vector<std::string> log;
};

inline std::string testPensDir() {
    return VIMO_TEST_DATA_DIR "/pens";
}
inline std::string testLibDir() {
    return VIMO_TEST_DATA_DIR "/lib";
}
inline std::string testPen(const std::string& file) {
    return testPensDir() + "/" + file;
}
