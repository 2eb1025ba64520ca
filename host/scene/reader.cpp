// What is made of the scene text: what each rule of the grammar does with what it matched, and what
// is said where a rule does not match that must.
#include <host/scene/reader.h>

#include <host/functions/functions.h>
#include <host/scene/deep_stack.h>
#include <host/scene/grammar.h>
#include <host/scene/names.h>

#include <algorithm>
#include <string_view>
#include <type_traits>

namespace Marl::Host {

namespace {

using namespace Grammar;

// clang-format off
// What is said where a rule does not match that must. A rule without a line here does not compile.
template <typename Rule> constexpr Complaint complaint        = {nullptr};
template <> constexpr Complaint complaint<member_name>        = {"the property's name is missing after the point"};
template <> constexpr Complaint complaint<runtime_name>       = {"the object's name is missing after `@`"};
template <> constexpr Complaint complaint<group_value>        = {"a value is missing after `(`", Complaint::Value};
template <> constexpr Complaint complaint<group_close>        = {"expected an operator or `)`", Complaint::Closing};
template <> constexpr Complaint complaint<list_item>          = {"a value is missing in the list", Complaint::Value};
template <> constexpr Complaint complaint<list_close>         = {"expected an operator, `,` or `]`", Complaint::Closing};
template <> constexpr Complaint complaint<key_time>           = {"a key's time is missing", Complaint::Value};
template <> constexpr Complaint complaint<key_colon>          = {"expected an operator, or `:` between a key's time and its value", Complaint::Closing};
template <> constexpr Complaint complaint<key_value>          = {"a key's value is missing after `:`", Complaint::Value};
template <> constexpr Complaint complaint<keys_close>         = {"expected an operator, `,` or `)`", Complaint::Closing};
template <> constexpr Complaint complaint<argument>           = {"a value is missing between the brackets", Complaint::Value};
template <> constexpr Complaint complaint<call_close>         = {"expected an operator, `,` or `)`", Complaint::Closing};
template <> constexpr Complaint complaint<data_close>         = {"expected `]` after the data", Complaint::Closing};
template <> constexpr Complaint complaint<hex_close>          = {"expected a hexadecimal digit or `)`", Complaint::Closing};
template <> constexpr Complaint complaint<id_digits>          = {"an identifier is 0x and 1 to 16 hexadecimal digits"};
template <> constexpr Complaint complaint<id_close>           = {"expected `)` after the identifier", Complaint::Closing};
template <> constexpr Complaint complaint<index>              = {"an index is missing", Complaint::Value};
template <> constexpr Complaint complaint<index_close>        = {"expected an operator, `,` or `]`", Complaint::Closing};
template <> constexpr Complaint complaint<negated>            = {"a value is missing after the minus sign", Complaint::Value};
template <> constexpr Complaint complaint<product_operand>    = {"a value is missing after the operator", Complaint::Value};
template <> constexpr Complaint complaint<sum_operand>        = {"a value is missing after the operator", Complaint::Value};
template <> constexpr Complaint complaint<property_name>      = {"expected the name of a property or `}`"};
template <> constexpr Complaint complaint<equals>             = {"expected `=` after the property's name", Complaint::Equals};
template <> constexpr Complaint complaint<property_value>     = {"a value is missing after `=`", Complaint::Value};
template <> constexpr Complaint complaint<property_end>       = {"expected an operator or `;`", Complaint::Ending};
template <> constexpr Complaint complaint<object_name>        = {"the object's name is missing"};
template <> constexpr Complaint complaint<object_open>        = {"expected `{` after the object's name"};
template <> constexpr Complaint complaint<object>             = {"expected an object: object name { ... }"};
template <> constexpr Complaint complaint<version>            = {"the number of the scene's version is missing"};
template <> constexpr Complaint complaint<header_end>         = {"expected `;` after the scene's version"};
// clang-format on

template <typename Rule>
struct Control : p::normal<Rule> {
    [[noreturn]] static void raise(const Input& in, Reading& reading)
    {
        static_assert(complaint<Rule>.text, "a rule that must match needs a complaint");
        Input rest(in.current(), in.end(), "");
        reading.mistakes.complain(complaint<Rule>, offsetOf(in), reading.tree.innermostBracket(),
                                  p::parse<statement_end>(rest));
    }
};

template <typename In>
Span placeOf(const In& in)
{
    return {in.begin() - in.input().begin(), in.end() - in.input().begin()};
}

// Hands the place to the tree, and the text where it is wanted.
template <auto method>
struct build {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        if constexpr (std::is_invocable_v<decltype(method), TreeBuilder&, Span, std::string_view>)
            (reading.tree.*method)(placeOf(in), in.string_view());
        else if constexpr (std::is_invocable_v<decltype(method), TreeBuilder&, Span>)
            (reading.tree.*method)(placeOf(in));
        else
            (reading.tree.*method)();
    }
};

template <std::size_t size>
struct Message {
    constexpr Message(const char (&given)[size]) { std::ranges::copy(given, text); }
    char text[size];
};

template <Message message, auto consequence>
struct say {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        (reading.mistakes.*consequence)(placeOf(in), message.text, "");
    }
};

