#include "LuaTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace {

struct HostileCase {
    const char* function;
    const char* message; // expected within the "Runtime error" alert's text
};

class LuaHostileTest : public testing::TestWithParam<HostileCase> {};

// The time a hostile callback may take, in CPU time of this thread so that
// other work does not count; sanitizer builds run several times slower.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::chrono::milliseconds kAllowed{4000};
#else
constexpr std::chrono::milliseconds kAllowed{1000};
#endif

std::chrono::nanoseconds threadCpuTime() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec);
}

// Every hostile callback ends within a second with a "Runtime error" alert,
// and the same state still runs a good callback afterwards.
TEST_P(LuaHostileTest, EndsWithRuntimeErrorAndStateCarriesOn) {
    RecordingAlerts alerts;
    Lua lua(testPensDir(), testLibDir(), &alerts);
    lua.budget().setTimeLimit(std::chrono::milliseconds(250));
    lua.runFile(testPen("hostile.lua"));
    ASSERT_TRUE(alerts.alerts.empty());

    const auto start = threadCpuTime();
    const int status = lua.call(GetParam().function);
    const auto elapsed = threadCpuTime() - start;

    EXPECT_NE(status, 0);
    EXPECT_LT(elapsed, kAllowed);
    ASSERT_EQ(alerts.alerts.size(), 1u);
    EXPECT_EQ(alerts.alerts[0].title, "Runtime error");
    EXPECT_NE(alerts.alerts[0].message.find(GetParam().message), std::string::npos)
        << alerts.alerts[0].message;

    alerts.clear();
    EXPECT_EQ(lua.call("good"), 0);
    EXPECT_TRUE(alerts.alerts.empty());
    EXPECT_EQ(lua.getGlobalNumber("good_calls"), 1.0f);
}

const HostileCase kHostile[] = {{"infinite_loop", "ran too long"},
                                {"loop_in_pcall", "ran too long"},
                                {"xpcall_looping_handler", "ran too long"},
                                {"loop_in_coroutine", "ran too long"},
                                {"loop_in_load_reader", "ran too long"},
                                {"exponential_pattern", "ran too long"},
                                {"deep_pattern", "pattern too complex"},
                                {"gsub_with_runaway_pattern", "ran too long"},
                                {"memory_bomb", "not enough memory"},
                                {"huge_rep", "resulting string too large"},
                                {"deep_lua_recursion", "stack overflow"},
                                {"deep_metamethod_recursion", "C stack overflow"},
                                {"deep_coroutine_nesting", "C stack overflow"},
                                {"deep_gsub_recursion", "C stack overflow"},
                                {"deep_tostring_recursion", "C stack overflow"},
                                {"missing_callback", "attempt to call a nil value"}};
INSTANTIATE_TEST_SUITE_P(Scripts, LuaHostileTest, testing::ValuesIn(kHostile),
                         [](const auto& param_info) {
                             return std::string(param_info.param.function);
                         });

// A script that cannot be loaded is a "Compile error", one that fails while
// it runs a "Runtime error", where what ran stays done.
TEST(LuaHostile, LoadFailuresAreCompileOrRuntimeErrors) {
    const struct {
        const char *file, *title, *text, *name;
    } cases[] = {{"syntax_error.lua", "Compile error", "syntax_error.lua:3:", nullptr},
                 {"no_such_pen.lua", "Compile error", "cannot open", nullptr},
                 {"load_fails.lua", "Runtime error", "cannot start", "Fails While Loading"}};
    for (const auto& c : cases) {
        RecordingAlerts alerts;
        auto broken = Lua::luaRunningFile(testPen(c.file), testPensDir(), testLibDir(), &alerts);
        ASSERT_NE(broken, nullptr);
        ASSERT_EQ(alerts.alerts.size(), 1u) << c.file;
        EXPECT_EQ(alerts.alerts[0].title, c.title);
        EXPECT_NE(alerts.alerts[0].message.find(c.text), std::string::npos)
            << alerts.alerts[0].message;
        EXPECT_EQ(broken->getGlobalString("name").value_or("(none)"), c.name ? c.name : "(none)");
    }
}

// A state that ran out of memory for good (the script keeps what it
// allocated) fails on its own; other states are not affected.
TEST(LuaHostile, MemoryLimitIsPerState) {
    RecordingAlerts alerts;
    Lua hog(testPensDir(), testLibDir(), &alerts);
    hog.budget().setMemoryLimit(std::size_t(8) << 20);
    hog.runFile(testPen("hostile.lua"));
    Lua other(testPensDir(), testLibDir(), &alerts);
    other.runFile(testPen("hostile.lua"));

    hog.setGlobal("filler", std::string(6u << 20, 'x'));
    EXPECT_NE(hog.call("memory_bomb"), 0);
    EXPECT_LE(hog.budget().memoryInUse(), hog.budget().memoryLimit());
    EXPECT_EQ(other.call("good"), 0);
    EXPECT_EQ(other.getGlobalNumber("good_calls"), 1.0f);
}

} // namespace
