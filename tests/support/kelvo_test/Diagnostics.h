#pragma once

#include "trevik/Assert.h"
#include "trevik/Debug.h"

#include <string>
#include <vector>

namespace kelvokit::test {

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

    /** The messages, oldest first, each of the level of the same place in Levels. */
    std::vector<std::string> const& Messages() const { return m_messages; }
    std::vector<trevik::TraceLevel::Enum> const& Levels() const { return m_levels; }
    /** The only message; a remark when there is none or more than one. */
    std::string Only() const {
        return m_messages.size() == 1 ? m_messages[0] : std::to_string(m_messages.size()) + " lines traced";
    }
    /** The failed assertions as "file:line: expression". */
    std::vector<std::string> const& Failures() const { return m_failures; }

    void Forget() {
        m_messages.clear();
        m_levels.clear();
        m_failures.clear();
    }

private:
    static void OnTrace(void* user, trevik::TraceLevel::Enum level, trevik::String16 const& message) {
        auto* const pThis = static_cast<Diagnostics*>(user);
        pThis->m_messages.push_back(trevik::String8(message).GetData());
        pThis->m_levels.push_back(level);
    }
    static void OnAssert(void* user, char const* file, unsigned int line, char const* expression) {
        static_cast<Diagnostics*>(user)->m_failures.push_back(std::string(file) + ":" + std::to_string(line) +
                                                              ": " + expression);
    }

    trevik::TraceSink m_sink;
    trevik::AssertHandler m_handler;
    trevik::TraceLevel::Enum m_minimum;
    std::vector<std::string> m_messages;
    std::vector<trevik::TraceLevel::Enum> m_levels;
    std::vector<std::string> m_failures;
};

} // namespace kelvokit::test
