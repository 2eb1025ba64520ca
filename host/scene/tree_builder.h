// Makes the tree of a scene from what the grammar recognizes, one call a rule.
#pragma once

#include <host/functions/functions.h>
#include <host/scene/place.h>
#include <host/scene/scene_file.h>
#include <host/scene/syntax_mistakes.h>
#include <host/scene/words.h>

#include <marl/marl.h>

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

// Values are kept on a stack until the rule they belong to is complete. Spans are those of the
// whole rule, brackets and words included, without blanks around it.
class TreeBuilder {
public:
    TreeBuilder(SceneFile& sceneFile, ProgramAST& tree, PlaceTable& table, SyntaxMistakes& notes)
        : mistakes(notes), file(sceneFile), program(tree), places(table), scenePath(sceneFile.path().c_str())
    {}

    void beginObject();
    void beginProperty();
    void endProperty();
    void giveUpStatement(); // keeps a property's name, so that references to it are no further mistakes

    // The object's name was lost to a mistake.
    void beginNameless();

    // A name, or the word before a bracket, for the rule that ends next.
    void name(Span place, std::string_view text) { names.push_back({std::string(text), place}); }
    void quotedName(Span place, std::string_view text) { name(place, text.substr(1, text.size() - 2)); }
    // What stands between the quotes or brackets of the rule that ends next.
    void content(Span place) { contentPlace = place; }

    void number(Span place, std::string_view text);
    void constant(Span place, std::string_view word);
    void text(Span place);
    void data(Span place);
    void hexTransform(Span place);
    void objectID(Span place);
    void reference(Span place);
    void ownReference(Span place);
    void runtimeObject(Span place);
    void runtimeProperty(Span place);

    void open(Span place, std::string_view bracket);
    void openList(Span place, std::string_view bracket);
    void group(Span place);
    void list(Span place);
    void call(Span place);
    void keys(Span place);

    // All indices behind one value make one array expression.
    void firstIndices(Span place);
    void moreIndices(Span place);
    void endIndexed();

    void sign(Span place, std::string_view op);
    void combine();
    void negate(Span place);

    const Bracket* innermostBracket() const { return brackets.empty() ? nullptr : &brackets.back().bracket; }
    std::int64_t endOfObjectName() const { return objectName.place.end; }
    std::int64_t endOfValue() const { return operands.back().place.end; }

    SyntaxMistakes& mistakes;
    int depth = 0; // of brackets and minus signs

private:
    struct Name {
        std::string text;
        Span place;
    };
    struct Operand {
        ExpressionAST* node;
        Span place;
    };
    struct OpenBracket {
        Bracket bracket;
        std::size_t operandsBefore;
    };

    Name takeName();
    void push(ExpressionAST* node, Span place);
    Operand take();
    // The operands since the innermost bracket opened, which closes.
    std::vector<Operand> close();

    template <typename Node>
    Node* makeFromSource();
    template <typename T>
    ListTypeExpressionAST<T>* makeList();
    BuiltinFunctionAST* makeBuiltin(Builtin function);
    void addIndices(const std::vector<Operand>& given, Span place);
    // Null where there is no such function or it does not take so many values, which is noted.
    ExpressionAST* makeCall(const Name& called, const std::vector<Operand>& values);
    bool takes(const Name& called, const std::vector<Operand>& values, std::size_t fewest, bool orMore);
    ExpressionAST* makeRecord(const Word& word, const std::vector<Operand>& values);
    ExpressionAST* makeFunction(const Function& function, const std::vector<Operand>& values);

    SceneFile& file;
    ProgramAST& program;
    PlaceTable& places;
    CharString scenePath;

    ObjectAST* object = nullptr;
    Name objectName, propertyName;
    bool isInProperty = false;
    std::uint32_t samplesDrawn = 0;

    std::vector<Name> names;
    Span contentPlace;
    std::vector<Operand> operands;
    std::vector<TOKENTYPE> signs;
    std::vector<OpenBracket> brackets;
};

} // namespace Marl::Host
