// Version numbers and the substitution of constants.
#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Constants.h"
#include "fuzz/FuzzSupport.h"

#include <string>

namespace {

Version parsed(std::u16string_view text)
{
    std::u16string scratch(text);
    Version version {};
    fuzz::require(CheckVersionSupport(version.data(), scratch.data()) == 1, "a version always parses");
    return version;
}

void compareVersions(std::u16string_view a, std::u16string_view b)
{
    const Version first = parsed(a);
    const Version second = parsed(b);
    const int order = CompareVerion(first.data(), second.data());
    fuzz::require(order >= -1 && order <= 1, "an order is -1, 0 or 1");
    fuzz::require(CompareVerion(second.data(), first.data()) == -order, "the order of two is one order");
    fuzz::require(parsed(versionText(first.data())) == first, "a version's text parses to the same version");
}

/// The first line is substituted in; the others are names and values by turns.
void substitute(std::string_view bytes)
{
    const std::u16string text = fuzz::units(fuzz::takeLine(bytes));
    CConstants constants;
    while (!bytes.empty()) {
        tagStrCon item;
        (void)item.name.assign(fuzz::units(fuzz::takeLine(bytes)));
        item.valueCut = !item.value.assign(fuzz::units(fuzz::takeLine(bytes)));
        constants.AddItem(item);
    }
    WideText mapped;
    fuzz::require(constants.MappingConstants(mapped, text.c_str()) == 1, "a text is mapped");
    fuzz::require(mapped.size() < WideText::kCapacity, "a mapped text keeps within its buffer");
    const CLumStringW whole = constants.mappedText(text);
    const CLumStringW path = constants.mappedPath(text);
    fuzz::require(path.empty() || path.view() == whole.view(), "a path that is not cut is the mapped text");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string_view input = fuzz::asText(bytes, size);
    std::string_view rest = input;
    const std::string_view first = fuzz::takeLine(rest);
    compareVersions(std::u16string(first.begin(), first.end()), std::u16string(rest.begin(), rest.end()));
    substitute(input);
    return 0;
}
