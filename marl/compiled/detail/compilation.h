// What is compiled of some expressions: the programs that they are in.
#pragma once

#include <marl/compiled/detail/program.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Marl {

struct Compilation {
    explicit Compilation(std::span<ExpressionAST* const> expressions);

    // On failure all is as it was.
    void update(std::span<PropertyAST* const> edited);

    // A program, and the columns that it was made for; some may have moved to a later program.
    struct Part {
        std::shared_ptr<const CompiledProgram> program; // null once no column is left; the next one comes here
        std::vector<std::uint32_t> columns;
        std::size_t left = 0;
    };

    std::vector<CompiledRoot> roots; // by column
    std::vector<Part> parts;
    std::uint64_t version = 0; // changes with the parts

private:
    struct Holding {
        const PropertyAST* property;
        std::uint32_t column;
    };

    std::vector<CompiledRoot> affected(std::span<PropertyAST* const> edited) const;
    bool takeAlong(std::vector<CompiledRoot>& changed, std::size_t size) const;
    void replace(std::span<const CompiledRoot> changed, Part&& part) noexcept;
    void sortHoldings() noexcept;

    std::vector<Holding> holdings; // of all roots, by property
};

} // namespace Marl
