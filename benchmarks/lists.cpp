// Lists and text, and two threads over one tree.
#include <benchmarks/rows.h>

#include <benchmarks/formula_tree.h>

#include <cstring>

namespace Bench {

namespace {

template <class ItemAt>
Marl::ExpressionAST* listOfThousand(ItemAt itemAt)
{
    auto* list = program().make<Marl::ListExpressionAST>();
    for (int i = 0; i < 1000; ++i)
        program().append(list, itemAt(i).node);
    return list;
}

Marl::ExpressionAST* typedList()
{
    auto* list = program().make<Marl::ListTypeExpressionAST<float>>();
    list->values.allocArray(1000);
    list->loaded = 1;
    return list;
}

struct Memory final : Marl::SourceStream {
    std::int64_t tell() override { return position; }
    void seek(std::int64_t to) override { position = to; }
    void read(char* to, int size, int*) override { std::memcpy(to, text + position, static_cast<std::size_t>(size)); }
    const char* text = "textures/brick wall.exr";
    std::int64_t position = 0;
};

Marl::ExpressionAST* literalText()
{
    static Memory stream;
    static Marl::SourceOwner owner;
    auto* made = program().make<Marl::StringExpressionAST>();
    made->owner = &owner;
    made->stream = &stream;
    made->length = static_cast<int>(std::strlen(stream.text));
    made->scenePath = "scenes/house.scene";
    return made;
}

benchmark::internal::Benchmark* addTree(const std::string& name, Marl::ExpressionAST* root)
{
    const auto evaluate = [root](double t) { return walked(root, t).getValueType(); };
    return addRow("walk alone/" + name, walk, Rising(0.5, 10, 0.001), evaluate);
}

} // namespace

void addListsAndText()
{
    addTree("list of 1,000 numbers", listOfThousand([](int i) { return Tree(i); }));
    addTree("list of 1,000 vectors", listOfThousand([](int i) { return vec(i, 2, 3); }));
    addTree("list of 1,000 floats as data", typedList());
    addTree("text", literalText());
}

void addThreads(const Suite& suite)
{
    const auto isS3 = [](const Expression& e) { return e.name == "S3"; };
    auto* numbers = std::ranges::find_if(suite.expressions, isS3)->tree;
    auto* shared = typedList();
    for (const int threads : {1, 2}) {
        const std::string prefix = threads == 1 ? "1 thread, " : "2 threads, ";
        addTree(prefix + "S3", numbers)->Threads(threads)->UseRealTime();
        addTree(prefix + "shared list", shared)->Threads(threads)->UseRealTime();
    }
}

} // namespace Bench
