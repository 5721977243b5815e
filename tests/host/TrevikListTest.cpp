#include "trevik/Allocation.h"
#include "trevik/List.h"
#include "trevik/Ref.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <initializer_list>

using namespace trevik;

namespace {

/** Notices elements that are destroyed twice or never, or used after their destruction. */
class Element {
public:
    explicit Element(int value = 0) : m_nValue(value), m_pSelf(this) { ++s_nAlive; }
    Element(Element const& other) : Element(other.Get()) {}
    ~Element() {
        Get();
        m_pSelf = nullptr;
        --s_nAlive;
    }
    Element& operator=(Element const& other) {
        m_nValue = other.Get();
        return *this;
    }
    bool operator==(Element const& other) const { return Get() == other.Get(); }

    int Get() const {
        EXPECT_EQ(m_pSelf, this) << "the element is not alive";
        return m_nValue;
    }

    static int s_nAlive;

private:
    int m_nValue;
    Element* m_pSelf;
};

int Element::s_nAlive = 0;

template <class T>
List<T> Make(std::initializer_list<int> values) {
    List<T> list;
    for (int value : values) {
        EXPECT_TRUE(list.Append(T(value)));
    }
    return list;
}

/** The behaviours that must not depend on whether elements are moved as bytes. */
template <class T>
class TrevikList : public testing::Test {
protected:
    void SetUp() override {
        m_nAllocations = Allocation::GetLiveCount();
        Element::s_nAlive = 0;
    }
    void TearDown() override {
        Allocation::FailNever();
        EXPECT_EQ(Allocation::GetLiveCount(), m_nAllocations) << "storage was lost";
        EXPECT_EQ(Element::s_nAlive, 0) << "elements were lost";
    }

private:
    long long m_nAllocations;
};

using ElementTypes = testing::Types<int, Element>;
// The empty last argument is what clang asks for.
TYPED_TEST_SUITE(TrevikList, ElementTypes, );

TYPED_TEST(TrevikList, IsEmptyWithoutStorageAtFirst) {
    unsigned long long const before = Allocation::GetCount();
    List<TypeParam> list;
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetCapacity(), 0u);
    EXPECT_EQ(list.GetData(), nullptr);
    EXPECT_EQ(list.begin(), list.end());
    list.RemoveLast();
    list.RemoveAt(0);
    list.Clear();
    list.Release();
    EXPECT_EQ(Allocation::GetCount(), before);
}

TYPED_TEST(TrevikList, KeepsOrderThroughInsertionsAndRemovals) {
    using L = List<TypeParam>;
    struct {
        void (*change)(L&);
        L expected;
    } const cases[] = {
        {[](L& l) { l.Append(TypeParam(9)); }, Make<TypeParam>({1, 2, 3, 9})},
        {[](L& l) { l.Insert(0, TypeParam(9)); }, Make<TypeParam>({9, 1, 2, 3})},
        {[](L& l) { l.Insert(2, TypeParam(9)); }, Make<TypeParam>({1, 2, 9, 3})},
        {[](L& l) { l.Insert(3, TypeParam(9)); }, Make<TypeParam>({1, 2, 3, 9})},
        {[](L& l) { EXPECT_FALSE(l.Insert(4, TypeParam(9))); }, Make<TypeParam>({1, 2, 3})},
        {[](L& l) { l.RemoveAt(0); }, Make<TypeParam>({2, 3})},
        {[](L& l) { l.RemoveAt(2); }, Make<TypeParam>({1, 2})},
        {[](L& l) { l.RemoveAt(3); }, Make<TypeParam>({1, 2, 3})},
        {[](L& l) { l.RemoveLast(); }, Make<TypeParam>({1, 2})},
        {[](L& l) { l.Resize(5); }, Make<TypeParam>({1, 2, 3, 0, 0})},
        {[](L& l) { l.Resize(1); }, Make<TypeParam>({1})},
        {[](L& l) { l.Resize(5, TypeParam(7)); }, Make<TypeParam>({1, 2, 3, 7, 7})},
        {[](L& l) { l.Clear(); }, Make<TypeParam>({})},
    };
    for (auto const& c : cases) {
        L list = Make<TypeParam>({1, 2, 3});
        c.change(list);
        EXPECT_EQ(list, c.expected) << "case " << (&c - cases);
    }
}

TYPED_TEST(TrevikList, TakesItsOwnElementsEvenWhileItGrows) {
    List<TypeParam> list = Make<TypeParam>({1, 2, 3, 4});
    ASSERT_EQ(list.GetCount(), list.GetCapacity()) << "the next element has to need new storage";
    ASSERT_TRUE(list.Append(list[1]));
    EXPECT_EQ(list, Make<TypeParam>({1, 2, 3, 4, 2}));

    List<TypeParam> inserted = Make<TypeParam>({1, 2, 3, 4});
    ASSERT_TRUE(inserted.Insert(1, inserted[3]));
    ASSERT_TRUE(inserted.Insert(0, inserted[4])); // with room to spare
    EXPECT_EQ(inserted, Make<TypeParam>({4, 1, 4, 2, 3, 4}));

    List<TypeParam> filled = Make<TypeParam>({1, 2, 3, 4});
    ASSERT_TRUE(filled.Resize(6, filled[2]));
    EXPECT_EQ(filled, Make<TypeParam>({1, 2, 3, 4, 3, 3}));
}

