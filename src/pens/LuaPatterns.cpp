#include "pens/LuaPatterns.h"

#include "pens/LuaBudget.h"

#include <lua.hpp>

#include <cctype>
#include <cstddef>
#include <cstring>

namespace {

constexpr char kEscape = '%';
constexpr const char* kSpecials = "^$*+?.([%-";
constexpr int kMaxCaptures = 32;
constexpr std::ptrdiff_t kCaptureUnfinished = -1;
constexpr std::ptrdiff_t kCapturePosition = -2;

int uchar(char c) {
    return static_cast<unsigned char>(c);
}

struct MatchState {
    const char* src_init = nullptr;
    const char* src_end = nullptr;
    lua_State* L = nullptr;
    int level = 0;
    int depth = 0;
    long steps = 0;
    struct {
        const char* init;
        std::ptrdiff_t len;
    } capture[kMaxCaptures] = {};
};

// Every unit of matching work passes here; the clock is read now and then.
void step(MatchState* ms) {
    if ((++ms->steps & (LuaPatterns::kClockInterval - 1)) == 0) LuaBudget::checkTime(ms->L);
}

class DepthGuard {
public:
    explicit DepthGuard(MatchState* ms) : _ms(ms) {
        if (++_ms->depth > LuaPatterns::kMaxDepth) luaL_error(ms->L, "pattern too complex");
        LuaBudget::checkCStack(ms->L);
    }
    ~DepthGuard() { --_ms->depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    MatchState* _ms;
};

int checkCapture(MatchState* ms, int l) {
    l -= '1';
    if (l < 0 || l >= ms->level || ms->capture[l].len == kCaptureUnfinished)
        return luaL_error(ms->L, "invalid capture index");
    return l;
}

int captureToClose(MatchState* ms) {
    for (int level = ms->level - 1; level >= 0; level--)
        if (ms->capture[level].len == kCaptureUnfinished) return level;
    return luaL_error(ms->L, "invalid pattern capture");
}

const char* classEnd(MatchState* ms, const char* p) {
    switch (*p++) {
    case kEscape:
        if (*p == '\0') luaL_error(ms->L, "malformed pattern (ends with '%%')");
        return p + 1;
    case '[':
        if (*p == '^') p++;
        do { // look for the closing ']'
            if (*p == '\0') luaL_error(ms->L, "malformed pattern (missing ']')");
            if (*(p++) == kEscape && *p != '\0') p++;
        } while (*p != ']');
        return p + 1;
    default:
        return p;
    }
}

bool matchClass(int c, int cl) {
    bool res;
    switch (std::tolower(cl)) {
    case 'a':
        res = std::isalpha(c);
        break;
    case 'c':
        res = std::iscntrl(c);
        break;
    case 'd':
        res = std::isdigit(c);
        break;
    case 'l':
        res = std::islower(c);
        break;
    case 'p':
        res = std::ispunct(c);
        break;
    case 's':
        res = std::isspace(c);
        break;
    case 'u':
        res = std::isupper(c);
        break;
    case 'w':
        res = std::isalnum(c);
        break;
    case 'x':
        res = std::isxdigit(c);
        break;
    case 'z':
        res = (c == 0);
        break;
    default:
        return cl == c;
    }
    return std::islower(cl) ? res : !res;
}

// p points at '[', ec at the closing ']'.
bool matchBracketClass(int c, const char* p, const char* ec) {
    bool sig = true;
    if (*(p + 1) == '^') {
        sig = false;
        p++;
    }
    while (++p < ec) {
        if (*p == kEscape) {
            p++;
            if (matchClass(c, uchar(*p))) return sig;
        } else if (*(p + 1) == '-' && p + 2 < ec) {
            p += 2;
            if (uchar(*(p - 2)) <= c && c <= uchar(*p)) return sig;
        } else if (uchar(*p) == c) {
            return sig;
        }
    }
    return !sig;
}

bool singleMatch(int c, const char* p, const char* ep) {
    switch (*p) {
    case '.':
        return true;
    case kEscape:
        return matchClass(c, uchar(*(p + 1)));
    case '[':
        return matchBracketClass(c, p, ep - 1);
    default:
        return uchar(*p) == c;
    }
}

const char* match(MatchState* ms, const char* s, const char* p);

const char* matchBalance(MatchState* ms, const char* s, const char* p) {
    if (*p == '\0' || *(p + 1) == '\0') luaL_error(ms->L, "unbalanced pattern");
    if (s >= ms->src_end || *s != *p) return nullptr;
    const char b = *p;
    const char e = *(p + 1);
    int cont = 1;
    while (++s < ms->src_end) {
        step(ms);
        if (*s == e) {
            if (--cont == 0) return s + 1;
        } else if (*s == b) {
            cont++;
        }
    }
    return nullptr;
}

const char* maxExpand(MatchState* ms, const char* s, const char* p, const char* ep) {
    std::ptrdiff_t i = 0;
    while (s + i < ms->src_end && singleMatch(uchar(*(s + i)), p, ep)) {
        step(ms);
        i++;
    }
    // Try with the longest repetition first, then shorter ones.
    for (; i >= 0; i--)
        if (const char* res = match(ms, s + i, ep + 1)) return res;
    return nullptr;
}

const char* minExpand(MatchState* ms, const char* s, const char* p, const char* ep) {
    for (;;) {
        if (const char* res = match(ms, s, ep + 1)) return res;
        if (s < ms->src_end && singleMatch(uchar(*s), p, ep))
            s++;
        else
            return nullptr;
    }
}

const char* startCapture(MatchState* ms, const char* s, const char* p, std::ptrdiff_t what) {
    if (ms->level >= kMaxCaptures) luaL_error(ms->L, "too many captures");
    ms->capture[ms->level].init = s;
    ms->capture[ms->level].len = what;
    ms->level++;
    const char* res = match(ms, s, p);
    if (!res) ms->level--; // undo the capture
    return res;
}

const char* endCapture(MatchState* ms, const char* s, const char* p) {
    const int l = captureToClose(ms);
    ms->capture[l].len = s - ms->capture[l].init;
    const char* res = match(ms, s, p);
    if (!res) ms->capture[l].len = kCaptureUnfinished;
    return res;
}

const char* matchCapture(MatchState* ms, const char* s, int l) {
    l = checkCapture(ms, l);
    const std::ptrdiff_t len = ms->capture[l].len;
    if (ms->src_end - s >= len && std::memcmp(ms->capture[l].init, s, std::size_t(len)) == 0)
        return s + len;
    return nullptr;
}

const char* match(MatchState* ms, const char* s, const char* p) {
    DepthGuard guard(ms);
    for (;;) {
        step(ms);
        switch (*p) {
        case '(':
            if (*(p + 1) == ')') return startCapture(ms, s, p + 2, kCapturePosition);
            return startCapture(ms, s, p + 1, kCaptureUnfinished);
        case ')':
            return endCapture(ms, s, p + 1);
        case '\0':
            return s;
        case '$':
            if (*(p + 1) == '\0') return s == ms->src_end ? s : nullptr;
            break;
        case kEscape:
            if (*(p + 1) == 'b') {
                s = matchBalance(ms, s, p + 2);
                if (!s) return nullptr;
                p += 4;
                continue;
            }
            if (*(p + 1) == 'f') {
                p += 2;
                if (*p != '[') luaL_error(ms->L, "missing '[' after '%%f' in pattern");
                const char* ep = classEnd(ms, p);
                const int previous = (s == ms->src_init) ? 0 : uchar(*(s - 1));
                const int current = (s < ms->src_end) ? uchar(*s) : 0;
                if (matchBracketClass(previous, p, ep - 1) ||
                    !matchBracketClass(current, p, ep - 1))
                    return nullptr;
                p = ep;
                continue;
            }
            if (std::isdigit(uchar(*(p + 1)))) {
                s = matchCapture(ms, s, uchar(*(p + 1)));
                if (!s) return nullptr;
                p += 2;
                continue;
            }
            break;
        default:
            break;
        }
        // A single character class, possibly followed by a repetition.
        const char* ep = classEnd(ms, p);
        const bool m = s < ms->src_end && singleMatch(uchar(*s), p, ep);
        switch (*ep) {
        case '?':
            if (m) {
                if (const char* res = match(ms, s + 1, ep + 1)) return res;
            }
            p = ep + 1;
            continue;
        case '*':
            return maxExpand(ms, s, p, ep);
        case '+':
            return m ? maxExpand(ms, s + 1, p, ep) : nullptr;
        case '-':
            return minExpand(ms, s, p, ep);
        default:
            if (!m) return nullptr;
            s++;
            p = ep;
            continue;
        }
    }
}

void pushOneCapture(MatchState* ms, int i, const char* s, const char* e) {
    if (i >= ms->level) {
        if (i != 0) luaL_error(ms->L, "invalid capture index");
        lua_pushlstring(ms->L, s, std::size_t(e - s)); // the whole match
        return;
    }
    const std::ptrdiff_t l = ms->capture[i].len;
    if (l == kCaptureUnfinished) luaL_error(ms->L, "unfinished capture");
    if (l == kCapturePosition)
        lua_pushinteger(ms->L, ms->capture[i].init - ms->src_init + 1);
    else
        lua_pushlstring(ms->L, ms->capture[i].init, std::size_t(l));
}

int pushCaptures(MatchState* ms, const char* s, const char* e) {
    const int levels = (ms->level == 0 && s) ? 1 : ms->level;
    luaL_checkstack(ms->L, levels, "too many captures");
    for (int i = 0; i < levels; i++) pushOneCapture(ms, i, s, e);
    return levels;
}

void initState(MatchState& ms, lua_State* L, const char* s, std::size_t length) {
    ms.L = L;
    ms.src_init = s;
    ms.src_end = s + length;
}

// A plain search; the clock is checked as the compared bytes add up.
const char* plainFind(lua_State* L, const char* s, std::size_t ls, const char* p, std::size_t lp) {
    if (lp == 0) return s;
    if (lp > ls) return nullptr;
    const char* last = s + (ls - lp);
    std::size_t work = 0;
    for (const char* at = s; at <= last; at++) {
        at = static_cast<const char*>(std::memchr(at, *p, std::size_t(last - at) + 1));
        if (!at) return nullptr;
        if (std::memcmp(at + 1, p + 1, lp - 1) == 0) return at;
        work += lp;
        if (work > std::size_t(LuaPatterns::kClockInterval) * 64) {
            work = 0;
            LuaBudget::checkTime(L);
        }
    }
    return nullptr;
}

lua_Integer startPosition(lua_State* L, int arg, std::size_t length) {
    lua_Integer init = luaL_optinteger(L, arg, 1);
    if (init < 0) init += lua_Integer(length) + 1; // counted from the end
    init -= 1;
    if (init < 0) return 0;
    if (init > lua_Integer(length)) return lua_Integer(length);
    return init;
}

int findAux(lua_State* L, bool find) {
    std::size_t ls = 0;
    std::size_t lp = 0;
    const char* s = luaL_checklstring(L, 1, &ls);
    const char* p = luaL_checklstring(L, 2, &lp);
    const lua_Integer init = startPosition(L, 3, ls);
    if (find && (lua_toboolean(L, 4) || std::strpbrk(p, kSpecials) == nullptr)) {
        if (const char* at = plainFind(L, s + init, ls - std::size_t(init), p, lp)) {
            lua_pushinteger(L, at - s + 1);
            lua_pushinteger(L, at - s + std::ptrdiff_t(lp));
            return 2;
        }
    } else {
        MatchState ms;
        initState(ms, L, s, ls);
        const bool anchor = (*p == '^');
        if (anchor) p++;
        const char* s1 = s + init;
        do {
            ms.level = 0;
            if (const char* res = match(&ms, s1, p)) {
                if (find) {
                    lua_pushinteger(L, s1 - s + 1);
                    lua_pushinteger(L, res - s);
                    return pushCaptures(&ms, nullptr, nullptr) + 2;
                }
                return pushCaptures(&ms, s1, res);
            }
        } while (s1++ < ms.src_end && !anchor);
    }
    lua_pushnil(L);
    return 1;
}

int strFind(lua_State* L) {
    return findAux(L, true);
}
int strMatch(lua_State* L) {
    return findAux(L, false);
}

int gmatchStep(lua_State* L) {
    std::size_t ls = 0;
    const char* s = lua_tolstring(L, lua_upvalueindex(1), &ls);
    const char* p = lua_tostring(L, lua_upvalueindex(2));
    MatchState ms;
    initState(ms, L, s, ls);
    for (const char* src = s + lua_tointeger(L, lua_upvalueindex(3)); src <= ms.src_end; src++) {
        ms.level = 0;
        if (const char* e = match(&ms, src, p)) {
            lua_Integer next = e - s;
            if (e == src) next++; // an empty match moves on by one at least
            lua_pushinteger(L, next);
            lua_replace(L, lua_upvalueindex(3));
            return pushCaptures(&ms, src, e);
        }
    }
    return 0;
}

int strGmatch(lua_State* L) {
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    lua_settop(L, 2);
    lua_pushinteger(L, 0);
    lua_pushcclosure(L, gmatchStep, 3);
    return 1;
}

void addReplacementString(MatchState* ms, luaL_Buffer* b, const char* s, const char* e) {
    std::size_t l = 0;
    const char* news = lua_tolstring(ms->L, 3, &l);
    for (std::size_t i = 0; i < l; i++) {
        if (news[i] != kEscape) {
            luaL_addchar(b, news[i]);
            continue;
        }
        i++; // skip the escape
        if (!std::isdigit(uchar(news[i]))) {
            luaL_addchar(b, news[i]);
        } else if (news[i] == '0') {
            luaL_addlstring(b, s, std::size_t(e - s));
        } else {
            pushOneCapture(ms, news[i] - '1', s, e);
            luaL_addvalue(b);
        }
    }
}

void addValue(MatchState* ms, luaL_Buffer* b, const char* s, const char* e) {
    lua_State* L = ms->L;
    switch (lua_type(L, 3)) {
    case LUA_TNUMBER:
    case LUA_TSTRING:
        addReplacementString(ms, b, s, e);
        return;
    case LUA_TFUNCTION: {
        lua_pushvalue(L, 3);
        const int n = pushCaptures(ms, s, e);
        lua_call(L, n, 1);
        break;
    }
    case LUA_TTABLE:
        pushOneCapture(ms, 0, s, e);
        lua_gettable(L, 3);
        break;
    default:
        break;
    }
    if (!lua_toboolean(L, -1)) { // nil or false: keep the original text
        lua_pop(L, 1);
        lua_pushlstring(L, s, std::size_t(e - s));
    } else if (!lua_isstring(L, -1)) {
        luaL_error(L, "invalid replacement value (a %s)", luaL_typename(L, -1));
    }
    luaL_addvalue(b);
}

int strGsub(lua_State* L) {
    std::size_t srcl = 0;
    const char* src = luaL_checklstring(L, 1, &srcl);
    const char* p = luaL_checkstring(L, 2);
    const int tr = lua_type(L, 3);
    const lua_Integer maxN = luaL_optinteger(L, 4, lua_Integer(srcl) + 1);
    luaL_argcheck(L,
                  tr == LUA_TNUMBER || tr == LUA_TSTRING || tr == LUA_TFUNCTION || tr == LUA_TTABLE,
                  3, "string/function/table expected");
    const bool anchor = (*p == '^');
    if (anchor) p++;
    luaL_Buffer b;
    luaL_buffinit(L, &b);
    MatchState ms;
    initState(ms, L, src, srcl);
    lua_Integer n = 0;
    while (n < maxN) {
        ms.level = 0;
        const char* e = match(&ms, src, p);
        if (e) {
            n++;
            addValue(&ms, &b, src, e);
        }
        if (e && e > src)
            src = e;
        else if (src < ms.src_end)
            luaL_addchar(&b, *src++);
        else
            break;
        if (anchor) break;
    }
    luaL_addlstring(&b, src, std::size_t(ms.src_end - src));
    luaL_pushresult(&b);
    lua_pushinteger(L, n);
    return 2;
}

} // namespace

void LuaPatterns::install(lua_State* L) {
    const luaL_Reg functions[] = {{"find", strFind},    {"match", strMatch}, {"gmatch", strGmatch},
                                  {"gfind", strGmatch}, {"gsub", strGsub},   {nullptr, nullptr}};
    for (const luaL_Reg* f = functions; f->name; f++) {
        lua_pushcfunction(L, f->func);
        lua_setfield(L, -2, f->name);
    }
}
