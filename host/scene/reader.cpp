// The grammar of the scene text, rule by rule, what each rule does with what it matched, and what
// is said where a rule does not match that must.
#include <host/scene/reader.h>

#include <host/scene/data_skipping.h>
#include <host/scene/deep_stack.h>
#include <host/scene/names.h>
#include <host/scene/tree_builder.h>

#include <fmt/format.h>
#include <tao/pegtl.hpp>

namespace Marl::Host {

namespace {

namespace p = tao::pegtl;

using Input = p::memory_input<p::tracking_mode::lazy, p::eol::lf, const char*>;

// What rules and actions share.
struct Reading {
    MappedText& mapped;
    SyntaxMistakes& mistakes;
    TreeBuilder& tree;
    LostNames& lost;
    Span brace = {}; // that opened the object
};

std::int64_t offsetOf(const Input& in)
{
    return in.current() - in.begin();
}

// A rule one level deeper. Every level takes some of the machine's stack, so they are counted.
template <typename Rule>
struct nested {
    using rule_t = nested;
    using subs_t = p::type_list<Rule>;

    static constexpr int deepest = 1000;

    template <p::apply_mode A, p::rewind_mode M, template <typename...> class Action,
        template <typename...> class Control>
    static bool match(Input& in, Reading& reading)
    {
        struct Level {
            explicit Level(int& counter) : depth(counter) { ++depth; }
            ~Level() { --depth; }
            int& depth;
        };
        if (reading.tree.depth == deepest)
            reading.mistakes.giveUpStatement(
                {offsetOf(in), offsetOf(in)}, fmt::format("values are nested more than {} deep here", deepest));
        const Level level(reading.tree.depth);
        return Control<Rule>::template match<A, M, Action, Control>(in, reading);
    }
};

// Everything up to the bracket that closes a data list. It may be most of the file.
struct data_content {
    using rule_t = data_content;
    using subs_t = p::empty_list;

    template <p::apply_mode, p::rewind_mode, template <typename...> class, template <typename...> class>
    static bool match(Input& in, Reading& reading)
    {
        in.bump(skipData({in.current(), in.size()}, [&](const char* skipped) { reading.mapped.giveBackBefore(skipped); }));
        return true;
    }
};

// Goes to where the last mistake says that reading goes on.
struct resume {
    using rule_t = resume;
    using subs_t = p::empty_list;

    template <p::apply_mode, p::rewind_mode, template <typename...> class, template <typename...> class>
    static bool match(Input& in, Reading& reading)
    {
        in.bump(static_cast<std::size_t>(reading.mistakes.resumeAt() - offsetOf(in)));
        return true;
    }
};

// Only blanks stand before this on its line.
struct line_start {
    using rule_t = line_start;
    using subs_t = p::empty_list;

