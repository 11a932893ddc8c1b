// The list library on the host: linear lists walked forward from the head.
#include "clb_list.h"

int zulCLBLstAdd(LIST* list, NODE* node)
{
    if (list == nullptr || node == nullptr) {
        return 1;
    }
    node->next = nullptr;
    node->previous = list->node.previous;
    if (list->node.previous == nullptr || list->count <= 0) {
        list->node.next = node;
        node->previous = nullptr;
    } else {
        list->node.previous->next = node;
    }
    list->node.previous = node;
    list->count++;
    return 0;
}

NODE* zulCLBLstNth(LIST* list, int n)
{
    if (list == nullptr || n < 1 || n > list->count) {
        return nullptr;
    }
    NODE* node = list->node.next;
    for (int step = 1; step < n && node != nullptr; ++step) {
        node = node->next;
    }
    return node;
}