template <typename Rule>
struct Action : p::nothing<Rule> {};

// clang-format off
template <> struct Action<quoted_name>         : build<&TreeBuilder::quotedName> {};
template <> struct Action<call_word>           : build<&TreeBuilder::name> {};
template <> struct Action<data_word>           : build<&TreeBuilder::name> {};
template <> struct Action<id_digits>           : build<&TreeBuilder::name> {};
template <> struct Action<data_content>        : build<&TreeBuilder::content> {};
template <> struct Action<hex_digits>          : build<&TreeBuilder::content> {};
template <> struct Action<number>              : build<&TreeBuilder::number> {};
template <> struct Action<constant>            : build<&TreeBuilder::constant> {};
template <> struct Action<data>                : build<&TreeBuilder::data> {};
template <> struct Action<hex>                 : build<&TreeBuilder::hexTransform> {};
template <> struct Action<id>                  : build<&TreeBuilder::objectID> {};
template <> struct Action<own_reference>       : build<&TreeBuilder::ownReference> {};
template <> struct Action<reference>           : build<&TreeBuilder::reference> {};
template <> struct Action<runtime_object>      : build<&TreeBuilder::runtimeObject> {};
template <> struct Action<runtime_property>    : build<&TreeBuilder::runtimeProperty> {};
template <> struct Action<round_open>          : build<&TreeBuilder::open> {};
template <> struct Action<square_open>         : build<&TreeBuilder::open> {};
template <> struct Action<list_open>           : build<&TreeBuilder::openList> {};
template <> struct Action<group>               : build<&TreeBuilder::group> {};
template <> struct Action<list>                : build<&TreeBuilder::list> {};
template <> struct Action<keys>                : build<&TreeBuilder::keys> {};
template <> struct Action<call>                : build<&TreeBuilder::call> {};
template <> struct Action<first_indices>       : build<&TreeBuilder::firstIndices> {};
template <> struct Action<more_indices>        : build<&TreeBuilder::moreIndices> {};
template <> struct Action<index_chain>         : build<&TreeBuilder::endIndexed> {};
template <> struct Action<negation>            : build<&TreeBuilder::negate> {};
template <> struct Action<sign>                : build<&TreeBuilder::sign> {};
template <> struct Action<product_tail>        : build<&TreeBuilder::combine> {};
template <> struct Action<sum_tail>            : build<&TreeBuilder::combine> {};
template <> struct Action<property_name>       : build<&TreeBuilder::beginProperty> {};
template <> struct Action<object_name>         : build<&TreeBuilder::beginObject> {};
template <> struct Action<lost_property>       : build<&TreeBuilder::giveUpStatement> {};
template <> struct Action<lost_statement>      : build<&TreeBuilder::giveUpStatement> {};

// What should not be there. Reading goes on, or the statement is given up, or all reading.
template <> struct Action<open_name>           : say<"a name in back-quotes is not empty, holds no NUL and ends on its line", &SyntaxMistakes::giveUpStatement> {};
template <> struct Action<open_text>           : say<"this text is not closed on its line", &SyntaxMistakes::giveUpStatement> {};
template <> struct Action<open_long_text>      : say<"this text is not closed", &SyntaxMistakes::giveUpReading> {};
template <> struct Action<open_comment>        : say<"this comment is not closed", &SyntaxMistakes::giveUpReading> {};
template <> struct Action<stray_brace>         : say<"this `}` closes nothing", &SyntaxMistakes::note> {};
template <> struct Action<stray_property>      : say<"a property stands outside an object's curly brackets", &SyntaxMistakes::giveUpStatement> {};
template <> struct Action<no_header>           : say<"a scene begins with `scene 1;`", &SyntaxMistakes::note> {};
// clang-format on

template <>
struct Action<plain_name> : build<&TreeBuilder::name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        if (isReserved(in.string_view()))
            reading.mistakes.note(
                placeOf(in), fmt::format("`{}` is a word of the language", in.string_view()),
                fmt::format("As a name it stands in back-quotes: {}.", quotedName(in.string_view())));
        build::apply(in, reading);
    }
};

