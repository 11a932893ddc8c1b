// List library of the platform: linear lists of caller-allocated nodes.
//
// A list head holds a node whose next points at the first element and whose
// previous points at the last; the last element's next is null. Walks go
// forward from the head only, so a head copied by value still reaches its
// elements. Each element is one block that starts with a NODE.
#ifndef NORVANE_PLATFORM_CLB_LIST_H
#define NORVANE_PLATFORM_CLB_LIST_H

typedef struct _NODE {
    struct _NODE* next;
    struct _NODE* previous;
} NODE;

typedef struct _LIST {
    NODE node;
    int count;
} LIST;

// Appends node at the end and counts it. Returns 0, non-zero for null args.
int zulCLBLstAdd(LIST* list, NODE* node);

// The n-th node counted from 1; null when n is below 1 or above count.
NODE* zulCLBLstNth(LIST* list, int n);

#endif
