// Documents: descriptors as trees, property lists as objects.
#include "bench/Rows.h"

#include "Platform/CoreFoundation/CFPropertyListReading.h"
#include "Platform/CoreFoundation/CFXMLNode.h"

#include <expat.h>
#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace bench {
namespace {

constexpr std::size_t kDescriptorBytes = 1'000'000;
constexpr int kListEntries = 4000;
constexpr int kRepeats = 5;
constexpr int kRounds = 9;

std::string descriptor()
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<UPDATEINFO>\n<FILES>\n";
    for (int i = 0; text.size() < kDescriptorBytes; ++i) {
        const std::string number = std::to_string(i);
        text += "<FILE name=\"Velmora Sketch\" check=\"version\" version=\"2.1.0." + number
            + "\" size=\"7654321\" title=\"Velmora Sketch &amp; more\">\n<action "
              "type=\"download\"><destination>"
              "%updatertemp%/sketch.zip</destination><location>sketch-"
            + number
            + ".zip</location></action>\n<action type=\"unzip\"><location>%updatertemp%/sketch.zip"
              "</location></action>\n</FILE>\n";
    }
    return text + "</FILES>\n</UPDATEINFO>\n";
}

void readOurTree(const std::string& text)
{
    const CFRef data = adoptCF(CFDataCreate(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()), static_cast<CFIndex>(text.size())));
    const CFRef tree = adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
    require(tree && CFTreeGetChildCount(tree) == 1, "a descriptor's tree");
}

void readWithExpat(const std::string& text)
{
    XML_Parser const parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
    require(XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK, "expat");
    XML_ParserFree(parser);
}

/// Entries like those of a product's property list.
plist_t makeList()
{
    plist_t list = plist_new_dict();
    for (int i = 0; i < kListEntries; ++i) {
        plist_t entry = plist_new_dict();
        const std::string number = std::to_string(i);
        plist_dict_set_item(entry, "CFBundleName", plist_new_string(("Velmora Sketch " + number).c_str()));
        plist_dict_set_item(entry, "CFBundleVersion", plist_new_string(("2.1.0." + number).c_str()));
        plist_dict_set_item(entry, "servertimeout", plist_new_uint(static_cast<uint64_t>(i)));
        plist_dict_set_item(entry, "hidden", plist_new_bool(i % 2 == 0));
        plist_dict_set_item(entry, "icon", plist_new_data(number.data(), number.size()));
        plist_dict_set_item(list, number.c_str(), entry);
    }
    return list;
}

std::string written(void (*write)(plist_t, char**, uint32_t*))
{
    const std::unique_ptr<void, void (*)(void*)> list(makeList(), plist_free);
    char* bytes = nullptr;
    uint32_t size = 0;
    write(list.get(), &bytes, &size);
    std::string text(bytes, size);
    std::free(bytes);
    return text;
}

void readWithLibplist(const std::string& bytes)
{
    plist_t list = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &list);
    require(list && plist_dict_get_size(list) == kListEntries, "libplist");
    plist_free(list);
}

void readOurList(const std::string& bytes)
{
    require(readPropertyList({reinterpret_cast<const UInt8*>(bytes.data()), bytes.size()}) != nullptr,
        "a property list");
}

Measure repeated(void (*read)(const std::string&), const std::string& bytes)
{
    return [read, &bytes] {
        return secondsOf([&] {
            for (int i = 0; i < kRepeats; ++i)
                read(bytes);
        }) / kRepeats;
    };
}

} // namespace

void documentRows(Table& table)
{
    const std::string text = descriptor();
    table.row("descriptor of 1 MB as a tree", "expat with empty handlers", repeated(readOurTree, text),
        repeated(readWithExpat, text), kRounds);
    const std::string xml
        = written([](plist_t list, char** bytes, uint32_t* size) { plist_to_xml(list, bytes, size); });
    table.row("XML property list of " + std::to_string(xml.size() / 1000) + " kB", "libplist",
        repeated(readOurList, xml), repeated(readWithLibplist, xml), kRounds);
    const std::string binary
        = written([](plist_t list, char** bytes, uint32_t* size) { plist_to_bin(list, bytes, size); });
    table.row("binary property list of " + std::to_string(binary.size() / 1000) + " kB", "libplist",
        repeated(readOurList, binary), repeated(readWithLibplist, binary), kRounds);
}

} // namespace bench
