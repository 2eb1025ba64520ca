// Lua and LuaJIT: one source, built once for each.
#include <benchmarks/suite.h>

#include <lua.hpp>

#include <cstdio>
#include <cstdlib>

namespace Bench {

namespace {

// A function on the stack of the one state that all functions lie in. The class has no linkage, so
// that the two builds do not share that state.
class Function {
public:
    explicit Function(const std::string& text)
    {
        if (!lua_checkstack(state(), 10) || luaL_dostring(state(), text.c_str()) != 0) {
            std::fprintf(stderr, "Lua does not read %s\n", text.c_str());
            std::exit(1);
        }
        place = lua_gettop(state());
    }

    static lua_State* state()
    {
        static lua_State* const shared = opened();
        return shared;
    }
    void push() const { lua_pushvalue(state(), place); }
    void replace() const { lua_replace(state(), place); } // by what lies on top

private:
    static lua_State* opened()
    {
        lua_State* lua = luaL_newstate();
        luaL_openlibs(lua);
#ifdef LUAJIT_VERSION
        // Room for the loops of a whole scene.
        luaL_dostring(lua, "jit.opt.start('maxtrace=20000', 'maxmcode=65536')");
#endif
        return lua;
    }

    int place;
};

const std::string names = "local sqrt, sin, cos = math.sqrt, math.sin, math.cos\n";

class LuaFormula {
public:
    explicit LuaFormula(const Expression& expression)
        : function(names + "return function(t) return " + expression.text + " end")
    {}
    static bool canRead(const Expression& expression) { return expression.kind == Kind::Numbers; }
    double operator()(double t)
    {
        lua_State* lua = Function::state();
        function.push();
        lua_pushnumber(lua, t);
        lua_call(lua, 1, 1);
        const double result = lua_tonumber(lua, -1);
        lua_pop(lua, 1);
        return result;
    }

private:
    Function function;
};

#ifdef LUAJIT_VERSION
// The loop is part of the script. Its arrays are known to it beforehand: to hand one over takes longer
// than a short loop.
class LuaLoop {
public:
    explicit LuaLoop(const Expression& expression)
        : bind(names
               + "local ffi = require 'ffi'\n"
                 "return function(times, results)\n"
                 "    times, results = ffi.cast('const double*', times), ffi.cast('double*', results)\n"
                 "    return function(count)\n"
                 "        for i = 0, count - 1 do\n"
                 "            local t = times[i]\n"
                 "            results[i] = "
               + expression.text
               + "\n"
                 "        end\n"
                 "    end\n"
                 "end"),
          loop("return nil") // until there are arrays
    {}
    static bool canRead(const Expression& expression) { return LuaFormula::canRead(expression); }
    void operator()(std::span<const double> given, double* results)
    {
        std::ranges::copy(given, times);
        lua_State* lua = Function::state();
        if (results != boundResults) {
            bind.push();
            lua_pushlightuserdata(lua, times);
            lua_pushlightuserdata(lua, results);
            lua_call(lua, 2, 1);
            loop.replace();
            boundResults = results;
        }
        loop.push();
        lua_pushinteger(lua, static_cast<lua_Integer>(given.size()));
        lua_call(lua, 1, 0);
    }

private:
    double times[1024];
    const double* boundResults = nullptr;
    Function bind, loop;
};
#endif

} // namespace

extern "C" void addRows(const Suite& suite)
{
#ifdef LUAJIT_VERSION
    addFormulaRows<LuaFormula>({"LuaJIT"}, suite);
    addBatchRows<OneByOne<LuaLoop>>({"LuaJIT"}, suite);
#else
    addFormulaRows<LuaFormula>({"Lua"}, suite);
#endif
}

} // namespace Bench
