// Writes the scene's expressions in C++.
#include <benchmarks/formula_text.h>
#include <benchmarks/grown.h>

#include <cstdio>

int main()
{
    using namespace Bench;
    std::printf("#include <benchmarks/loops.h>\n\nnamespace Bench {\n\nnamespace {\n\n");
    for (std::size_t i = 0; i < sceneSize; ++i)
        std::printf("void loop%zu(const double* __restrict times, double* __restrict results, std::size_t count)\n"
                    "{\n"
                    "    for (std::size_t i = 0; i < count; ++i) {\n"
                    "        const double t = times[i];\n"
                    "        results[i] = %s;\n"
                    "    }\n"
                    "}\n",
                    i, grownFrom(i, Text("t")).text.c_str());
    std::printf("\n} // namespace\n\nconst Loop sceneLoops[] = {\n");
    for (std::size_t i = 0; i < sceneSize; ++i)
        std::printf("    loop%zu,\n", i);
    std::printf("};\n\n} // namespace Bench\n");
}
