#include "Update/descriptor/General.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

#include <initializer_list>

namespace {

struct Keyword {
    std::u16string_view word;
    SInt32 code;
};

/// Sets `field` to the code of the keyword that `value` is, ignoring case; no keyword leaves it as it is.
void readKeyword(std::u16string_view value, std::initializer_list<Keyword> keywords, SInt32& field)
{
    for (const Keyword& keyword : keywords)
        if (equalIgnoringCase(value, keyword.word))
            field = keyword.code;
}

} // namespace

int CGeneral::Parse(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"GENERAL"))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (element)
            readKey(element->key, element->value, *constants);
    }
    return 1;
}

void CGeneral::readKey(std::u16string_view key, std::u16string_view value, const CConstants& constants)
{
    // Each flag can only be moved away from its default: that is meant.
    if (equalIgnoringCase(key, u"TYPE"))
        readKeyword(value,
            {{u"updater", kUpdaterDescriptor}, {u"section", kSectionDescriptor}, {u"app", kAppDescriptor},
                {u"common", kCommonDescriptor}},
            descriptorType);
    else if (equalIgnoringCase(key, u"VERSION"))
        version = versionOf(constants.mappedText(value));
    else if (equalIgnoringCase(key, u"CLOSEAPPLICATION"))
        readKeyword(value,
            {{u"True", 1}, {u"False", 0}, {u"Restart", 2}, {u"Restartsystem", 3}, {u"Restartsystemapp", 4}},
            closeApplication);
    else if (equalIgnoringCase(key, u"CHECKSEPARATALY"))
        readKeyword(value, {{u"True", 1}}, checkSeparately);
    else if (equalIgnoringCase(key, u"SHOWERRORS"))
        readKeyword(value, {{u"True", 1}}, showErrors);
    else if (equalIgnoringCase(key, u"SELFUPDATE"))
        readKeyword(value, {{u"False", 0}}, selfUpdate);
    else if (equalIgnoringCase(key, u"RESUMEDOWNLOADS"))
        readKeyword(value, {{u"False", 0}}, resumeDownloads);
    else if (equalIgnoringCase(key, u"FORCEUPDATE"))
        readKeyword(value, {{u"True", 1}}, forceUpdate);
}
