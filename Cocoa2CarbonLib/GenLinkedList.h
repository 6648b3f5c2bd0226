// A small singly linked list of untyped items, each of which is handed to a dispose procedure at the end.
#pragma once

#include "Platform/Support/Types.h"

/// Called with each item's data when its list is destroyed.
using DisposeDataProcPtr = void (*)(void* data);

struct GenNode {
    GenNode* next;
    void* data;
};

/// Owns its nodes; of the data it owns what the dispose procedure says.
struct GenLinkedList {
    GenNode* firstNode;
    GenNode* lastNode;
    UInt32 itemCount;
    DisposeDataProcPtr disposeProc; ///< may be null: nothing is called
};

/// A walk over a list's items in order.
struct GenIterator {
    GenNode* next;
};

/// Makes an empty list; a null list is left alone.
void InitLinkedList(GenLinkedList* list, DisposeDataProcPtr disposeProc);
/// 0 for a null list.
UInt32 GetNumberOfItems(const GenLinkedList* list);
/// Appends an item. paramErr when list or data is null, memFullErr when no node could be allocated.
OSStatus AddToTail(GenLinkedList* list, void* data);
/// Moves all items of `from` into `list`, in front of those already there; `from` is empty afterwards.
void InsertList(GenLinkedList* list, GenLinkedList* from);
/// Calls the dispose procedure for each item in order, frees the nodes and empties the list.
void DestroyList(GenLinkedList* list);

void InitIterator(const GenLinkedList* list, GenIterator* iterator);
/// The next item's data, or null after the last one. The item that was given may be changed but not removed
/// meanwhile.
void* Next(GenIterator* iterator);
