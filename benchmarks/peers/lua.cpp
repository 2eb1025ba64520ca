// Lua and LuaJIT: one source, built once for each.
#include <benchmarks/suite.h>

#include <lua.hpp>

#include <cstdio>
#include <cstdlib>

namespace Bench {

namespace {

// All functions lie on the stack of one state. The class has no linkage, so that the two builds
// do not share that state.
class LuaFormula {
public:
    explicit LuaFormula(const Expression& expression)
    {
        const std::string text = "local sqrt, sin, cos = math.sqrt, math.sin, math.cos\n"
                                 "return function(t) return "
            + expression.text + " end";
        if (!lua_checkstack(state(), 10) || luaL_dostring(state(), text.c_str()) != 0) {
            std::fprintf(stderr, "Lua does not read %s\n", expression.text.c_str());
            std::exit(1);
        }
        place = lua_gettop(state());
    }
    static bool canRead(const Expression& expression) { return expression.kind == Kind::Numbers; }
    double operator()(double t)
    {
        lua_State* lua = state();
        lua_pushvalue(lua, place);
        lua_pushnumber(lua, t);
        lua_call(lua, 1, 1);
        const double result = lua_tonumber(lua, -1);
        lua_pop(lua, 1);
        return result;
    }

private:
    static lua_State* opened()
    {
        lua_State* lua = luaL_newstate();
        luaL_openlibs(lua);
        return lua;
    }
    static lua_State* state()
    {
        static lua_State* const shared = opened();
        return shared;
    }

    int place;
};

} // namespace

extern "C" void addRows(const Suite& suite)
{
#ifdef LUAJIT_VERSION
    addFormulaRows<LuaFormula>("LuaJIT", suite);
#else
    addFormulaRows<LuaFormula>("Lua", suite);
#endif
}

} // namespace Bench
