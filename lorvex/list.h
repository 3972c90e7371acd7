// Circular lists of static nodes, so entering one needs no memory. The sentinel head is of the
// nodes' type and points to itself when the list is empty.
#ifndef LORVEX_LIST_H
#define LORVEX_LIST_H

// Enters node, which is in no list, at the tail.
template <typename Node>
void lorvex_enterNode(Node* head, Node* node)
{
   node->next = head;
   node->prev = head->prev;
   head->prev->next = node;
   head->prev = node;
}

// Takes node out and leaves it alone in a list of its own; one that is alone stays so.
template <typename Node>
void lorvex_removeNode(Node* node)
{
   node->prev->next = node->next;
   node->next->prev = node->prev;
   node->next = node;
   node->prev = node;
}

#endif