template <>
struct Action<closed_comment> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        const auto nul = static_cast<std::int64_t>(in.string_view().find('\0'));
        if (const std::int64_t begin = placeOf(in).begin; nul >= 0)
            reading.mistakes.note({begin + nul, begin + nul + 1}, SyntaxMistakes::strayNul);
    }
};

template <>
struct Action<text> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        const Span place = placeOf(in);
        const auto mark = static_cast<std::int64_t>(quotedTextAt(in.string_view()).mark);
        reading.tree.content({place.begin + mark, place.end - mark});
        reading.tree.text(place);
    }
};

template <>
struct Action<property> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.tree.endProperty();
        reading.mapped.giveBackBefore(in.end());
    }
};

template <>
struct Action<brace_open> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.openingBrace = placeOf(in);
    }
};

template <>
struct Action<end_left_out> {
    static void apply0(Reading& reading)
    {
        const std::int64_t end = reading.tree.endOfValue();
        reading.mistakes.note({end, end}, "`;` is missing");
    }
};

template <>
struct Action<misspelt_word> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.note(placeOf(in), fmt::format("expected `object`, found `{}`", in.string_view()));
    }
};

template <>
struct Action<no_brace> {
    static void apply0(Reading& reading)
    {
        const std::int64_t end = reading.tree.endOfObjectName();
        reading.openingBrace = {end, end};
        reading.mistakes.note(reading.openingBrace, complaint<object_open>.text);
    }
};

template <>
struct Action<object_end> {
    static void apply0(Reading& reading) { reading.mistakes.note(reading.openingBrace, "this `{` is not closed"); }
};

template <>
struct Action<bare_name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        const Span place = placeOf(in);
        const std::string found(in.string_view());
        const Word* word = findWord(found);
        const std::string hint = word && word->use == Word::Data
            ? fmt::format("It takes square brackets: {}[...].", found)
            : word && !word->takesRoundBrackets() ? ""
            : isReserved(found)                   ? fmt::format("It takes round brackets: {}(...).", found)
            : findFunction(found) ? fmt::format("Write {0}(...), or .{0} for this object's own.", found)
                                  : fmt::format("Write object.{0}, or .{0} for this object's own.", found);
        reading.mistakes.giveUpStatement(place, fmt::format("{} is no value", reading.mistakes.quoted(place)), hint);
    }
};

template <>
struct Action<version> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        if (in.string_view() != "1")
            reading.mistakes.giveUpReading(
                placeOf(in),
                fmt::format("this is a scene of version {}; only version 1 can be read", in.string_view()));
    }
};

template <>
struct Action<no_scene> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpReading(placeOf(in),
                                       in.input().size() == 0
                                           ? "there is no scene here; one begins with `scene 1;`"
                                           : "this is no scene: it does not begin with `scene 1;`");
    }
};

// Recovery.

template <>
struct Action<lost_name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        const std::string_view found = in.string_view();
        reading.lost.names.emplace(found.starts_with('`') ? found.substr(1, found.size() - 2) : found);
    }
};

template <>
struct Action<stray_name> : Action<lost_name> {};

// Perhaps it is no text: the quote that begins it may have been meant to end one.
template <>
struct Action<skipped_text> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        Input inside(in.begin(), in.end(), "");
        p::parse<lost_names, Action>(inside, reading);
    }
};

template <>
struct Action<lost_object_name> {
    static void apply0(Reading& reading)
    {
        reading.lost.anObject = true;
        reading.tree.beginNameless();
    }
};

template <>
struct Action<no_body> {
    static void apply0(Reading&) { throw StatementLost(); }
};

template <>
struct Action<text_ends> {
    static void apply0(Reading&) { throw ReadingEnds(); }
};

} // namespace

ReadResult readScene(SceneFile& file, ProgramAST& program, PlaceTable& places)
{
    MappedText mapped(file);
    ReadResult result;
    SyntaxMistakes mistakes(mapped.text(), result.mistakes);
    TreeBuilder tree(file, program, places, mistakes);
    Reading reading{mapped, mistakes, tree, result.lost};
    Input in(mapped.text().data(), mapped.text().size(), "");
    // A level of brackets takes up to 7 KB of stack in an instrumented build.
    runOnDeepStack([&] {
        try {
            p::parse<scene, Action, Control>(in, reading);
        } catch (const ReadingEnds&) {
            result.lost.anything = true;
        }
    });
    file.requireUnchanged();
    places.seal();
    return result;
}

} // namespace Marl::Host
