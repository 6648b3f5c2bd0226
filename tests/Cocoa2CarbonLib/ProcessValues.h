// What a test asks of a process's dictionary.
#pragma once

#include "Cocoa2CarbonLib/DSProcessesInfo.h"

#include <gtest/gtest.h>

#include <string_view>
#include <variant>

/// The value of that type for a key; a failure, and an empty value, when there is none.
template <typename Value> Value value(const ProcessInfo& info, std::string_view key)
{
    const auto found = info.find(key);
    if (found == info.end() || !std::holds_alternative<Value>(found->second)) {
        ADD_FAILURE() << "no such value: " << key;
        return {};
    }
    return std::get<Value>(found->second);
}
