#include "CoverageRecorder.h"
#include "DriverFunctions.h"

#include <array>

namespace kelvokit::counting {

namespace {

GLint GetInteger(GLenum nName) {
    GLint nValue = 0;
    Gl().glGetIntegerv(nName, &nValue);
    return nValue;
}

GLenum GetEnum(GLenum nName) {
    return static_cast<GLenum>(GetInteger(nName));
}

GLuint GetName(GLenum nName) {
    return static_cast<GLuint>(GetInteger(nName));
}

void SetEnabled(GLenum nCapability, bool fEnabled) {
    (fEnabled ? Gl().glEnable : Gl().glDisable)(nCapability);
}

/** What draws have to find as they would without this library, and what decides where they write. */
class State {
public:
    State() {
        Gl().glGetBooleanv(GL_COLOR_WRITEMASK, m_colors.data());
        Gl().glGetFloatv(GL_COLOR_CLEAR_VALUE, m_clearColor.data());
        Gl().glGetFloatv(GL_DEPTH_CLEAR_VALUE, &m_rClearDepth);
        Gl().glGetBooleanv(GL_DEPTH_WRITEMASK, &m_fDepth);
    }

    GLuint GetFramebuffer() const { return m_nFramebuffer; }
    GLuint GetProgram() const { return m_nProgram; }
    bool WritesColors() const { return m_colors[0] || m_colors[1] || m_colors[2] || m_colors[3]; }

    /** Where things are written, and what a clear writes. */
    void ApplyMasks() const {
        SetEnabled(GL_SCISSOR_TEST, m_fScissor);
        Gl().glColorMask(m_colors[0], m_colors[1], m_colors[2], m_colors[3]);
        Gl().glDepthMask(m_fDepth);
        Gl().glStencilMaskSeparate(GL_FRONT, m_nStencilFront);
        Gl().glStencilMaskSeparate(GL_BACK, m_nStencilBack);
        Gl().glClearColor(m_clearColor[0], m_clearColor[1], m_clearColor[2], m_clearColor[3]);
        Gl().glClearDepthf(m_rClearDepth);
        Gl().glClearStencil(m_nClearStencil);
    }

    void ApplyBlending() const {
        SetEnabled(GL_BLEND, m_fBlend);
        SetEnabled(GL_DITHER, m_fDither);
        Gl().glBlendFuncSeparate(m_blend[0], m_blend[1], m_blend[2], m_blend[3]);
        Gl().glBlendEquationSeparate(m_equation[0], m_equation[1]);
    }

    void ApplyAll() const {
        Gl().glBindFramebuffer(GL_FRAMEBUFFER, m_nFramebuffer);
        Gl().glUseProgram(m_nProgram);
        ApplyMasks();
        ApplyBlending();
    }

private:
    GLuint m_nFramebuffer = GetName(GL_FRAMEBUFFER_BINDING);
    GLuint m_nProgram = GetName(GL_CURRENT_PROGRAM);
    bool m_fScissor = Gl().glIsEnabled(GL_SCISSOR_TEST) == GL_TRUE;
    std::array<GLboolean, 4> m_colors{};
    GLboolean m_fDepth = GL_TRUE;
    GLuint m_nStencilFront = GetName(GL_STENCIL_WRITEMASK);
    GLuint m_nStencilBack = GetName(GL_STENCIL_BACK_WRITEMASK);
    std::array<GLfloat, 4> m_clearColor{};
    GLfloat m_rClearDepth = 1;
    GLint m_nClearStencil = GetInteger(GL_STENCIL_CLEAR_VALUE);
    bool m_fBlend = Gl().glIsEnabled(GL_BLEND) == GL_TRUE;
    bool m_fDither = Gl().glIsEnabled(GL_DITHER) == GL_TRUE;
    std::array<GLenum, 4> m_blend{GetEnum(GL_BLEND_SRC_RGB), GetEnum(GL_BLEND_DST_RGB),
                                  GetEnum(GL_BLEND_SRC_ALPHA), GetEnum(GL_BLEND_DST_ALPHA)};
    std::array<GLenum, 2> m_equation{GetEnum(GL_BLEND_EQUATION_RGB), GetEnum(GL_BLEND_EQUATION_ALPHA)};
};

} // namespace

Coverage::Recorder* Coverage::Recorder::s_pRecorder = nullptr;

/** While it lives, anything may be asked of GL: state and error flag are as they were after it. */
class Coverage::Recorder::PutBack {
public:
    PutBack() { TheNotes().HoldError(); }
    ~PutBack() {
        state.ApplyAll();
        DriverNotes::DropErrors();
    }
    PutBack(PutBack const&) = delete;
    PutBack& operator=(PutBack const&) = delete;

