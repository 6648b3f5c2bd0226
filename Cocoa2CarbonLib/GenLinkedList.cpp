#include "Cocoa2CarbonLib/GenLinkedList.h"

#include "Platform/Support/ErrorNumbers.h"

#include <memory>
#include <new>

void InitLinkedList(GenLinkedList* list, DisposeDataProcPtr disposeProc)
{
    if (list)
        *list = {nullptr, nullptr, 0, disposeProc};
}

UInt32 GetNumberOfItems(const GenLinkedList* list)
{
    return list ? list->itemCount : 0;
}

OSStatus AddToTail(GenLinkedList* list, void* data)
{
    if (!list || !data)
        return paramErr;
    GenNode* const node = new (std::nothrow) GenNode {nullptr, data};
    if (!node)
        return memFullErr;
    (list->lastNode ? list->lastNode->next : list->firstNode) = node;
    list->lastNode = node;
    ++list->itemCount;
    return noErr;
}

void InsertList(GenLinkedList* list, GenLinkedList* from)
{
    if (!list || !from || list == from || !from->firstNode)
        return;
    from->lastNode->next = list->firstNode;
    list->firstNode = from->firstNode;
    if (!list->lastNode)
        list->lastNode = from->lastNode;
    list->itemCount += from->itemCount;
    InitLinkedList(from, from->disposeProc);
}

void DestroyList(GenLinkedList* list)
{
    if (!list)
        return;
    GenNode* next = list->firstNode;
    InitLinkedList(list, list->disposeProc);
    while (next) {
        const std::unique_ptr<GenNode> node(next);
        next = node->next;
        if (list->disposeProc)
            list->disposeProc(node->data);
    }
}

void InitIterator(const GenLinkedList* list, GenIterator* iterator)
{
    if (iterator)
        iterator->next = list ? list->firstNode : nullptr;
}

void* Next(GenIterator* iterator)
{
    if (!iterator || !iterator->next)
        return nullptr;
    const GenNode* const node = iterator->next;
    iterator->next = node->next;
    return node->data;
}
