#include "Driver.h"

#include <algorithm>
#include <cstring>

namespace kelvokit::recording {

namespace {

/** The functions that fail in a way of their own, rather than by an error and no effect. */
bool AnswersFailureItself(char const* name) {
    static char const* const s_names[] = {
        "glCheckFramebufferStatus", "glCompileShader", "glGenBuffers", "glGenFramebuffers",
        "glGenRenderbuffers",       "glGenTextures",   "glGetError",   "glGetAttribLocation",
        "glGetUniformLocation",     "glLinkProgram",   "eglGetError",  "eglGetProcAddress",
    };
    return std::any_of(std::begin(s_names), std::end(s_names),
                       [name](char const* entry) { return std::strcmp(entry, name) == 0; });
}

} // namespace

Driver& TheDriver() {
    static Driver& s_driver = *new Driver;
    return s_driver;
}

Session::Session() {
    for (Limit const& limit : DefaultLimits) {
        limits[limit.name] = limit.value;
    }
    lastUsed = contextless;
}

ThreadData& Driver::Thread() {
    thread_local ThreadData t_data;
    if (t_data.generation != generation) {
        t_data = ThreadData();
        t_data.generation = generation;
    }
    return t_data;
}

std::shared_ptr<ContextData> Driver::Working() {
    auto const found = session.contexts.find(Thread().context);
    return found == session.contexts.end() ? session.contextless : found->second;
}

std::shared_ptr<ContextData> Driver::Meant() {
    std::shared_ptr<ContextData> const working = Working();
    return working == session.contextless ? session.lastUsed : working;
}

Invocation::Invocation(char const* name, std::initializer_list<Argument> arguments)
    : m_driver(TheDriver()), m_lock(m_driver.mutex), m_thread(m_driver.Thread()),
      m_context(m_driver.Working()), m_name(name), m_nArguments(arguments.size()), m_fEgl(name[0] == 'e'),
      m_contextHandle(m_thread.context) {
    std::copy(arguments.begin(), arguments.end(), m_arguments.begin());
    if (!m_fEgl) {
        m_driver.session.lastUsed = m_context;
    } else if (std::strcmp(name, "eglGetError") != 0) {
        m_thread.error = EGL_SUCCESS;
    }

    auto const plans = m_driver.session.plans.find(name);
    if (plans == m_driver.session.plans.end()) {
        return;
    }
    for (Plan& plan : plans->second) {
        bool const fDue = plan.countdown == 0 || plan.countdown == 1;
        if (plan.countdown > 0) {
            plan.countdown = plan.countdown == 1 ? -1 : plan.countdown - 1;
        }
        if (fDue && !m_fFailing) {
            m_fFailing = true;
            m_nFailure = plan.error;
        }
    }
}

void Invocation::Raise(unsigned error) {
    if (m_raised == 0) {
        m_raised = error;
    }
    if (m_fEgl) {
        m_thread.error = static_cast<EGLint>(error);
    } else if (m_context->error == GL_NO_ERROR) {
        m_context->error = error;
    }
}

bool Invocation::FailsPlainly() {
    if (!m_fFailing || AnswersFailureItself(m_name)) {
        return false;
    }
    Raise(static_cast<unsigned>(FailureError(m_fEgl ? EGL_BAD_ALLOC : GL_OUT_OF_MEMORY)));
    return true;
}

void Invocation::NoteBytes(void const* bytes, std::size_t size) {
    if (!IsNoting() || !bytes) {
        return;
    }
    auto const* first = static_cast<std::uint8_t const*>(bytes);
    m_bytes.assign(first, first + std::min(size, UploadCap));
}

void Invocation::Note(std::int64_t result) {
    if (!IsNoting()) {
        return;
    }
    Call call;
    call.name = m_name;
    call.arguments.assign(m_arguments.begin(),
                          m_arguments.begin() + static_cast<std::ptrdiff_t>(m_nArguments));
    call.bytes = std::move(m_bytes);
    call.draw = std::move(m_draw);
    call.group = m_driver.session.group;
    call.thread = std::this_thread::get_id();
    call.context = m_contextHandle;
    call.result = result;
    call.error = m_raised;
    DescribeCall(call, *m_context);
    m_driver.session.calls.push_back(std::move(call));
}

} // namespace kelvokit::recording