    static bool match(const Input& in)
    {
        const char* c = in.current();
        while (c != in.begin() && (c[-1] == ' ' || c[-1] == '\t'))
            --c;
        return c == in.begin() || c[-1] == '\n';
    }
};

// clang-format off

// Blanks. The rules below end before the blanks behind them, so that places have none.
struct line_comment   : p::seq<p::string<'/', '/'>, p::until<p::eolf>> {};
struct block_comment  : p::seq<p::string<'/', '*'>, p::until<p::string<'*', '/'>>> {};
struct open_comment   : p::string<'/', '*'> {};
struct comment        : p::sor<line_comment, block_comment, open_comment> {};
struct blanks         : p::star<p::sor<p::space, comment>> {};
struct comma          : p::seq<p::one<','>, blanks> {};

// Names. A pattern looks ahead; it makes nothing and says nothing.
struct plain_pattern  : p::seq<p::alpha, p::star<p::sor<p::alnum, p::one<'_'>>>> {};
struct quoted_text    : p::plus<p::not_one<'`', '\n', '\0'>> {};
struct quoted_pattern : p::seq<p::one<'`'>, quoted_text, p::one<'`'>> {};
struct name_pattern   : p::sor<plain_pattern, quoted_pattern> {};
struct open_name      : p::one<'`'> {};
struct plain_name     : plain_pattern {};
struct quoted_name    : quoted_pattern {};
struct name           : p::sor<plain_name, quoted_name, open_name> {};
struct member_dot     : p::one<'.'> {};
struct member_name    : name {};

template <char... Letters>
struct word           : p::seq<p::string<Letters...>, p::not_at<p::identifier_other>> {};
using word_scene      = word<'s', 'c', 'e', 'n', 'e'>;
using word_object     = word<'o', 'b', 'j', 'e', 'c', 't'>;

// Leaves.
struct number_text    : p::plus<p::sor<p::seq<p::one<'e', 'E'>, p::one<'+', '-'>>, p::alnum, p::one<'.', '_'>>> {};
struct number         : p::sor<p::seq<p::at<p::opt<p::one<'.'>>, p::digit>, number_text>, word<'i', 'n', 'f'>, word<'n', 'a', 'n'>> {};
struct constant       : p::sor<word<'t', 'i', 'm', 'e'>, word<'s', 'a', 'm', 'p', 'l', 'e'>, word<'p', 'i'>> {};

struct long_quote     : p::string<'"', '"', '"'> {};
struct long_content   : p::star<p::not_at<long_quote>, p::any> {};
template <char Quote>
struct short_content  : p::star<p::not_one<Quote, '\n'>> {};
template <char Quote>
struct short_text     : p::seq<p::one<Quote>, short_content<Quote>, p::one<Quote>> {};
struct text           : p::sor<p::seq<long_quote, long_content, long_quote>, p::seq<p::not_at<long_quote>, p::sor<short_text<'"'>, short_text<'\''>>>> {};
struct open_long_text : long_quote {};
struct open_text      : p::one<'"', '\''> {};

struct own_reference    : p::seq<member_dot, blanks, p::must<member_name>> {};
struct reference        : p::seq<p::at<name_pattern, blanks, member_dot>, name, blanks, member_dot, blanks, p::must<member_name>> {};
struct runtime_name     : name {};
struct runtime_object   : p::seq<p::one<'@'>, p::must<runtime_name>> {};
struct runtime_property : p::seq<p::at<p::one<'@'>, name_pattern, blanks, member_dot>, p::one<'@'>, name, blanks, member_dot, blanks, p::must<member_name>> {};

// Brackets and what they hold.
struct value;
struct round_open     : p::one<'('> {};
struct square_open    : p::one<'['> {};

struct group_value    : nested<value> {};
struct group_close    : p::one<')'> {};
struct group          : p::seq<round_open, blanks, p::must<group_value, group_close>> {};

struct list_open      : p::one<'['> {};
struct list_close     : p::one<']'> {};
struct list_item      : nested<value> {};
struct list_next      : p::seq<comma, p::opt<p::not_at<list_close>, p::must<list_item>>> {};
struct list           : p::seq<list_open, blanks, p::opt<p::not_at<list_close>, p::must<list_item>, p::star<list_next>>, p::must<list_close>> {};

struct key_time       : nested<value> {};
struct key_colon      : p::one<':'> {};
struct key_value      : nested<value> {};
struct key            : p::seq<p::must<key_time, key_colon>, blanks, p::must<key_value>> {};
struct keys_close     : p::one<')'> {};
struct key_next       : p::seq<comma, p::opt<p::not_at<keys_close>, key>> {};
struct keys           : p::seq<word<'k', 'e', 'y', 's'>, blanks, round_open, blanks, p::opt<p::not_at<keys_close>, key, p::star<key_next>>, p::must<keys_close>> {};

struct call_word      : p::seq<plain_pattern, p::at<blanks, round_open>> {};
struct argument       : nested<value> {};
struct call_close     : p::one<')'> {};
struct call           : p::seq<call_word, blanks, round_open, blanks, p::opt<p::not_at<call_close>, p::must<argument>, p::star<comma, p::must<argument>>>, p::must<call_close>> {};

struct data_word      : p::sor<word<'v', 'e', 'c'>, word<'r', 'g', 'b'>, word<'f', 'l', 'o', 'a', 't'>, word<'i', 'n', 't'>, word<'s', 't', 'r', 'i', 'n', 'g'>> {};
struct data_close     : p::one<']'> {};
struct data           : p::seq<p::at<data_word, blanks, square_open>, data_word, blanks, square_open, data_content, p::must<data_close>> {};

struct hex_digits     : p::star<p::sor<p::xdigit, p::space>> {};
struct hex_close      : p::one<')'> {};
struct hex            : p::seq<word<'x', 'f', 'o', 'r', 'm', 'h', 'e', 'x'>, blanks, round_open, hex_digits, p::must<hex_close>> {};

struct id_digits      : p::seq<p::string<'0', 'x'>, p::rep_min_max<1, 16, p::xdigit>, p::not_at<p::identifier_other>> {};
struct id_close       : p::one<')'> {};
struct id             : p::seq<word<'i', 'd'>, blanks, round_open, blanks, p::must<id_digits>, blanks, p::must<id_close>> {};

// Statements, as far as one can be told from the middle of another.
struct brace_open     : p::one<'{'> {};
struct brace_close    : p::one<'}'> {};
struct object_pattern : p::seq<word_object, blanks, p::opt<name_pattern, blanks>, brace_open> {};
struct property_pattern : p::seq<name_pattern, blanks, p::one<'='>> {};
struct next_statement : p::sor<property_pattern, object_pattern> {};
struct statement_end  : p::sor<p::eof, p::one<';', '}'>, next_statement> {};

// Values. What indices, a sign or an operator belongs to is said by who holds whom.
struct bare_name      : p::seq<p::not_at<next_statement>, p::sor<name_pattern, open_name>> {};
struct primary        : p::sor<number, text, open_long_text, open_text, group, list, own_reference, runtime_property, runtime_object,
                               reference, data, keys, hex, id, call, constant, bare_name> {};

struct index          : nested<value> {};
struct index_close    : p::one<']'> {};
struct indices        : p::seq<square_open, blanks, p::must<index>, p::star<comma, p::must<index>>, p::must<index_close>> {};
struct first_indices  : indices {};
struct more_indices   : indices {};
struct index_chain    : p::seq<first_indices, blanks, p::star<more_indices, blanks>> {};
struct indexed        : p::seq<primary, blanks, p::opt<index_chain>> {};

struct unary;
struct negated        : nested<unary> {};
struct negation       : p::seq<p::one<'-'>, blanks, p::must<negated>> {};
struct unary          : p::sor<negation, indexed> {};

struct sign           : p::one<'+', '-', '*', '/'> {};
struct product_operand : unary {};
struct product_tail   : p::seq<p::at<p::one<'*', '/'>>, sign, blanks, p::must<product_operand>> {};
struct term           : p::seq<unary, p::star<product_tail>> {};
struct sum_operand    : term {};
struct sum_tail       : p::seq<p::at<p::one<'+', '-'>>, sign, blanks, p::must<sum_operand>> {};
struct value          : p::seq<term, p::star<sum_tail>> {};

// Recovery: what belongs to a broken statement is skipped, and names that it may have given are noted.
struct lost_name      : p::seq<name_pattern, p::at<blanks, p::one<'='>>> {};
struct lost_names     : p::star<p::sor<lost_name, p::plus<p::identifier_other>, p::any>> {};
struct skipped_text   : p::seq<p::at<p::one<'"', '\''>>, text> {};
struct skipped        : p::sor<skipped_text, comment, lost_name, p::plus<p::identifier_other>, p::any> {};
struct skipped_end    : p::sor<p::eof, p::one<';', '}'>, p::seq<line_start, next_statement>> {};
struct text_ends      : p::eof {};
struct lost_property  : p::seq<resume, p::star<p::not_at<skipped_end>, skipped>, p::opt<p::one<';'>>, p::opt<text_ends>> {};
struct lost_statement : p::seq<resume, p::star<p::not_at<skipped_end>, skipped>, p::opt<p::one<';', '}'>>, p::opt<text_ends>> {};
struct no_body        : p::success {};
struct lost_head      : p::seq<resume, p::star<p::not_at<p::sor<skipped_end, brace_open>>, skipped>, p::sor<p::at<brace_open>, no_body>> {};
struct lost_object_name : lost_head {};

template <typename Rule, typename Otherwise>
struct attempt        : p::sor<p::try_catch_type<StatementLost, Rule>, Otherwise> {};

// Statements.
struct property_name  : name {};
struct equals         : p::one<'='> {};
struct property_value : value {};
struct end_left_out   : p::at<p::sor<brace_close, next_statement>> {};
struct property_end   : p::sor<p::one<';'>, end_left_out> {};
struct property       : p::seq<p::must<property_name>, blanks, p::must<equals>, blanks, p::must<property_value>, p::must<property_end>> {};

struct object_name    : name {};
struct misspelt_word  : p::seq<p::at<plain_pattern, blanks, name_pattern, blanks, brace_open>, plain_pattern> {};
struct no_brace       : p::at<p::sor<property_pattern, brace_close>> {};
struct object_open    : p::sor<brace_open, no_brace> {};
struct object_end     : p::sor<p::at<p::eof>, p::at<object_pattern>> {};
struct object_body    : p::star<p::not_at<p::sor<brace_close, object_end>>, attempt<property, lost_property>, blanks> {};
struct object         : p::seq<p::sor<word_object, misspelt_word>, blanks, attempt<p::must<object_name>, lost_object_name>, blanks,
                               attempt<p::must<object_open>, p::seq<lost_head, brace_open>>, blanks,
                               object_body, p::sor<brace_close, object_end>> {};

struct stray_brace    : brace_close {};
struct stray_name     : lost_name {};
struct stray_property : p::seq<stray_name, blanks, p::one<'='>> {};
struct statement      : p::sor<stray_brace, stray_property, p::must<object>> {};

struct version        : p::plus<p::digit> {};
struct header_end     : p::one<';'> {};
struct header         : p::seq<word_scene, blanks, p::must<version>, blanks, p::must<header_end>> {};
struct no_header      : p::at<object_pattern> {};
struct no_scene       : p::success {};
struct beginning      : p::sor<header, no_header, no_scene> {};

struct scene          : p::seq<p::opt<p::utf8::bom>, blanks, attempt<beginning, lost_statement>, blanks,
                               p::star<p::not_at<p::eof>, attempt<statement, lost_statement>, blanks>> {};

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
        reading.mistakes.complain(
            complaint<Rule>, offsetOf(in), reading.tree.innermostBracket(), p::parse<statement_end>(rest));
    }
};

