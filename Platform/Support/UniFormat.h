// A formatter for texts that come from resources: it knows just the conversions such a text may hold, so that
// a damaged or foreign resource can never read what it was not given.
#pragma once

#include "Platform/Support/Types.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

/// One value for a conversion: a text for %s, an integer for %d, a number for %.2f (and for %d: see
/// formatText).
using FormatValue = std::variant<std::u16string_view, SInt64, double>;

/// Replaces, in order, %s by a text, %d by an integer and %.Nf (N one digit) by a number with N decimals,
/// always with a point; %% is a percent sign. %d with a number prints its whole part. A conversion that is
/// none of these, that has no value left, or whose value is of another kind, stays in the text as it is and
/// takes no value.
std::u16string formatText(std::u16string_view format, std::initializer_list<FormatValue> values);
