#include <zblib/types/ZbHandle.h>

#include <zblib/types/ZbHandable.h>

#include <gtest/gtest.h>

#include <vector>

template class ZbHandle<ZbHandable>;

namespace
{

struct Node : ZbHandable {
    Node() { ++alive; }
    Node(const Node& other) : ZbHandable(other) { ++alive; }
    Node& operator=(const Node&) = default;
    ~Node() override
    {
        --alive;
        EXPECT_FALSE(holder && *holder);
    }
    void notifyDelete() override { countsWhenNotified.push_back(getRefCount()); }

    ZbHandle<Node> next;
    const ZbHandle<Node>* holder = nullptr;
    static inline int alive = 0;
    static inline std::vector<int> countsWhenNotified;
};

}  // namespace

TEST(ZbHandle, theLastOneNotifiesOnceAndDeletes)
{
    ZbHandle<Node> a(new Node);
    {
        const ZbHandle<Node> b = a;
        const ZbHandle<ZbHandable> base = a;
        EXPECT_EQ(a->getRefCount(), 3);
        EXPECT_TRUE(a == b && base == a && a == a.get() && a != nullptr);
        ZbHandle<Node> moved = std::move(a);
        EXPECT_EQ(moved->getRefCount(), 3);
        EXPECT_TRUE(a == nullptr && !a && a != moved);
        a = std::move(moved);
    }
    EXPECT_EQ(a->getRefCount(), 1);
    EXPECT_TRUE(Node::countsWhenNotified.empty());
    {
        const ZbHandle<Node> last = std::move(a);
        last->holder = &last;  // sees it empty when it dies
    }
    (new Node)->unref();  // without a reference it goes at once
    EXPECT_EQ(Node::countsWhenNotified, (std::vector<int>{0, -1}));
    EXPECT_EQ(Node::alive, 0);
}

TEST(ZbHandle, countsAreNotCopiedWithTheObject)
{
    Node a, b;
    a.ref();
    b = Node(a);
    EXPECT_EQ(Node(std::move(a)).getRefCount() + b.getRefCount(), 0);
    b = a;
    EXPECT_EQ(a.getRefCount() - b.getRefCount(), 1);
}

TEST(ZbHandle, assignmentTakesTheNewObjectBeforeItLetsGoOfTheOld)
{
    ZbHandle<Node> list(new Node);
    list->next = new Node;
    list->next->next = new Node;
    list = list->next;
    EXPECT_EQ(Node::alive, 2);
    list = *&list;
    list = list.get();
    EXPECT_EQ(list->getRefCount(), 1);
    list = list->next.get();
    EXPECT_EQ(Node::alive, 1);
}
