#include "trevik/Allocation.h"
#include "trevik/Delegate.h"

#include <gtest/gtest.h>

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
    virtual int Add(int value) { return value; }
    int Peek(int value) const { return value + 1000; }
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

using F = function<int(int)>;

TEST(TrevikFunction, CallsEveryKindOfCallableAndEqualsByTarget) {
    LoudCounter a, b;
    struct {
        F callable;
        int result; // for the argument 2
    } const cases[] = {
        {Double, 4},
        {&Triple, 6},
        {Adder{40}, 42},
        {Adder{41}, 43},
        {[](int value) { return value - 5; }, -3},
        {[](int value) { return value - 6; }, -4},
        {member_function(&a, &Counter::Add), 200}, // through virtual dispatch
        {member_function(&b, &Counter::Add), 200},
        {member_function(&a, &Counter::Peek), 1002},
        {static_cast<int (*)(int)>(nullptr), 0},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(test.callable(2), test.result) << (&test - cases);
        EXPECT_EQ(static_cast<bool>(test.callable), test.result != 0) << (&test - cases);
        for (auto const& other : cases) {
            EXPECT_EQ(test.callable == other.callable, &test == &other)
                << (&test - cases) << ", " << (&other - cases);
        }
        EXPECT_FALSE(test.callable != F(test.callable)) << (&test - cases);
    }
    EXPECT_TRUE(F(nullptr) == F());
    F const capturing([&a](int value) { return a.Peek(value); });
    EXPECT_TRUE(capturing != F(capturing)) << "what cannot be compared";
}

/** An event with 26 listeners, who write down what they hear and then do what is written for them. */
class Listening {
public:
    Listening() {
        for (char name = 'a'; name <= 'z'; ++name) {
            m_listeners.push_back({*this, name});
        }
    }

    /**
     * "+a" connects the listener a, "-a" disconnects it, "!3" fires with 3.
     * @return who has heard what; and a '?' wherever connecting or disconnecting was refused.
     */
    std::string Do(std::string const& commands) {
        for (std::size_t n = 0; n < commands.size(); n += 2) {
            char const what = commands[n + 1];
            if (commands[n] != '!') {
                m_log += Change(commands[n] == '+', what) ? "" : "?";
            } else if ((what - '0') % 2 == 0) {
                m_event(what - '0');
            } else {
                m_event.Fire(what - '0');
            }
        }
        return m_log;
    }

    event<void(int const&)> m_event;
    char m_reacting = 0;
    std::vector<std::string> m_reactions; ///< to its first calls, the last one first

private:
    struct Listener {
        void OnChange(int const& value) { m_all.Hear(m_name, value); }

        Listening& m_all;
        char m_name;
    };

    bool Change(bool connect, char name) {
        auto const handler = member_function(&m_listeners[std::size_t(name - 'a')], &Listener::OnChange);
        return connect ? m_event.Connect(handler) : m_event.Disconnect(handler);
    }
    void Hear(char name, int value) {
        (m_log += name) += std::to_string(value);
        if (name == m_reacting && !m_reactions.empty()) {
            std::string const reaction = m_reactions.back();
            m_reactions.pop_back();
            Do(reaction);
        }
    }

    std::string m_log;
    std::vector<Listener> m_listeners;
};

TEST(TrevikEvent, CallsHandlersInOrderWhateverTheyDoMeanwhile) {
    struct {
        std::string commands, log;
        char reacting;
        std::vector<std::string> reactions;
    } const cases[] = {
        {"!0!1", "", 0, {}},
        {"+a+b+c!7!8", "a7b7c7a8b8c8", 0, {}},
        {"+a+a-b!1", "??a1", 0, {}},
        {"+a+b-a-a+a!1", "?b1a1", 0, {}},
        {"+a+b+c!1!2", "a1c1a2c2", 'a', {"-b"}},
        {"+a+b+c!1!2", "a1b1?c1a2c2b2", 'b', {"-b-b+b"}}, // it waits for the next time
        {"+a+b+c!1!2", "a1b1a3b3c3b2", 'b', {"-a", "!3-c"}},
        // Through every growth of the list.
        {"+a+b+c!1!2", "a1b1c1a2b2c2k2l2m2n2o2p2q2r2", 'a', {"+k+l+m+n+o+p+q+r"}},
    };
    long long const live = Allocation::GetLiveCount();
    for (auto const& test : cases) {
        Listening listening;
        listening.m_reacting = test.reacting;
        listening.m_reactions = test.reactions;
        EXPECT_EQ(listening.Do(test.commands), test.log) << test.commands;
        unsigned long long const before = Allocation::GetCount();
        listening.m_event.Fire(9);
        EXPECT_EQ(Allocation::GetCount(), before) << "firing allocates nothing";
    }
    EXPECT_EQ(Allocation::GetLiveCount(), live);
}

TEST(TrevikEvent, SubscriptionsBelongToTheOwner) {
    Listening listening;
    EXPECT_TRUE(listening.m_event.IsEmpty());
    EXPECT_EQ(listening.Do("+a"), "");
    EXPECT_FALSE(listening.m_event.Connect(nullptr));
    EXPECT_FALSE(listening.m_event.Disconnect(nullptr));
    event<void(int const&)> copy(listening.m_event), other;
    EXPECT_TRUE(copy.IsEmpty());
    listening.m_event = other;
    listening.m_reacting = 'a';
    listening.m_reactions = {"-a"};
    EXPECT_EQ(listening.Do("!1"), "a1");
    EXPECT_TRUE(listening.m_event.IsEmpty()) << "tidied once the firing has ended";
}

TEST(TrevikEvent, WithoutMemoryNothingIsConnected) {
    for (unsigned int allowed = 0; allowed < 3; ++allowed) {
        Listening listening;
        Allocation::FailAfter(allowed + 1); // its own, then the callable's copy, then the list
        std::string const refused = listening.Do("+a");
        Allocation::FailNever();
        EXPECT_EQ(refused, allowed >= 2 ? "" : "?");
        EXPECT_EQ(listening.m_event.IsEmpty(), allowed < 2);
    }
    Allocation::FailAfter(0);
    F const failed(Double);
    Allocation::FailNever();
    EXPECT_FALSE(failed);
}

} // namespace
