// Numbers of a board file. Lengths stand there in millimetres with at most six decimals and are kept as whole
// nanometres.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/corvane/board/SExpression.h"
#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {

/// Nanometres of a text in millimetres; further decimals are rounded. Nothing if it is no number or beyond a thousand
/// kilometres.
std::optional<std::int64_t> parse_nanometres(std::string_view text);

/// Nothing unless the whole text is a decimal integer that fits an int.
std::optional<int> parse_whole(std::string_view text);

// The item's own value; BoardError at its place if it has none.
std::int64_t nanometres(const Item& word);
double real_number(const Item& word);
int whole_number(const Item& word);

/// The first two words of a list.
Point point_of(const Item& list);

/// The first word of the child list `name`, or `otherwise` when there is no such list.
std::int64_t nanometres_in(const Item& list, std::string_view name, std::int64_t otherwise);
double real_number_in(const Item& list, std::string_view name, double otherwise);

/// The point in the child list `name`, which must be there.
Point point_in(const Item& list, std::string_view name);

}  // namespace CorvaneTool
