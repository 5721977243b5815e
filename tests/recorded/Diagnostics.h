#pragma once

#include "trevik/Assert.h"
#include "trevik/Debug.h"

#include <string>
#include <vector>

namespace recording {

/** Collects what is traced and asserted while it lives, in place of the lines on stderr. */
class Diagnostics {
public:
    explicit Diagnostics(trevik::TraceLevel::Enum minimum = trevik::TraceLevel::Error)
        : m_sink(trevik::Debug::SetSink(&OnTrace, this)),
          m_handler(trevik::SetAssertHandler(&OnAssert, this)),
          m_minimum(trevik::Debug::SetMinimumLevel(minimum)) {}

    ~Diagnostics() {
        trevik::Debug::SetMinimumLevel(m_minimum);
        trevik::SetAssertHandler(m_handler);
        trevik::Debug::SetSink(m_sink);
    }

    Diagnostics(Diagnostics const&) = delete;
    Diagnostics& operator=(Diagnostics const&) = delete;

    /** The messages of one level, oldest first. */
    std::vector<std::string> Messages(trevik::TraceLevel::Enum level = trevik::TraceLevel::Error) const {
        std::vector<std::string> messages;
        for (Message const& message : m_messages) {
            if (message.level == level) {
                messages.push_back(message.text);
            }
        }
        return messages;
    }

    /** The failed assertions as "file:line: expression". */
    std::vector<std::string> const& Failures() const { return m_failures; }

    void Forget() {
        m_messages.clear();
        m_failures.clear();
    }

private:
    struct Message {
        trevik::TraceLevel::Enum level;
        std::string text;
    };

    static void OnTrace(void* user, trevik::TraceLevel::Enum level, trevik::String16 const& message) {
        static_cast<Diagnostics*>(user)->m_messages.push_back({level, trevik::String8(message).GetData()});
    }

    static void OnAssert(void* user, char const* file, unsigned int line, char const* expression) {
        static_cast<Diagnostics*>(user)->m_failures.push_back(std::string(file) + ":" + std::to_string(line) +
                                                              ": " + expression);
    }

    trevik::TraceSink m_sink;
    trevik::AssertHandler m_handler;
    trevik::TraceLevel::Enum m_minimum;
    std::vector<Message> m_messages;
    std::vector<std::string> m_failures;
};

} // namespace recording
