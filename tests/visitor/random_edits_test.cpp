// Random edits of an open scene: after them it is what the edited description gives when it is built anew.
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace Marl::Tests {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int scenes = 300;
#elif defined(NDEBUG)
constexpr int scenes = 10'000;
#else
constexpr int scenes = 1'000;
#endif

enum class Kind { Number, Time, Reference, Negated, Sum, Keys, List, Data, Element };

// An expression, and the node that stands for it in the edited scene.
struct Described {
    Kind kind = Kind::Number;
    double number = 0; // of an element also its index
    std::string object = {}, property = {};
    std::vector<float> data = {};
    std::vector<Described> parts = {}; // of keys each time before its value
    ExpressionAST* node = nullptr;
};

struct DescribedProperty {
    std::string name;
    Described expression;
    PropertyAST* live = nullptr;
};

struct DescribedObject {
    std::string name;
    std::vector<DescribedProperty> properties;
    ObjectAST* live = nullptr;
};

using Description = std::vector<DescribedObject>;

void forEachNode(Described& expression, const std::function<void(Described&)>& action)
{
    action(expression);
    for (Described& part : expression.parts)
        forEachNode(part, action);
}

void forEachProperty(Description& scene, const std::function<void(DescribedObject&, DescribedProperty&)>& action)
{
    for (DescribedObject& object : scene)
        for (DescribedProperty& property : object.properties)
            action(object, property);
}

// By the definition: the first property of that name in the first object of that name.
DescribedProperty* found(Description& scene, const Described& reference)
{
    const auto object = std::ranges::find(scene, reference.object, &DescribedObject::name);
    if (object == scene.end())
        return nullptr;
    const auto property = std::ranges::find(object->properties, reference.property, &DescribedProperty::name);
    return property == object->properties.end() ? nullptr : &*property;
}

ExpressionAST* build(Tree& t, Described& described)
{
    std::vector<ExpressionAST*> parts;
    for (Described& part : described.parts)
        parts.push_back(build(t, part));
    const auto made = [&]() -> ExpressionAST* {
        switch (described.kind) {
        case Kind::Number: return t.node(described.number);
        case Kind::Time: return t.call(Builtin::Time);
        case Kind::Reference: return t.reference(described.object.c_str(), described.property.c_str());
        case Kind::Negated: return t.negated(parts[0]);
        case Kind::Sum: return t.sum(parts[0], parts[1]);
        case Kind::Element: return t.element(parts[0], {described.number});
        case Kind::List: return t.list({parts.begin(), parts.end()});
        case Kind::Keys: {
            auto* keys = t.keys({});
            for (std::size_t i = 0; i + 1 < parts.size(); i += 2)
                t.program.append(keys, parts[i], parts[i + 1]);
            return keys;
        }
        case Kind::Data: {
            auto* list = t.program.make<ListTypeExpressionAST<float>>();
            list->values.allocArray(static_cast<int>(described.data.size()));
            std::ranges::copy(described.data, list->values.data);
            list->loaded = 1;
            return list;
        }
        }
        return nullptr;
    };
    return described.node = made();
}

void build(Tree& t, Description& scene)
{
    for (DescribedObject& object : scene) {
        object.live = t.program.addObject(object.name.c_str());
        for (DescribedProperty& property : object.properties)
            property.live = object.live->addProperty(property.name.c_str(), build(t, property.expression));
    }
}

// Every reference on its own, so that one that finds nothing keeps no other from being bound; then the keys.
void resolveEachNode(Tree& t, Description& scene)
{
    DecorationVisitor pass;
    pass.setProgram(&t.program);
    forEachProperty(scene, [&](DescribedObject& object, DescribedProperty& property) {
        pass.setObject(object.live);
        pass.setProperty(property.live);
        forEachNode(property.expression, [&](Described& described) {
            if (described.kind == Kind::Reference)
                messageOf<BadRefException>([&] { described.node->accept(&pass); });
        });
    });
    forEachProperty(scene, [](DescribedObject&, DescribedProperty& property) {
        forEachNode(property.expression, [](Described& described) {
            if (auto* keys = dynamic_cast<InterpolateExpressionAST*>(described.node))
                keys->sortKeys();
        });
    });
}

class Editing {
public:
    explicit Editing(unsigned seed) : random(seed)
    {
        pass.setProgram(&t.program);
        for (int i = 0; i < 5; ++i)
            scene.emplace_back().name = objectName();
        for (int i = 0; i < 50; ++i)
            scene[static_cast<std::size_t>(i / 10)].properties.push_back({propertyName(), expression(3), nullptr});
        build(t, scene);
        forEachProperty(scene, [&](DescribedObject& object, DescribedProperty& property) {
            pass.setObject(object.live);
            pass.setProperty(property.live);
            messageOf<BadRefException>([&] { property.live->expression->accept(&pass); });
        });
        forEachProperty(scene, [&](DescribedObject&, DescribedProperty& property) { note(property.live); });
    }

    void edit();
    void expectIsAsBuiltAnew();
    void expectDependentsAreAsBruteForceSays();

private:
    int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
    bool oneIn(int many) { return below(many) == 0; }
    double number() { return below(7) - 1; }
    std::string objectName() { return {static_cast<char>('A' + below(6))}; }
    std::string propertyName() { return {static_cast<char>('a' + below(14))}; }

    Described number(double value) { return {.number = value}; }
    Described leaf();
    Described expression(int depth);
    std::vector<float> data();

    void note(PropertyAST* property)
    {
        messageOf<BadRefException>([&] { pass.changed(property); });
    }
    using Unbound = std::set<std::pair<PropertyAST*, std::string>>;
    Unbound unboundReferences();
    void editOnePlace(DescribedProperty& property);
    void editChain(Described& described);

    std::minstd_rand random;
    Tree t;
    DecorationVisitor pass;
    Description scene;
};

Described Editing::leaf()
{
    switch (below(6)) {
    case 0: return {.kind = Kind::Time};
    case 1:
    case 2: return {.kind = Kind::Reference, .object = objectName(), .property = propertyName()};
    default: return number(number());
    }
}

std::vector<float> Editing::data()
{
    std::vector<float> made(static_cast<std::size_t>(below(4)));
    std::ranges::generate(made, [&] { return static_cast<float>(below(9)); });
    return made;
}

Described Editing::expression(int depth)
{
    if (depth == 0)
        return leaf();
    switch (below(9)) {
    case 0: return {.kind = Kind::Negated, .parts = {expression(depth - 1)}};
    case 1: return {.kind = Kind::Sum, .parts = {leaf(), expression(depth - 1)}};
    case 2: {
        Described made{.kind = Kind::List};
        for (int i = below(3); i >= 0; --i)
            made.parts.push_back(leaf());
        return made;
    }
    case 3: return {.kind = Kind::Data, .data = data()};
    case 4: {
        Described reference{.kind = Kind::Reference, .object = objectName(), .property = propertyName()};
        return {.kind = Kind::Element,
                .number = static_cast<double>(below(3)),
                .parts = {oneIn(2) ? reference : expression(depth - 1)}};
    }
    case 5:
    case 6: {
        Described made{.kind = Kind::Keys};
        for (int i = below(5); i >= 0; --i) {
            made.parts.push_back(oneIn(4) ? leaf() : number(number()));
            made.parts.push_back(oneIn(3) ? leaf() : number(below(100)));
        }
        return made;
    }
    default: return leaf();
    }
}

Editing::Unbound Editing::unboundReferences()
{
    Unbound unbound;
    forEachProperty(scene, [&](DescribedObject&, DescribedProperty& property) {
        forEachNode(property.expression, [&](Described& described) {
            if (described.kind == Kind::Reference && !found(scene, described))
                unbound.emplace(property.live, described.object + described.property);
        });
    });
    return unbound;
}

// Items and keys come and go.
void Editing::editChain(Described& described)
{
    const bool areKeys = described.kind == Kind::Keys;
    auto* list = dynamic_cast<ListExpressionAST*>(described.node);
    auto* keys = dynamic_cast<InterpolateExpressionAST*>(described.node);
    const int count = static_cast<int>(described.parts.size()) / (areKeys ? 2 : 1);
    if (count > 0 && oneIn(2)) {
        const int at = below(count);
        if (!areKeys) {
            t.program.remove(list, at);
            described.parts.erase(described.parts.begin() + at);
            return;
        }
        // The chain may be sorted, so the key is sought by its value.
        int index = 0;
        const auto* value = described.parts[static_cast<std::size_t>(2 * at + 1)].node;
        for (auto* key = keys->firstKey; key->value != value; key = key->next)
            ++index;
        t.program.remove(keys, index);
        described.parts.erase(described.parts.begin() + 2 * at, described.parts.begin() + 2 * at + 2);
        return;
    }
    for (int i = areKeys ? 2 : 1; i > 0; --i) {
        described.parts.push_back(oneIn(3) ? leaf() : number(number()));
        build(t, described.parts.back());
    }
    if (areKeys)
        t.program.append(keys, described.parts.end()[-2].node, described.parts.back().node);
    else
        t.program.append(list, described.parts.back().node);
}

void Editing::editOnePlace(DescribedProperty& property)
{
    std::vector<Described*> places;
    forEachNode(property.expression, [&](Described& described) { places.push_back(&described); });
    Described& place = *places[static_cast<std::size_t>(below(static_cast<int>(places.size())))];
    if (auto* literal = dynamic_cast<NumberExpressionAST*>(place.node)) {
        literal->number = place.number = number();
    } else if (auto* list = dynamic_cast<ListTypeExpressionAST<float>*>(place.node)) {
        place.data = data();
        list->values.allocArray(static_cast<int>(place.data.size()));
        std::ranges::copy(place.data, list->values.data);
    } else if (place.kind == Kind::Keys || place.kind == Kind::List) {
        editChain(place);
    } else {
        property.expression = expression(3);
        property.live->expression = build(t, property.expression);
    }
}

void Editing::edit()
{
    const Unbound before = unboundReferences();
    if (scene.empty())
        return;
    DescribedObject& object = scene[static_cast<std::size_t>(below(static_cast<int>(scene.size())))];
    if (object.properties.empty())
        return;
    const int at = below(static_cast<int>(object.properties.size()));
    DescribedProperty& property = object.properties[static_cast<std::size_t>(at)];
    switch (below(20)) {
    case 0:
        t.program.remove(object.live);
        for (PropertyAST* gone = object.live->firstProperty; gone; gone = gone->next)
            note(gone);
        scene.erase(scene.begin() + (&object - scene.data()));
        break;
    case 1:
    case 2: {
        PropertyAST* gone = property.live;
        t.program.remove(gone);
        note(gone);
        object.properties.erase(object.properties.begin() + at);
        break;
    }
    case 3:
    case 4:
    case 5: {
        object.properties.push_back({propertyName(), expression(3)});
        DescribedProperty& added = object.properties.back();
        added.live = object.live->addProperty(added.name.c_str(), build(t, added.expression));
        note(added.live);
        break;
    }
    case 6:
    case 7:
        property.name = propertyName();
        property.live->name = property.name.c_str();
        object.live->lastProperty = nullptr;
        note(property.live);
        break;
    case 8:
    case 9:
        property.expression = expression(3);
        property.live->expression = build(t, property.expression);
        note(property.live);
        break;
    default: editOnePlace(property); note(property.live);
    }
    // A reference that found nothing was nobody's dependent.
    const Unbound after = unboundReferences();
    for (const auto& unbound : before)
        if (!after.contains(unbound))
            note(unbound.first);
}

using Numbers = std::map<const PropertyAST*, int>;

Numbers numbersOf(Description& scene)
{
    Numbers numbers;
    forEachProperty(scene, [&](DescribedObject&, DescribedProperty& property) {
        numbers.emplace(property.live, static_cast<int>(numbers.size()));
    });
    return numbers;
}

// For each property the numbers of those that refer to it, sorted.
std::vector<std::vector<int>> referrersOf(Description& scene)
{
    const Numbers numbers = numbersOf(scene);
    std::vector<std::vector<int>> referrers;
    forEachProperty(scene, [&](DescribedObject&, DescribedProperty& property) {
        auto& found = referrers.emplace_back();
        for (const PropertyReferrer* record = property.live->referrers; record; record = record->next)
            found.push_back(record->property->object == record->object ? numbers.at(record->property) : -1);
        std::ranges::sort(found);
    });
    return referrers;
}

std::vector<std::string> resultsOf(Description& scene)
{
    std::vector<std::string> results;
    forEachProperty(scene, [&](DescribedObject& object, DescribedProperty& property) {
        for (const double time : {1.0, 2.5})
            results.push_back(object.name + "." + property.name + " " + resultOf(property.live->expression, time));
    });
    return results;
}

void Editing::expectIsAsBuiltAnew()
{
    Description anew = scene;
    Tree other;
    build(other, anew);
    resolveEachNode(other, anew);
    EXPECT_EQ(resultsOf(scene), resultsOf(anew));
    EXPECT_EQ(referrersOf(scene), referrersOf(anew));
}

void Editing::expectDependentsAreAsBruteForceSays()
{
    const Numbers numbers = numbersOf(scene);
    const std::size_t count = numbers.size();
    // reaches[a][b]: what changes a may change b.
    std::vector<std::vector<bool>> reaches(count, std::vector<bool>(count));
    const auto numberOf = [&](const PropertyAST* property) { return static_cast<std::size_t>(numbers.at(property)); };
    forEachProperty(scene, [&](DescribedObject&, DescribedProperty& property) {
        forEachNode(property.expression, [&](Described& described) {
            if (const auto* used = described.kind == Kind::Reference ? found(scene, described) : nullptr)
                reaches[numberOf(used->live)][numberOf(property.live)] = true;
        });
    });
    for (std::size_t via = 0; via < count; ++via)
        for (std::size_t from = 0; from < count; ++from)
            for (std::size_t to = 0; reaches[from][via] && to < count; ++to)
                if (reaches[via][to])
                    reaches[from][to] = true;

    for (const auto& [property, number] : numbers) {
        const std::vector<PropertyAST*> dependents = t.program.dependents(const_cast<PropertyAST*>(property));
        std::vector<bool> listed(count);
        for (std::size_t i = 0; i < dependents.size(); ++i) {
            const std::size_t later = numberOf(dependents[i]);
            EXPECT_FALSE(listed[later]);
            listed[later] = true;
            for (std::size_t j = 0; j < i; ++j) {
                const std::size_t earlier = numberOf(dependents[j]);
                EXPECT_TRUE(!reaches[later][earlier] || reaches[earlier][later]);
            }
        }
        EXPECT_EQ(listed, reaches[static_cast<std::size_t>(number)]);
    }
}

TEST(Edits, LeaveWhatTheEditedSceneBuiltAnewGives)
{
    for (unsigned seed = 1; seed <= scenes && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Editing editing(seed);
        for (int i = 1; i <= 20 && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            editing.edit();
            if (i % 20 == 0 || seed % 50 == 0)
                editing.expectIsAsBuiltAnew();
        }
        if (seed % 10 == 0)
            editing.expectDependentsAreAsBruteForceSays();
    }
}

} // namespace
} // namespace Marl::Tests
