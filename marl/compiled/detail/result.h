// The outcome of a generic instruction at one time: a value, a failure, or nothing.
#pragma once

#include <marl/ast/expression.h>
#include <marl/value/value.h>

#include <cstdint>
#include <exception>
#include <utility>

namespace Marl {

// A value or a failure that results share; a failure's exception is thrown again by whoever asks for it.
struct SharedResult {
    Value value;
    std::exception_ptr failure;
    int references = 1;
};

// A number, a value that lies elsewhere, a failure, or nothing; while keys and elements are looked up also
// what was found so far. Small, for columns keep one a time. Of one evaluator, and so counted without locks.
class Result {
public:
    enum class Kind : unsigned char { Nothing, Number, Value, Failure, Bracket, Node };

    Result() noexcept = default;
    Result(double given) noexcept : kind(Kind::Number), number(given) {}
    Result(Value&& given)
    {
        if (given.kind() == ValueType::Double) {
            kind = Kind::Number;
            number = given.getDouble();
        } else {
            shared = new SharedResult{std::move(given), nullptr};
            kind = Kind::Value;
        }
    }
    Result(ExpressionAST* given) noexcept : kind(Kind::Node), node(given) {}
    // The keys around a time: the place of the earlier one's value, that of the later one's, or noKey.
    static Result bracket(std::uint32_t earlier, std::uint32_t later, double factor) noexcept
    {
        Result made(factor);
        made.kind = Kind::Bracket;
        made.later = later != noKey;
        made.earlier = earlier;
        return made;
    }
    static constexpr std::uint32_t noKey = ~std::uint32_t(0);

    static Result failed(std::exception_ptr failure)
    {
        Result made;
        made.shared = new SharedResult{Value(), std::move(failure)};
        made.kind = Kind::Failure;
        return made;
    }

    Result(const Result& other) noexcept { copy(other); }
    Result(Result&& other) noexcept
    {
        copyBits(other);
        other.kind = Kind::Nothing;
    }
    Result& operator=(const Result& other) noexcept
    {
        Result given(other);
        return *this = std::move(given);
    }
    Result& operator=(Result&& other) noexcept
    {
        if (this != &other) {
            release();
            copyBits(other);
            other.kind = Kind::Nothing;
        }
        return *this;
    }
    ~Result() { release(); }

    Kind getKind() const noexcept { return kind; }
    bool isNumber() const noexcept { return kind == Kind::Number; }
    bool isFailure() const noexcept { return kind == Kind::Failure; }

    double getNumber() const noexcept { return number; }
    // Undefined where there is nothing.
    Value getValue() const
    {
        if (kind == Kind::Number)
            return Value(number);
        return kind == Kind::Value ? shared->value : Value();
    }
    [[noreturn]] void rethrow() const { std::rethrow_exception(shared->failure); }

    ExpressionAST* getNode() const noexcept { return node; }
    std::uint32_t getEarlier() const noexcept { return earlier; }
    bool hasLater() const noexcept { return later; }

private:
    bool isShared() const noexcept { return kind == Kind::Value || kind == Kind::Failure; }
    void copyBits(const Result& other) noexcept
    {
        kind = other.kind;
        later = other.later;
        earlier = other.earlier;
        number = other.number;
    }
    void copy(const Result& other) noexcept
    {
        copyBits(other);
        if (isShared())
            ++shared->references;
    }
    void release() noexcept
    {
        if (isShared() && --shared->references == 0)
            delete shared;
    }

    Kind kind = Kind::Nothing;
    bool later = false;
    std::uint32_t earlier = 0;
    union {
        double number = 0;
        SharedResult* shared;
        ExpressionAST* node;
    };
};

static_assert(sizeof(Result) == 16);

} // namespace Marl
