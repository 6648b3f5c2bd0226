#include "tests/Platform/Lumen/FormFixture.h"

namespace {

SInt32 defineWindow(SInt16, WindowRef, SInt16 message, std::intptr_t param)
{
    if (message == kWindowMsgGetFeatures)
        *reinterpret_cast<UInt32*>(param) = 0;
    return 1;
}

} // namespace

FormFixture::FormFixture()
{
    FSSpec place;
    place.path = folder.path().string();
    EXPECT_TRUE(files.OpenFolder(place));
    const WindowDefSpec def {kWindowDefProcPtr, &defineWindow};
    const Rect bounds {0, 0, 300, 400};
    CreateCustomWindow(&def, kDocumentWindowClass, 0, &bounds, &window);
}

FormFixture::~FormFixture()
{
    if (window)
        close();
    windows::settle();
}

void FormFixture::close()
{
    Lum0SMDetachSurface(Lum0SMGetSurfaceManage(), window);
    DisposeWindow(std::exchange(window, nullptr));
}

std::string FormFixture::form(const std::string& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ui version=\"4.0\"><class>Form</class>"
           "<widget class=\"QFrame\" name=\"Form\"><property "
           "name=\"geometry\"><rect><x>0</x><y>0</y><width>400</width>"
           "<height>300</height></rect></property>"
        + body + "</widget></ui>\n";
}

std::string FormFixture::widget(const char* className, const char* name, const std::string& properties)
{
    return std::string("<widget class=\"") + className + "\" name=\"" + name
        + "\"><property "
          "name=\"geometry\"><rect><x>10</x><y>10</y><width>300</width><height>200</height></rect>"
          "</property>"
        + properties + "</widget>";
}

LumSurface* FormFixture::createSurface(std::u16string_view layout)
{
    return Lum0SMCreateSurfaceW(Lum0SMGetSurfaceManage(), window, layout, &files);
}

PubLumen::LumPanel* FormFixture::show(const std::string& body)
{
    folder.write("Form.aui", form(body));
    LumSurface* surface = createSurface(u"Form.aui");
    PubLumen::LumPanel* panel = surface ? Lum0SurfaceGetRootPanel(surface) : nullptr;
    Lum0Release(surface);
    ShowWindow(window);
    return panel;
}
