#include "trevik/Allocation.h"
#include "trevik/Delegate.h"
#include "trevik/Function.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace trevik;

namespace {

int Double(int value) {
    return value * 2;
}

int Triple(int value) {
    return value * 3;
}

class Counter {
public:
    virtual ~Counter() {}
    virtual int Add(int value) { return m_nSum += value; }
    int Peek(int value) const { return m_nSum + value; }
    int m_nSum = 0;
};

class LoudCounter : public Counter {
public:
    int Add(int value) override { return Counter::Add(value * 100); }
};

/** A functor that can be compared. */
struct Adder {
    int amount;
    int operator()(int value) { return value + amount; }
    bool operator==(Adder const& other) const { return amount == other.amount; }
};

TEST(TrevikFunction, CallsEveryKindOfCallable) {
    LoudCounter counter;
    int captured = 5;
    struct {
        function<int(int)> callable;
        int result; // for the argument 2
    } const cases[] = {
        {Double, 4},
        {&Triple, 6},
        {Adder{40}, 42},
        {[captured](int value) { return value - captured; }, -3},
        {member_function(&counter, &Counter::Add), 200}, // through virtual dispatch
        {member_function(&counter, &Counter::Peek), 202},
        {nullptr, 0},
        {static_cast<int (*)(int)>(nullptr), 0},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.callable(2), c.result) << (&c - cases);
        EXPECT_EQ(static_cast<bool>(c.callable), c.result != 0) << (&c - cases);
    }
}

TEST(TrevikFunction, EqualsByTargetWhereTargetsCanBeCompared) {
    Counter a, b;
    using F = function<int(int)>;
    struct {
        F left, right;
        bool equal;
    } const cases[] = {
        {Double, Double, true},
        {Double, Triple, false},
        {Adder{1}, Adder{1}, true},
        {Adder{1}, Adder{2}, false},
        {Double, Adder{1}, false},
        {member_function(&a, &Counter::Add), member_function(&a, &Counter::Add), true},
        {member_function(&a, &Counter::Add), member_function(&b, &Counter::Add), false},
        {member_function(&a, &Counter::Add), member_function(&a, &Counter::Peek), false},
        {nullptr, F(), true},
        {nullptr, Double, false},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.left == c.right, c.equal) << (&c - cases);
        EXPECT_EQ(c.right == c.left, c.equal) << (&c - cases);
    }
    F const capturing([&a](int value) { return a.Peek(value); });
    F const plain([](int value) { return value; });
    EXPECT_TRUE(capturing != F(capturing));
    EXPECT_TRUE(plain == F(plain));
    EXPECT_TRUE(plain != F([](int value) { return value; }));
}

TEST(TrevikFunction, CopiesHoldTheirOwnCallable) {
    int calls = 0;
    function<int()> const original([calls]() mutable { return ++calls; });
    EXPECT_EQ(original(), 1);
    function<int()> const copy(original);
    EXPECT_EQ(copy(), 2);
    EXPECT_EQ(original(), 2);
    function<int()> assigned;
    assigned = copy;
    EXPECT_EQ(assigned(), 3);
}

TEST(TrevikFunction, WithoutMemoryItIsEmpty) {
    long long const live = Allocation::GetLiveCount();
    {
        function<int(int)> const whole(Double);
        Allocation::FailAfter(0);
        function<int(int)> const failed(Double), copy(whole);
        Allocation::FailNever();
        EXPECT_FALSE(failed);
        EXPECT_FALSE(copy);
        EXPECT_TRUE(whole);
    }
    EXPECT_EQ(Allocation::GetLiveCount(), live);
}

using Changed = event<void(int const&)>;

/** Writes down who was called with what. */
class Listener {
public:
    Listener(std::string& log, char name) : m_log(log), m_name(name) {}

    void OnChange(int const& value) {
        (m_log += m_name) += std::to_string(value);
        if (m_action) {
            m_action();
        }
    }

    function<void(int const&)> GetHandler() { return member_function(this, &Listener::OnChange); }

    function<void()> m_action;

private:
    std::string& m_log;
    char m_name;
};

class TrevikEvent : public testing::Test {
protected:
    TrevikEvent() : m_a(m_log, 'a'), m_b(m_log, 'b'), m_c(m_log, 'c'), m_nLive(Allocation::GetLiveCount()) {}

    void ConnectAll() {
        ASSERT_TRUE(m_event.Connect(m_a.GetHandler()));
        ASSERT_TRUE(m_event.Connect(m_b.GetHandler()));
        ASSERT_TRUE(m_event.Connect(m_c.GetHandler()));
    }

    /** What the handlers write down when the event fires. */
    std::string Fire(int value) {
        m_log.clear();
        m_event.Fire(value);
        return m_log;
    }

    std::string m_log;
    Listener m_a, m_b, m_c;
    long long m_nLive;
    Changed m_event;
};

