#pragma once

#include <marl/marl.h>

#include <span>
#include <string>
#include <string_view>

namespace Marl::Host {

// A text in quotes; bytes that are no UTF-8 are replaced.
std::string jsonText(std::string_view text);

// A number that reads back to the same bits, also in readers that take 1 for an integer. NaN and
// the infinities, which JSON does not have, are the texts "nan", "inf" and "-inf".
std::string jsonNumber(double number);

// A record by its components, as jsonValue() writes it.
std::string jsonRecord(int kind, std::span<const double> numbers);

// Numbers, texts and lists as what they are, records as arrays of their components: a matrix of its
// columns, a transform of its matrix and its offset. What only scenes can write is a text of that.
// Throws InvalidOpException for lists within lists that are too deep to be written.
std::string jsonValue(const Value& value);

} // namespace Marl::Host
