// Node links: a fresh node is a ring of one; destruction clears the links but does not unlink.
#include "Node.h"

Node::Node() : prev(this), next(this) {
}

Node::~Node() {
    prev = nullptr;
    next = nullptr;
}

void Node::unlink() {
    if (next == this || next == nullptr || prev == nullptr) {
        return;
    }
    prev->next = next;
    next->prev = prev;
    prev = this;
    next = this;
}
