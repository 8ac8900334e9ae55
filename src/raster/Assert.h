#pragma once

// Fatal assertions for programming errors. A broken condition prints its own
// text exactly as written in the source, the function and the source file,
// then aborts: these are bugs, never bad input (bad input gets an error value
// and a message a person understands).

[[noreturn]] void vimoAssertionFailed(const char* condition, const char* function, const char* file,
                                      int line);

#define VIMO_ASSERT(condition)                                                                     \
    ((condition) ? static_cast<void>(0)                                                            \
                 : vimoAssertionFailed(#condition, __PRETTY_FUNCTION__, __FILE__, __LINE__))
