#include "kelvo_test/Threads.h"
#include "trevik/Allocation.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"

#include <gtest/gtest.h>

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

class TrevikReference : public testing::Test {
protected:
    void SetUp() override { g_nAlive = 0; }
    void TearDown() override { EXPECT_EQ(g_nAlive, 0); }
};

TEST_F(TrevikReference, TheLastReleaseDeletesTheObject) {
    Object* const object = new Object;
    EXPECT_EQ(object->GetReferenceCount(), 0);
    object->AddReference();
    object->AddReference();
    object->ReleaseReference();
    EXPECT_EQ(g_nAlive, 1);
    object->ReleaseReference();
    EXPECT_EQ(g_nAlive, 0);
}

TEST_F(TrevikReference, ACopyHasNoReferencesAndAssignmentKeepsThem) {
    Ref<Object> const original(new Object(3)), another(new Object(4)), again(another);
    Object* const copy = new Object(*original);
    EXPECT_EQ(copy->GetReferenceCount(), 0);
    EXPECT_EQ(copy->m_nValue, 3);
    delete copy;
    *another = *original;
    EXPECT_EQ(another->GetReferenceCount(), 2);
    EXPECT_EQ(another->m_nValue, 3);
}

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
    Ref<Object> const none;
    EXPECT_TRUE(none == nullptr && none != base);
}

TEST_F(TrevikReference, AssigningToItselfOrFromInsideTheOldObjectIsSafe) {
    Ref<Object> head(new Object(1));
    head->m_pNext = new Object(2);
    head->m_pNext->m_pNext = new Object(3);
    Ref<Object> const& same = head;
    head = same;
    EXPECT_EQ(head->m_nValue, 1);
    head = head->m_pNext; // only the old head keeps it
    EXPECT_EQ(head->m_nValue, 2);
    head = head.Get();
    EXPECT_EQ(head->GetReferenceCount(), 1);
    head = std::move(head->m_pNext);
    EXPECT_EQ(head->m_nValue, 3);
    EXPECT_EQ(g_nAlive, 1);
}

TEST_F(TrevikReference, ThreadsCountTogether) {
    Ref<Object> const object(new Object);
    ::kelvo::test::RunOnThreads(4, [&](int) {
        for (int round = 0; round < 2000; ++round) {
            Ref<Object> const mine(object);
            Ref<Object> const another(mine);
        }
    });
    EXPECT_EQ(object->GetReferenceCount(), 1);
}

/** Notes its own end. */
class NotedContainer : public ClassContainerT<Object> {
public:
    NotedContainer(unsigned int classID, bool& deleted)
        : ClassContainerT<Object>(classID), m_fDeleted(deleted) {}
    ~NotedContainer() override { m_fDeleted = true; }

private:
    bool& m_fDeleted;
};

TEST_F(TrevikReference, TheRegistryCreatesWhatIsRegistered) {
    ClassRegistry registry;
    EXPECT_TRUE(registry.AddClassContainer(new ClassContainerT<Object>(HashName("Object"))));
    EXPECT_TRUE(registry.AddClassContainer(new ClassContainerT<Derived>(HashName("Derived"))));
    EXPECT_EQ(registry.GetCount(), 2u);
    EXPECT_EQ(registry.GetClassID(1), HashName("Derived"));
    EXPECT_TRUE(registry.IsRegistered(HashName("Object")));
    EXPECT_FALSE(registry.IsRegistered(HashName("Other")));
    EXPECT_EQ(registry.Create(HashName("Other")), nullptr);

    Ref<Referenced> const object(registry.Create(HashName("Derived")));
    ASSERT_TRUE(object);
    EXPECT_EQ(static_cast<Derived*>(object.Get())->m_nValue, 77);
    EXPECT_EQ(object->GetReferenceCount(), 1);
}

TEST_F(TrevikReference, ARepeatedIdReplacesTheOlderContainer) {
    bool firstDeleted = false, secondDeleted = false;
    unsigned int const id = HashName("Object");
    {
        ClassRegistry registry;
        ClassContainer* const second = new NotedContainer(id, secondDeleted);
        EXPECT_TRUE(registry.AddClassContainer(new NotedContainer(id, firstDeleted)));
        EXPECT_TRUE(registry.AddClassContainer(second));
        EXPECT_TRUE(firstDeleted);
        EXPECT_TRUE(registry.AddClassContainer(second)) << "the same one again";
        EXPECT_FALSE(secondDeleted);
        EXPECT_EQ(registry.GetCount(), 1u);
    }
    EXPECT_TRUE(secondDeleted);
}

TEST_F(TrevikReference, TheRegistryTakesContainersEvenWhenItCannotKeepThem) {
    bool deleted = false;
    ClassRegistry registry;
    EXPECT_FALSE(registry.AddClassContainer(nullptr));
    Allocation::FailAfter(0);
    EXPECT_FALSE(registry.AddClassContainer(new NotedContainer(1, deleted)));
    Allocation::FailNever();
    EXPECT_TRUE(deleted);
    EXPECT_EQ(registry.GetCount(), 0u);
}

} // namespace
