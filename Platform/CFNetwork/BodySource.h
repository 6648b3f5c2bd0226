// Where a read stream's bytes come from. Private to this folder.
#pragma once

#include "Platform/Support/Types.h"

#include <functional>

enum class BodyState { running, ended, failed };

class BodySource {
public:
    virtual ~BodySource() = default;

    /// Starts. False when it cannot even start. `onChange` is called whenever bytes, the end or an error
    /// came; it may only make a note of that, since it can be called in the middle of a transfer's work.
    virtual bool open(std::function<void()> onChange) = 0;
    /// Makes progress, waiting for it up to a millisecond.
    virtual void drive() = 0;
    virtual bool hasBytes() const = 0;
    /// Takes up to `length` (more than 0) of the bytes held; 0 when there are none.
    virtual SInt32 read(UInt8* buffer, SInt32 length) = 0;
    /// Whether more will come; bytes held may still be waiting after the end or a failure.
    virtual BodyState state() const = 0;
    /// The status of the answer, 0 when none came.
    virtual SInt32 responseStatus() const = 0;
};
