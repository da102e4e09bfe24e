// Node links: a fresh node is a ring of one; destruction clears the links but does not unlink.
#include "Node.h"

Node::Node() : prev(this), next(this) {
}

Node::~Node() {
    prev = nullptr;
    next = nullptr;
}