TYPED_TEST(TrevikList, ClearKeepsTheStorageAndReleaseGivesItBack) {
    List<TypeParam> list = Make<TypeParam>({1, 2, 3});
    TypeParam const* const storage = list.GetData();
    list.Clear();
    EXPECT_EQ(list.GetData(), storage);
    list.Release();
    EXPECT_EQ(list.GetCapacity(), 0u);
    EXPECT_EQ(list.GetData(), nullptr);
}

TYPED_TEST(TrevikList, ReusesItsStorage) {
    List<TypeParam> list, source = Make<TypeParam>({1, 2, 3});
    ASSERT_TRUE(list.Reserve(10));
    unsigned long long const before = Allocation::GetCount();
    for (int round = 0; round < 3; ++round) {
        list.Clear();
        for (int i = 0; i < 10; ++i) {
            ASSERT_TRUE(list.Append(TypeParam(i)));
        }
        list = source;
    }
    EXPECT_EQ(list, source);
    EXPECT_EQ(Allocation::GetCount(), before);
}

TYPED_TEST(TrevikList, CopiesHoldTheirOwnElementsAndMovesTakeThem) {
    List<TypeParam> original = Make<TypeParam>({1, 2});
    List<TypeParam> copy(original);
    copy[0] = TypeParam(5);
    EXPECT_EQ(original, Make<TypeParam>({1, 2}));
    EXPECT_NE(copy, original);

    List<TypeParam> const& same = copy;
    copy = same;
    EXPECT_EQ(copy, Make<TypeParam>({5, 2}));

    List<TypeParam> moved(std::move(copy));
    EXPECT_TRUE(copy.IsEmpty());
    original = std::move(moved);
    EXPECT_TRUE(moved.IsEmpty());
    EXPECT_EQ(original, Make<TypeParam>({5, 2}));
}

TYPED_TEST(TrevikList, FindsTheFirstEqualElement) {
    List<TypeParam> const list = Make<TypeParam>({4, 7, 4});
    EXPECT_EQ(list.IndexOf(TypeParam(4)), 0);
    EXPECT_EQ(list.IndexOf(TypeParam(7)), 1);
    EXPECT_EQ(list.IndexOf(TypeParam(5)), -1);
    EXPECT_EQ(list.First(), TypeParam(4));
    EXPECT_EQ(list.Last(), TypeParam(4));
}

TYPED_TEST(TrevikList, WithoutMemoryGrowingAnswersFalseAndChangesNothing) {
    using L = List<TypeParam>;
    bool (*const growths[])(L&) = {
        [](L& l) { return l.Append(TypeParam(9)); },
        [](L& l) { return l.Append(l[0]); },
        [](L& l) { return l.Insert(1, TypeParam(9)); },
        [](L& l) { return l.Reserve(100); },
        [](L& l) { return l.Resize(100); },
        [](L& l) { return l.Resize(100, TypeParam(9)); },
    };
    L const four = Make<TypeParam>({1, 2, 3, 4});
    for (auto const& grow : growths) {
        L list(four);
        Allocation::FailAfter(0);
        EXPECT_FALSE(grow(list)) << "growth " << (&grow - growths);
        Allocation::FailNever();
        EXPECT_EQ(list, four) << "growth " << (&grow - growths);
    }
}

TYPED_TEST(TrevikList, WithoutMemoryACopyIsEmptyAndAssignKeepsTheOldElements) {
    List<TypeParam> const source = Make<TypeParam>({1, 2, 3});
    List<TypeParam> assigned = Make<TypeParam>({7}), kept = Make<TypeParam>({7});
    assigned.Reserve(2);
    List<TypeParam> small(Make<TypeParam>({7}));
    List<TypeParam> large = Make<TypeParam>({1, 2, 3, 4, 5});
    Allocation::FailAfter(0);
    List<TypeParam> const copy(source);
    assigned = large;
    EXPECT_FALSE(kept.Assign(large));
    Allocation::FailNever();
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_TRUE(assigned.IsEmpty());
    EXPECT_EQ(kept, small);
}

/** So large that as many of them as a list can count are more bytes than an address can tell apart. */
struct Enormous {
    char bytes[PTRDIFF_MAX / 8];
};

TEST(TrevikListOfEnormousElements, RefusesMoreThanMemoryCanAddress) {
    unsigned long long const before = Allocation::GetCount();
    List<Enormous> list;
    EXPECT_FALSE(list.Reserve(UINT_MAX));
    EXPECT_EQ(Allocation::GetCount(), before) << "a size that wrapped around was asked for";
}

TEST(TrevikListOfReferences, CountsTheReferencesOfItsElements) {
    class Object : public Referenced {};
    Ref<Object> object(new Object);
    List<Ref<Object>> list;
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(list.Append(object));
    }
    EXPECT_EQ(object->GetReferenceCount(), 6);
    list.RemoveAt(0);
    List<Ref<Object>> const copy(list);
    EXPECT_EQ(object->GetReferenceCount(), 9);
    list.Clear();
    EXPECT_EQ(object->GetReferenceCount(), 5);
}

} // namespace