    /** Whole targets are read and emptied. */
    static void OpenMasks() {
        Gl().glDisable(GL_SCISSOR_TEST);
        Gl().glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }

    State const state;
};

Coverage::Recorder::Recorder(int nWidth, int nHeight, CoverageListener& listener)
    : m_surface{nWidth, nHeight}, m_listener(listener) {
    s_pRecorder = this;
}

Coverage::Recorder::~Recorder() {
    s_pRecorder = nullptr;
    PutBack const putBack;
    m_targets.clear();
    m_programs.clear();
}

/** What stands for the framebuffer that is bound; null when the driver has nothing that can. */
CountingTarget* Coverage::Recorder::FindTarget(GLuint nFramebuffer) {
    TargetSize const size = nFramebuffer == 0 ? m_surface : TheNotes().GetColorSize();
    if (size.nWidth <= 0 || size.nHeight <= 0) {
        return nullptr;
    }
    auto const found = m_targets.find(nFramebuffer);
    if (found != m_targets.end() && !found->second.Fits(size)) {
        m_targets.erase(found);
    }
    PutBack::OpenMasks();
    CountingTarget& target = m_targets.try_emplace(nFramebuffer, size).first->second;
    return target.IsComplete() ? &target : nullptr;
}

/** Null when the driver does not take what would stand for the program. */
CountingProgram* Coverage::Recorder::FindProgram(GLuint nProgram) {
    ProgramSource const* const pSource = TheNotes().FindSource(nProgram);
    if (!pSource) {
        return nullptr;
    }
    CountingProgram& program = m_programs.try_emplace(nProgram, nProgram, *pSource).first->second;
    return program.IsLinked() ? &program : nullptr;
}

void Coverage::Recorder::RepeatDraw(GLsizei nPrimitives, std::function<void()> const& draw) {
    PutBack const putBack;
    GLuint const nFramebuffer = putBack.state.GetFramebuffer();
    CountingTarget* const pTarget = FindTarget(nFramebuffer);
    CountingProgram* const pProgram = FindProgram(putBack.state.GetProgram());
    if (!pTarget || !pProgram) {
        ++m_nUnmeasured;
        return;
    }
    pTarget->Bind();
    bool const fWrites = putBack.state.WritesColors();
    if (fWrites && pTarget->IsFullWith(nPrimitives)) {
        PutBack::OpenMasks();
        pTarget->Tell(nFramebuffer, m_listener);
    }
    putBack.state.ApplyMasks();
    if (fWrites) {
        pTarget->NoteDraw(nPrimitives);
        Gl().glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }
    Gl().glEnable(GL_BLEND);
    Gl().glDisable(GL_DITHER);
    Gl().glBlendFunc(GL_ONE, GL_ONE);
    Gl().glBlendEquation(GL_FUNC_ADD);
    pProgram->Use();
    draw();
}

void Coverage::Recorder::RepeatClear(GLbitfield nBuffers) {
    PutBack const putBack;
    if (CountingTarget* const pTarget = FindTarget(putBack.state.GetFramebuffer())) {
        pTarget->Bind();
        putBack.state.ApplyMasks();
        Gl().glClear(nBuffers & ~static_cast<GLbitfield>(GL_COLOR_BUFFER_BIT));
    }
}

void Coverage::Recorder::Flush() {
    PutBack const putBack;
    PutBack::OpenMasks();
    for (auto& [nFramebuffer, target] : m_targets) {
        if (target.HasWritten()) {
            target.Bind();
            target.Tell(nFramebuffer, m_listener);
        }
    }
}

void Coverage::Recorder::ForgetFramebuffers(GLsizei nFramebuffers, GLuint const* pFramebuffers) {
    for (GLsizei n = 0; n < nFramebuffers; ++n) {
        m_targets.erase(pFramebuffers[n]);
    }
}

Coverage::Coverage(int nWidth, int nHeight, CoverageListener& listener)
    : m_pRecorder(std::make_unique<Recorder>(nWidth, nHeight, listener)) {}

Coverage::~Coverage() = default;

void Coverage::Flush() {
    m_pRecorder->Flush();
}

unsigned int Coverage::GetUnmeasuredDraws() const {
    return m_pRecorder->GetUnmeasuredDraws();
}

} // namespace kelvokit::counting