TEST_F(TrevikEvent, CallsHandlersInTheOrderOfSubscription) {
    EXPECT_TRUE(m_event.IsEmpty());
    EXPECT_EQ(Fire(0), "");
    ConnectAll();
    EXPECT_FALSE(m_event.IsEmpty());
    EXPECT_EQ(Fire(7), "a7b7c7");
    EXPECT_TRUE(m_event.Disconnect(m_a.GetHandler()));
    EXPECT_TRUE(m_event.Connect(m_a.GetHandler()));
    m_log.clear();
    m_event(8);
    EXPECT_EQ(m_log, "b8c8a8");
}

TEST_F(TrevikEvent, ConnectsOnceAndDisconnectsOnlyWhatIsConnected) {
    ASSERT_TRUE(m_event.Connect(m_a.GetHandler()));
    EXPECT_FALSE(m_event.Connect(m_a.GetHandler()));
    EXPECT_FALSE(m_event.Connect(nullptr));
    EXPECT_EQ(Fire(1), "a1");
    EXPECT_FALSE(m_event.Disconnect(m_b.GetHandler()));
    EXPECT_TRUE(m_event.Disconnect(m_a.GetHandler()));
    EXPECT_FALSE(m_event.Disconnect(m_a.GetHandler()));
    EXPECT_FALSE(m_event.Disconnect(nullptr));
    EXPECT_TRUE(m_event.IsEmpty());
}

TEST_F(TrevikEvent, AHandlerMayChangeWhoIsCalled) {
    std::vector<std::unique_ptr<Listener>> more;
    struct {
        Listener& m_who;
        function<void()> m_action;
        std::string m_first, m_second;
    } const cases[] = {
        {m_a, [this] { EXPECT_TRUE(m_event.Disconnect(m_b.GetHandler())); }, "a1c1", "a2c2"},
        {m_b,
         [this] {
             EXPECT_TRUE(m_event.Disconnect(m_b.GetHandler()));
             EXPECT_FALSE(m_event.Disconnect(m_b.GetHandler()));
             EXPECT_TRUE(m_event.Connect(m_b.GetHandler())); // waits for the next time
         },
         "a1b1c1", "a2c2b2"},
        {m_a,
         [&] {
             for (int i = 0; i < 8; ++i) { // through every growth of the list
                 more.push_back(std::make_unique<Listener>(m_log, 'm'));
                 EXPECT_TRUE(m_event.Connect(more.back()->GetHandler()));
             }
         },
         "a1b1c1", "a2b2c2m2m2m2m2m2m2m2m2"},
    };
    for (auto const& c : cases) {
        for (Listener* pListener : {&m_a, &m_b, &m_c}) {
            m_event.Disconnect(pListener->GetHandler());
        }
        ConnectAll();
        c.m_who.m_action = c.m_action;
        EXPECT_EQ(Fire(1), c.m_first);
        c.m_who.m_action = nullptr;
        EXPECT_EQ(Fire(2), c.m_second);
    }
}

TEST_F(TrevikEvent, AHandlerMayFireTheEventAgain) {
    ConnectAll();
    int depth = 0;
    m_b.m_action = [this, &depth] {
        if (++depth == 2) {
            EXPECT_TRUE(m_event.Disconnect(m_a.GetHandler()));
            return;
        }
        m_event.Fire(2);
        EXPECT_TRUE(m_event.Disconnect(m_c.GetHandler()));
    };
    EXPECT_EQ(Fire(1), "a1b1a2b2c2");
    m_b.m_action = nullptr;
    EXPECT_EQ(Fire(3), "b3");
}

TEST_F(TrevikEvent, SubscriptionsBelongToTheOwner) {
    ConnectAll();
    Changed copy(m_event), other;
    EXPECT_TRUE(copy.IsEmpty());
    other = m_event;
    EXPECT_TRUE(other.IsEmpty());
    m_event = other;
    EXPECT_EQ(Fire(1), "a1b1c1");
}

TEST_F(TrevikEvent, WithoutMemoryAHandlerIsRefused) {
    ASSERT_TRUE(m_event.Connect(m_a.GetHandler()));
    function<void(int const&)> const handler = m_b.GetHandler();
    for (unsigned int allowed = 0; allowed < 3; ++allowed) {
        Changed empty;
        Allocation::FailAfter(allowed); // the callable, then the list
        bool const connected = empty.Connect(handler);
        Allocation::FailNever();
        EXPECT_EQ(connected, allowed >= 2);
        EXPECT_EQ(empty.IsEmpty(), !connected);
    }
    EXPECT_EQ(Fire(1), "a1");
}

TEST_F(TrevikEvent, FiringAllocatesNothing) {
    ConnectAll();
    Fire(1);
    unsigned long long const before = Allocation::GetCount();
    Fire(2);
    EXPECT_EQ(Allocation::GetCount(), before);
}

TEST_F(TrevikEvent, GivesItsHandlersBack) {
    {
        Changed temporary;
        ASSERT_TRUE(temporary.Connect(m_a.GetHandler()));
        ASSERT_TRUE(temporary.Connect(m_b.GetHandler()));
        m_a.m_action = [&] { temporary.Disconnect(m_a.GetHandler()); };
        temporary.Fire(1);
        m_a.m_action = nullptr;
    }
    EXPECT_EQ(Allocation::GetLiveCount(), m_nLive);
}

} // namespace
