// Core Foundation results as error numbers.
#pragma once

#include "Platform/Support/Types.h"

/// 0 when `ok` is true, else coreFoundationUnknownErr.
int CFQErrorBoolean(unsigned char ok);
/// 0 when `object` is not null, else coreFoundationUnknownErr.
int CFQError(const void* object);
/// Releases a Core Foundation object unless it is null.
void CFQRelease(const void* object);
