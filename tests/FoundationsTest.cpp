// Vector3D arithmetic and log line, the List ring, and Singleton's one lazy instance.
#include "List.h"
#include "Logfile.h"
#include "Node.h"
#include "Singleton.h"
#include "TestSupport.h"
#include "Vector3D.h"

#include <GL/gl.h>

#include <vector>

namespace {

using FoundationsTest = TempDirTest;

// Records the order of updates and draws, and can unlink itself from its ring when updated.
class Recorder : public Node {
public:
    Recorder(const char* n, std::vector<std::string>* log) : log_(log) { name = n; }
    void draw() override { log_->push_back("draw " + name); }
    void update(float) override {
        log_->push_back("update " + name);
        if (unlinkOnUpdate) {
            prev->next = next;
            next->prev = prev;
            prev = next = this;
        }
    }
    bool unlinkOnUpdate = false;

private:
    std::vector<std::string>* log_;
};

std::vector<std::string> ringNames(const List& list, bool forward) {
    std::vector<std::string> names;
    Node* p = list.head();
    do {
        names.push_back(p->name);
        p = forward ? p->next : p->prev;
    } while (p != list.head());
    return names;
}

TEST_F(FoundationsTest, VectorArithmeticKeepsWAndComputesProducts) {
    const Vector3D a(1, 2, 3);
    EXPECT_FLOAT_EQ(a.w, 1.0f);
    Vector3D b(4, -5, 6);
    b.w = 7.0f;
    const Vector3D sum = a + b;
    EXPECT_FLOAT_EQ(sum.x, 5);
    EXPECT_FLOAT_EQ(sum.y, -3);
    EXPECT_FLOAT_EQ(sum.z, 9);
    const Vector3D scaled = b * 2.0f;
    EXPECT_FLOAT_EQ(scaled.y, -10);
    EXPECT_FLOAT_EQ(scaled.w, 7.0f) << "w is carried, never scaled";
    b *= 0.5f;
    EXPECT_FLOAT_EQ(b.x, 2);
    EXPECT_FLOAT_EQ(Vector3D::dot(a, Vector3D(4, -5, 6)), 4 - 10 + 18);
    const Vector3D c = Vector3D::cross(Vector3D(1, 0, 0), Vector3D(0, 1, 0));
    EXPECT_FLOAT_EQ(c.x, 0);
    EXPECT_FLOAT_EQ(c.y, 0);
    EXPECT_FLOAT_EQ(c.z, 1);
    const Vector3D d = Vector3D::cross(Vector3D(0, 0, -1), Vector3D(0, 1, 0));
    EXPECT_FLOAT_EQ(d.x, 1);
}

TEST_F(FoundationsTest, VectorLogWritesOneLineWithDefaultFormatting) {
    Vector3D(12.5f, 0.0f, -3.0f).log();
    Vector3D(0.1f, 1e7f, 2.0f).log();
    const auto lines = readLines("log.txt");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "vector/12.5/0/-3");
    EXPECT_EQ(lines[1], "vector/0.1/1e+07/2");
}

TEST_F(FoundationsTest, LoneHeadCountsOneAndHasNoSecondNode) {
    std::vector<std::string> events;
    Recorder head("H", &events);
    List list(&head);
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(list.getAt(0), &head);
    EXPECT_EQ(list.getAt(1), nullptr);
    EXPECT_TRUE(list.hasLinks());
    list.updateAll(0.1f);
    EXPECT_EQ(events, std::vector<std::string>{"update H"});
}

TEST_F(FoundationsTest, AttachAppendsAtTailInBothDirections) {
    std::vector<std::string> events;
    Recorder h("H", &events), a("A", &events), b("B", &events), c("C", &events);
    List list(&h);
    list.attach(&a);
    list.attach(&b);
    list.attach(&c);
    EXPECT_EQ(ringNames(list, true), (std::vector<std::string>{"H", "A", "B", "C"}));
    EXPECT_EQ(ringNames(list, false), (std::vector<std::string>{"H", "C", "B", "A"}));
    EXPECT_EQ(list.count(), 4);
    EXPECT_EQ(list.getAt(3), &c);
    EXPECT_EQ(list.getAt(4), nullptr) << "getAt must not wrap past the end";
    EXPECT_EQ(list.getAt(9), nullptr);
}

TEST_F(FoundationsTest, DoubleAttachLeavesRingAndLogsOnce) {
    std::vector<std::string> events;
    Recorder h("H", &events), a("A", &events), b("B", &events);
    List list(&h);
    list.attach(&a);
    list.attach(&b);
    list.attach(&a);
    EXPECT_EQ(ringNames(list, true), (std::vector<std::string>{"H", "A", "B"}));
    EXPECT_EQ(ringNames(list, false), (std::vector<std::string>{"H", "B", "A"}));
    const auto lines = readLines("log.txt");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "Tried to attach a Node to a List... Node already is attached!!!");
}

TEST_F(FoundationsTest, UpdateAllSurvivesANodeThatUnlinksItself) {
    std::vector<std::string> events;
    Recorder h("H", &events), a("A", &events), b("B", &events), c("C", &events);
    List list(&h);
    list.attach(&a);
    list.attach(&b);
    list.attach(&c);
    b.unlinkOnUpdate = true;
    b.visible = false;
    list.updateAll(0.1f);
    EXPECT_EQ(events, (std::vector<std::string>{"update H", "update A", "update B", "update C"}));
    EXPECT_EQ(list.count(), 3);
    events.clear();
    a.visible = false;
    list.updateAll(0.1f);
    EXPECT_EQ(events, (std::vector<std::string>{"update H", "update A", "update C"}))
        << "hidden nodes are still updated";
}

TEST_F(FoundationsTest, DrawAllSkipsHiddenNodesButKeepsTheirMatrixScope) {
    openTestWindow();
    std::vector<std::string> events;
    Recorder h("H", &events), a("A", &events), b("B", &events);
    List list(&h);
    list.attach(&a);
    list.attach(&b);
    a.visible = false;
    GLint before = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &before);
    list.drawAll();
    GLint after = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &after);
    EXPECT_EQ(events, (std::vector<std::string>{"draw H", "draw B"}));
    EXPECT_EQ(before, after);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(FoundationsTest, NodeStartsAsARingOfOne) {
    Node n;
    EXPECT_EQ(n.next, &n);
    EXPECT_EQ(n.prev, &n);
    EXPECT_EQ(n.name, "NoName");
    EXPECT_TRUE(n.visible);
}

struct Counted {
    Counted() { ++constructed; }
    static inline int constructed = 0;
};

TEST(SingletonTest, CreatesOneInstanceLazily) {
    EXPECT_EQ(Counted::constructed, 0);
    Counted* first = Singleton<Counted>::getInstance();
    EXPECT_EQ(Counted::constructed, 1);
    EXPECT_EQ(Singleton<Counted>::getInstance(), first);
    EXPECT_EQ(Counted::constructed, 1);
}

} // namespace
