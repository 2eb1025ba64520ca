// The grammar of the scene text, rule by rule, as templates of a parser library; they say only what
// matches. reader.cpp alone includes them and says what is made of it.
#pragma once

#include <host/scene/data_skipping.h>
#include <host/scene/reader.h>
#include <host/scene/tree_builder.h>

#include <marl/ast/list_text.h>

#include <fmt/format.h>
#include <tao/pegtl.hpp>

namespace Marl::Host::Grammar {

namespace p = tao::pegtl;

using Input = p::memory_input<p::tracking_mode::lazy, p::eol::lf, const char*>;

// What rules and actions share.
struct Reading {
    MappedText& mapped;
    SyntaxMistakes& mistakes;
    TreeBuilder& tree;
    LostNames& lost;
    Span openingBrace = {};
};

inline std::int64_t offsetOf(const Input& in)
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
            reading.mistakes.giveUpStatement({offsetOf(in), offsetOf(in)},
                                             fmt::format("values are nested more than {} deep here", deepest));
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
        in.bump(skipData({in.current(), in.size()},
                         [&](const char* skipped) { reading.mapped.giveBackBefore(skipped); }));
        return true;
    }
};

// A text or comment, which the library finds the end of, as it does within data lists.
template <TextStretch (*stretchAt)(std::string_view)>
struct closed_stretch {
    using rule_t = closed_stretch;
    using subs_t = p::empty_list;

    static bool match(Input& in)
    {
        const TextStretch found = stretchAt({in.current(), in.size()});
        if (found.isClosed)
            in.bump(found.length);
        return found.isClosed;
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
struct closed_comment : closed_stretch<commentAt> {};
struct open_comment   : p::string<'/', '*'> {};
struct comment        : p::sor<closed_comment, open_comment> {};
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

struct text           : closed_stretch<quotedTextAt> {};
struct open_long_text : p::string<'"', '"', '"'> {};
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
struct skipped_text   : p::seq<p::at<p::one<'"', '\''>>, p::disable<text>> {};
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
// clang-format on

} // namespace Marl::Host::Grammar
