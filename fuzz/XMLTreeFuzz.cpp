// XML trees: any document gives a whole tree or none.
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreFoundation/CFXMLNode.h"
#include "fuzz/FuzzSupport.h"

#include <vector>

namespace {

constexpr std::size_t kMaxNodes = 3'000'000;

void lookAtNode(CFXMLNodeRef node)
{
    fuzz::require(CFXMLNodeGetString(node) != nullptr, "every node has a text");
    const auto* const info = static_cast<const CFXMLElementInfo*>(CFXMLNodeGetInfoPtr(node));
    const bool isElement = CFXMLNodeGetTypeCode(node) == kCFXMLNodeTypeElement;
    fuzz::require((info != nullptr) == isElement, "elements alone have attributes");
    if (CFXMLNodeGetTypeCode(node) == kCFXMLNodeTypeText)
        fuzz::require(CFStringGetLength(CFXMLNodeGetString(node)) > 0, "no text node is empty");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const CFRef data = adoptCF(CFDataCreate(kCFAllocatorDefault, bytes, static_cast<CFIndex>(size)));
    const CFRef tree = adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
    if (!tree)
        return 0;
    std::vector<CFTreeRef> waiting = {tree};
    std::size_t seen = 0;
    while (!waiting.empty()) {
        const CFTreeRef next = waiting.back();
        waiting.pop_back();
        fuzz::require(++seen <= kMaxNodes, "a tree keeps within its bound");
        lookAtNode(CFXMLTreeGetNode(next));
        CFXMLNodeTypeCode before = kCFXMLNodeTypeDocument;
        for (CFIndex i = 0; i < CFTreeGetChildCount(next); ++i) {
            const CFTreeRef child = CFTreeGetChildAtIndex(next, i);
            const CFXMLNodeTypeCode type = CFXMLNodeGetTypeCode(CFXMLTreeGetNode(child));
            fuzz::require(type != kCFXMLNodeTypeText || before != kCFXMLNodeTypeText,
                "adjacent pieces of text are one node");
            before = type;
            waiting.push_back(child);
        }
    }
    return 0;
}
