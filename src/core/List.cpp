// The scene's ring of nodes: attach at the tail, counted and indexed walks, draw and update passes.
#include "List.h"

#include "Logfile.h"
#include "Node.h"

#include <GL/gl.h>

static const char* const kAlreadyAttached =
    "Tried to attach a Node to a List... Node already is attached!!!";

List::List(Node* head) : head_(head) {
}

void List::attach(Node* n) {
    if (n->next != n) {
        Logfile::appendLine(kAlreadyAttached);
        return;
    }
    if (head_->next == head_) {
        head_->next = n;
        head_->prev = n;
        n->next = head_;
        n->prev = head_;
        return;
    }
    Node* tail = head_->prev;
    tail->next = n;
    n->prev = tail;
    head_->prev = n;
    n->next = head_;
}

int List::count() const {
    int n = 1;
    for (Node* p = head_->next; p != head_ && p != nullptr; p = p->next) {
        ++n;
    }
    return n;
}

Node* List::getAt(int i) const {
    Node* p = head_;
    for (int step = 0; step < i; ++step) {
        p = p->next;
        if (p == head_ || p == nullptr) {
            return nullptr;
        }
    }
    return p;
}

void List::drawAll() {
    for (Layer layer : {Layer::kSolid, Layer::kSky, Layer::kBlended}) {
        drawPass(layer);
    }
}

void List::drawOverlays() {
    drawPass(Layer::kOverlay);
}

void List::drawPass(Layer layer) {
    Node* p = head_;
    do {
        if (p->visible && p->layer == layer) {
            glPushMatrix();
            p->draw();
            glPopMatrix();
        }
        p = p->next;
    } while (p != head_ && p != nullptr);
}

void List::updateAll(float dt) {
    Node* p = head_;
    do {
        Node* following = p->next;
        p->update(dt);
        p = following;
    } while (p != head_ && p != nullptr);
}

bool List::hasLinks() const {
    return head_->prev != nullptr;
}