// Actions.

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

template <typename Rule>
struct Action : p::nothing<Rule> {};

// clang-format off
template <> struct Action<quoted_name>         : build<&TreeBuilder::quotedName> {};
template <> struct Action<call_word>           : build<&TreeBuilder::name> {};
template <> struct Action<data_word>           : build<&TreeBuilder::name> {};
template <> struct Action<id_digits>           : build<&TreeBuilder::name> {};
template <> struct Action<long_content>        : build<&TreeBuilder::content> {};
template <char Quote>
struct Action<short_content<Quote>>            : build<&TreeBuilder::content> {};
template <> struct Action<data_content>        : build<&TreeBuilder::content> {};
template <> struct Action<hex_digits>          : build<&TreeBuilder::content> {};
template <> struct Action<number>              : build<&TreeBuilder::number> {};
template <> struct Action<constant>            : build<&TreeBuilder::constant> {};
template <> struct Action<text>                : build<&TreeBuilder::text> {};
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
// clang-format on

template <>
struct Action<plain_name> : build<&TreeBuilder::name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        if (findWord(in.string_view()))
            reading.mistakes.note(placeOf(in), fmt::format("`{}` is a word of the language", in.string_view()),
                fmt::format("As a name it stands in back-quotes: {}.", quotedName(in.string_view())));
        build::apply(in, reading);
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
        reading.brace = placeOf(in);
    }
};

