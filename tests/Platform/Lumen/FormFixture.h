// A window filled from a form that the test writes, and a procedure that records its calls.
#pragma once

#include "Platform/Carbon/WindowsInternal.h"
#include "Platform/Lumen/LumPanel.h"
#include "Platform/Lumen/LumResource.h"
#include "Platform/Lumen/LumSurface.h"
#include "Platform/Lumen/LumTree.h"
#include "tests/support/TempDir.h"
#include "tests/support/Windows.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// What a control procedure was called with.
struct ControlCall {
    const void* control;
    SInt32 message;
    const void* userData;
    PubLumen::LumTreeMouse mouse; ///< for a tree's clicks
};

struct ControlLog {
    std::vector<ControlCall> calls;
    std::function<void()> then;

    static SInt32 proc(const void* control, SInt32 message, const void* parameter, const void* userData)
    {
        auto& log = *static_cast<ControlLog*>(const_cast<void*>(userData));
        ControlCall call {control, message, userData, {}};
        if (parameter)
            call.mouse = *static_cast<const PubLumen::LumTreeMouse*>(parameter);
        log.calls.push_back(call);
        if (log.then)
            log.then();
        return 0;
    }
};

class FormFixture : public testing::Test {
protected:
    FormFixture();
    ~FormFixture() override;

    /// Writes the form with `body` inside its root widget, and fills a new, shown window from it.
    PubLumen::LumPanel* show(const std::string& body);
    LumSurface* createSurface(std::u16string_view layout);
    /// Detaches and disposes the window, as its owner does.
    void close();
    static std::string form(const std::string& body);
    /// A widget of a form.
    static std::string widget(const char* className, const char* name, const std::string& properties = {});

    ScopedTempDir folder;
    PubLumen::LumFileManager files;
    WindowRef window = nullptr;
    ControlLog log;
};
