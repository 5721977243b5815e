#include "trevik/Allocation.h"
#include "trevik/List.h"

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

/** The behaviours that must not depend on whether elements are moved as bytes. */
template <class T>
class TrevikList : public testing::Test {
protected:
    using L = List<T>;

    void TearDown() override {
        Allocation::FailNever();
        EXPECT_EQ(Allocation::GetLiveCount(), m_nAllocations) << "storage was lost";
        EXPECT_EQ(Element::s_nAlive, 0) << "elements were lost";
    }

    static L Make(std::initializer_list<int> values) {
        L list;
        for (int value : values) {
            EXPECT_TRUE(list.Append(T(value)));
        }
        return list;
    }

private:
    long long const m_nAllocations = Allocation::GetLiveCount();
};

using ElementTypes = testing::Types<int, Element>;
// The empty last argument is what clang asks for.
TYPED_TEST_SUITE(TrevikList, ElementTypes, );

TYPED_TEST(TrevikList, ChangesAsItIsAsked) {
    using T = TypeParam;
    using L = List<T>;
    struct {
        void (*change)(L&);
        L expected;
    } const cases[] = {
        {[](L& l) { l.Append(T(9)); }, this->Make({1, 2, 3, 4, 9})},
        {[](L& l) { l.Append(l[1]); }, this->Make({1, 2, 3, 4, 2})}, // its own, while it grows
        {[](L& l) { l.Insert(0, T(9)); }, this->Make({9, 1, 2, 3, 4})},
        {[](L& l) { EXPECT_TRUE(l.Insert(2, T(9))); }, this->Make({1, 2, 9, 3, 4})},
        {[](L& l) { l.Insert(4, T(9)); }, this->Make({1, 2, 3, 4, 9})},
        {[](L& l) { EXPECT_FALSE(l.Insert(5, T(9))); }, this->Make({1, 2, 3, 4})},
        {[](L& l) { l.Insert(1, l[3]), l.Insert(0, l[4]); }, this->Make({4, 1, 4, 2, 3, 4})},
        {[](L& l) { l.RemoveAt(0); }, this->Make({2, 3, 4})},
        {[](L& l) { l.RemoveAt(3); }, this->Make({1, 2, 3})},
        {[](L& l) { l.RemoveAt(4); }, this->Make({1, 2, 3, 4})},
        {[](L& l) { l.RemoveLast(); }, this->Make({1, 2, 3})},
        {[](L& l) { l.Resize(6); }, this->Make({1, 2, 3, 4, 0, 0})},
        {[](L& l) { l.Resize(1); }, this->Make({1})},
        {[](L& l) { l.Resize(1), l.Reserve(100); }, this->Make({1})},
        {[](L& l) { l.Resize(2, T(7)); }, this->Make({1, 2})},
        {[](L& l) { l.Resize(6, l[2]); }, this->Make({1, 2, 3, 4, 3, 3})},
        {[](L& l) { l.Clear(), l.RemoveLast(), l.RemoveAt(0); }, this->Make({})},
        {[](L& l) { l = L(l); }, this->Make({1, 2, 3, 4})},
        {[](L& l) { EXPECT_TRUE(l.Assign(l)); }, this->Make({1, 2, 3, 4})},
        {[](L& l) {
             L copy(l);
             copy[0] = T(5);
         },
         this->Make({1, 2, 3, 4})},
        {[](L& l) { L const other(std::move(l)); }, this->Make({})},
    };
    for (auto const& test : cases) {
        L list = this->Make({1, 2, 3, 4});
        ASSERT_EQ(list.GetCount(), list.GetCapacity()) << "the next element has to need new storage";
        test.change(list);
        EXPECT_EQ(list, test.expected) << "case " << (&test - cases);
    }
    L const list = this->Make({4, 7, 4, 6});
    EXPECT_EQ(list.Last(), T(6));
    EXPECT_EQ(L(list).Last(), T(6));
    EXPECT_EQ(list.IndexOf(T(4)), 0);
    EXPECT_EQ(list.IndexOf(T(7)), 1);
    EXPECT_EQ(list.IndexOf(T(5)), -1);
    EXPECT_NE(this->Make({1, 2}), this->Make({1, 3}));
    EXPECT_NE(this->Make({1, 2}), this->Make({3, 2}));
    EXPECT_NE(this->Make({1, 2}), this->Make({1}));
}

TYPED_TEST(TrevikList, ReusesItsStorageUntilItGivesItBack) {
    unsigned long long before = Allocation::GetCount();
    List<TypeParam> list;
    list.Release();
    EXPECT_EQ(list.GetData(), nullptr);
    EXPECT_EQ(Allocation::GetCount(), before);
    List<TypeParam> const source = this->Make({1, 2, 3});
    ASSERT_TRUE(list.Reserve(10));
    before = Allocation::GetCount();
    for (int round = 0; round < 3; ++round) {
        list.Clear();
        for (int i = 0; i < 10; ++i) {
            ASSERT_TRUE(list.Append(TypeParam(i)));
        }
        list = source;
    }
    EXPECT_EQ(list, source);
    EXPECT_EQ(Allocation::GetCount(), before);
    list.Release();
    EXPECT_EQ(list.GetCapacity(), 0u);
    EXPECT_EQ(list.GetData(), nullptr);
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
    L const four = this->Make({1, 2, 3, 4}), five = this->Make({1, 2, 3, 4, 5});
    for (auto const& grow : growths) {
        L list(four);
        Allocation::FailAfter(0);
        EXPECT_FALSE(grow(list)) << "growth " << (&grow - growths);
        Allocation::FailNever();
        EXPECT_EQ(list, four) << "growth " << (&grow - growths);
    }
    L assigned(four);
    Allocation::FailAfter(0);
    L const copy(four);
    EXPECT_FALSE(assigned.Assign(five));
    EXPECT_EQ(assigned, four);
    assigned = five;
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_TRUE(assigned.IsEmpty());
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

} // namespace