// What is noted while reading goes on.

template <>
struct Action<end_left_out> {
    static void apply0(Reading& reading)
    {
        const std::int64_t end = reading.tree.endOfValue();
        reading.mistakes.note({end, end}, "`;` is missing");
    }
};

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
        reading.brace = {end, end};
        reading.mistakes.note(reading.brace, complaint<object_open>.text);
    }
};

template <>
struct Action<object_end> {
    static void apply0(Reading& reading) { reading.mistakes.note(reading.brace, "this `{` is not closed"); }
};

template <>
struct Action<stray_brace> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.note(placeOf(in), "this `}` closes nothing");
    }
};

template <>
struct Action<no_header> {
    static void apply0(Reading& reading) { reading.mistakes.note({}, "a scene begins with `scene 1;`"); }
};

// What ends a statement, or all reading.

template <>
struct Action<bare_name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        const Span place = placeOf(in);
        const std::string found(in.string_view());
        const Word* known = findWord(found);
        const std::string hint = !known ? fmt::format("Write object.{0}, or .{0} for this object's own.", found)
            : known->takesRoundBrackets() ? fmt::format("It takes round brackets: {}(...).", found)
            : known->use == Word::Data    ? fmt::format("It takes square brackets: {}[...].", found)
                                          : "";
        reading.mistakes.giveUpStatement(place, fmt::format("{} is no value", reading.mistakes.quoted(place)), hint);
    }
};

template <>
struct Action<stray_property> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpStatement(placeOf(in), "a property stands outside an object's curly brackets");
    }
};

template <>
struct Action<open_name> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpStatement(placeOf(in), "a name in back-quotes is not empty and ends on its line");
    }
};

template <>
struct Action<open_text> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpStatement(placeOf(in), "this text is not closed on its line");
    }
};

template <>
struct Action<open_long_text> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpReading(placeOf(in), "this text is not closed");
    }
};

template <>
struct Action<open_comment> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpReading(placeOf(in), "this comment is not closed");
    }
};

template <>
struct Action<version> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        if (in.string_view() != "1")
            reading.mistakes.giveUpReading(placeOf(in),
                fmt::format("this is a scene of version {}; only version 1 can be read", in.string_view()));
    }
};

template <>
struct Action<no_scene> {
    template <typename In>
    static void apply(const In& in, Reading& reading)
    {
        reading.mistakes.giveUpReading(placeOf(in),
            in.input().size() == 0 ? "there is no scene here; one begins with `scene 1;`"
                                   : "this is no scene: it does not begin with `scene 1;`");
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
    places.seal();
    return result;
}

} // namespace Marl::Host
