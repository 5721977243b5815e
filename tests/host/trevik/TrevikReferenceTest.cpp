#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

using namespace trevik;

namespace {

int g_nAlive = 0;

class Object : public Referenced {
public:
    explicit Object(int value = 0) : m_nValue(value) { ++g_nAlive; }
    Object(Object const& other) : Referenced(other), m_nValue(other.m_nValue) { ++g_nAlive; }
    ~Object() override { --g_nAlive; }
    Object& operator=(Object const&) = default;

    int m_nValue;
    Ref<Object> m_pNext;
};

class Derived : public Object {
public:
    Derived() : Object(77) {}
};

// A reference to an object is taken where the text says so, and nowhere else.
static_assert(!std::is_assignable_v<Ref<Object>&, Object*> && !std::is_convertible_v<Derived*, Ref<Object>>);

class TrevikReference : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(g_nAlive, 0); }
};

TEST_F(TrevikReference, CopiesMovesAndConversionsCountRight) {
    Ref<Derived> const derived(new Derived);
    Ref<Object> base(derived), copy(base), moved(std::move(copy));
    EXPECT_EQ(derived->GetReferenceCount(), 3);
    EXPECT_FALSE(copy);
    EXPECT_TRUE(moved == derived && moved == derived.Get() && moved != nullptr && copy == nullptr);
    base.Reset();
    EXPECT_EQ(derived->GetReferenceCount(), 2);
    moved = nullptr;
    EXPECT_EQ(derived->GetReferenceCount(), 1);
    base = derived;
    EXPECT_EQ(base->m_nValue, 77);
    // A copied object has no references, and one that is assigned to keeps its own.
    Ref<Object> const cloned(new Object(*base)), other(new Object(4)), again(other);
    EXPECT_EQ(cloned->GetReferenceCount(), 1);
    EXPECT_TRUE(cloned != base && Ref<Object>() == nullptr);
    *other = *base;
    EXPECT_EQ(other->GetReferenceCount(), 2);
}

TEST_F(TrevikReference, AssigningToItselfOrFromInsideTheOldObjectIsSafe) {
    Ref<Object> head(new Object(1));
    head->m_pNext = Ref(new Object(2));
    head->m_pNext->m_pNext = Ref(new Object(3));
    Ref<Object> const& same = head;
    head = same;
    EXPECT_EQ(head->m_nValue, 1);
    head = head->m_pNext; // only the old head keeps it
    EXPECT_EQ(head->m_nValue, 2);
    head = Ref(head.Get());
    EXPECT_EQ(head->GetReferenceCount(), 1);
    head = std::move(head->m_pNext);
    EXPECT_EQ(head->m_nValue, 3);
    EXPECT_EQ(g_nAlive, 1);
}

TEST_F(TrevikReference, ThreadsCountTogether) {
    Ref<Object> const object(new Object);
    kelvokit::test::RunOnThreads(4, [&](int) {
        for (int round = 0; round < 2000; ++round) {
            Ref<Object> const mine(object);
            Ref<Object> const another(mine);
        }
    });
    EXPECT_EQ(object->GetReferenceCount(), 1);
}

/** Counts those that are there. */
class CountedContainer : public ClassContainerT<Derived> {
public:
    explicit CountedContainer(unsigned int classID) : ClassContainerT<Derived>(classID) { ++g_nAlive; }
    ~CountedContainer() override { --g_nAlive; }
};

TEST_F(TrevikReference, TheRegistryKeepsOneContainerOfEachIdAndCreatesItsClass) {
    ClassRegistry registry;
    ClassContainer* const second = new CountedContainer(5);
    EXPECT_FALSE(registry.AddClassContainer(nullptr));
    for (ClassContainer* container : std::initializer_list<ClassContainer*>{
             new CountedContainer(4), new CountedContainer(4), new CountedContainer(5), second, second}) {
        EXPECT_TRUE(registry.AddClassContainer(container));
    }
    EXPECT_EQ(registry.GetCount(), 2u);
    EXPECT_EQ(g_nAlive, 2);
    EXPECT_EQ(registry.GetClassID(1), 5u);
    EXPECT_TRUE(registry.IsRegistered(4));
    EXPECT_FALSE(registry.IsRegistered(6));
    EXPECT_EQ(registry.Create(6), nullptr);
    Ref<Referenced> const object(registry.Create(4));
    ASSERT_TRUE(object);
    EXPECT_EQ(static_cast<Derived*>(object.Get())->m_nValue, 77);
    EXPECT_EQ(object->GetReferenceCount(), 1);

    ClassRegistry poor; // takes even what it cannot keep
    Allocation::FailAfter(0);
    EXPECT_FALSE(poor.AddClassContainer(new CountedContainer(1)));
    Allocation::FailNever();
    EXPECT_EQ(g_nAlive, 3);
}

} // namespace
