#pragma once

#include "pens/Lua.h"
#include "pens/ScriptAlerts.h"

#include <lua.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Keeps every alert and log line the Lua host reports.
class RecordingAlerts : public ScriptAlerts {
public:
    struct Alert {
        std::string title, message;
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

// Runs a chunk through pcallWithArgs; one that does not compile fails the test.
inline int runChunk(Lua& lua, const std::string& code) {
    lua_State* L = lua.state();
    if (luaL_loadbuffer(L, code.data(), code.size(), "=chunk") != 0) {
        ADD_FAILURE() << lua_tostring(L, -1);
        lua_pop(L, 1);
        return -1;
    }
    return lua.pcallWithArgs(0, 0);
}
