// The docstrings of the back end's public operations name the GL and EGL calls that these make.

#include "Android/EGLImageImpl.h"
#include "BitmapFontGL2.h"
#include "BlendModeEffectGL2.h"
#include "DirectionalBlurEffectGL2.h"
#include "FramebufferGL2.h"
#include "GaussianBlurEffectGL2.h"
#include "JObject.h"
#include "NinePatchSpriteGL2.h"
#include "NodeTest.h"
#include "PolygonalFontGL2.h"
#include "ProgramBuilder.h"
#include "ShaderCatalogue.h"
#include "ShaderSources.h"
#include "TextGL2.h"
#include "TimelineGL2.h"
#include "trevik/kelvo/Mask.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <utility>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Names = std::set<std::string>;

/** The matches of a pattern in a text. */
Names Find(std::string const& text, char const* pattern) {
    std::regex const expression(pattern);
    return Names(std::sregex_token_iterator(text.begin(), text.end(), expression), {});
}

/** The calls that a docstring names, and the operations in its "what A, B and Class::C call". */
struct Docstring {
    Names calls, references;
};

/** By operation, "Class::Operation", which overloads share. Those without calls are left out. */
using Docstrings = std::map<std::string, Docstring>;

void AddDocstring(Docstrings& docstrings, std::string const& sClass, std::string const& sName,
                  std::string const& text) {
    Docstring found{Find(text, R"(\be?gl[A-Z]\w+)"), {}};
    for (std::string const& list : Find(text, R"(\bwhat [\w:~]+(?:(?:,| and) [\w:~]+)*? calls?\b)")) {
        for (std::string const& name : Find(list, R"([A-Z~][\w:~]*)")) {
            found.references.insert(name.find("::") == std::string::npos ? sClass + "::" + name : name);
        }
    }
    if (!found.calls.empty() || !found.references.empty()) {
        Docstring& docstring = docstrings[sClass + "::" + sName];
        docstring.calls.merge(found.calls);
        docstring.references.merge(found.references);
        EXPECT_NE(text.find("hread"), std::string::npos) << "the thread of " << sClass << "::" << sName;
    }
}

Docstrings ReadDocstrings() {
    namespace fs = std::filesystem;
    static std::regex const header(".*GL2|EGLImageImpl");
    static std::regex const declaration(R"((?:class (?:KELVO_EXPORT )?(\w+) |    [^/]*?(~?\w+)\().*)");
    Docstrings docstrings;
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(KELVO_SOURCE_DIRECTORY "/src")) {
        if (entry.path().extension() != ".h" || !std::regex_match(entry.path().stem().string(), header)) {
            continue;
        }
        std::ifstream file(entry.path());
        std::string sClass, text;
        std::smatch parts;
        for (std::string line; std::getline(file, line);) {
            if (line.rfind("    /**", 0) == 0) {
                text = line;
            } else if (line.rfind("     * ", 0) == 0) {
                text += line.substr(6);
            } else if (std::regex_match(line, parts, declaration)) {
                sClass = parts[1].matched ? parts[1].str() : sClass;
                AddDocstring(docstrings, sClass, parts[2], std::exchange(text, ""));
            }
        }
    }
    return docstrings;
}

/** What an operation may call, by its docstring and those that this refers to. */
Names GetAllCalls(Docstrings const& docstrings, std::string const& operation) {
    auto const found = docstrings.find(operation);
    Docstring const docstring = found != docstrings.end() ? found->second : Docstring();
    Names calls = docstring.calls;
    for (std::string const& reference : docstring.references) {
        calls.merge(GetAllCalls(docstrings, reference));
    }
    return calls;
}

/** The names of the first set that are not in the second. */
Names Without(Names const& names, Names const& others) {
    Names rest;
    std::set_difference(names.begin(), names.end(), others.begin(), others.end(),
                        std::inserter(rest, rest.end()));
    return rest;
}

/** Calls each operation, in all the ways that its docstring tells of, and notes what that calls. */
class DocstringsTest : public NodeTest {
protected:
    template <class Run>
    void Note(char const* operation, Run run) {
        Clear();
        run();
        for (Call const& call : Calls()) {
            m_seen[operation].insert(call.name);
        }
    }
    /** With another device, so that nothing is bound, known or drawn. */
    void StartAnew() {
        m_pDevice.reset();
        Reset();
        m_pDevice = std::make_unique<GraphicsDeviceGL2>();
        StartDrawing();
    }
    ShaderProgramGL2& Use(ShaderId::Enum id) {
        Device().SetActiveShader(Device().GetShader(id));
        return *Device().GetShader(id);
    }
    static Ref<ShaderProgramGL2> MakeProgram() {
        return BuildProgram(
            {ShaderSources::TexturedFragment, ShaderSources::TexturedVertex, VertexAttribSetup_Default});
    }
    static Ref<TextureGL2> MakeUploaded(bool fPromoted = false) {
        Ref<TextureGL2> const pTexture = MakeTexture(5, 3);
        EXPECT_TRUE(pTexture->GetGLTexture() != 0 && (!fPromoted || pTexture->Promote(true)));
        return pTexture;
    }
    template <class T>
    Ref<T> MakeDrawable() {
        Ref<T> const pSprite = MakeSprite<T>(8, 4);
        pSprite->SetTexture(MakeTexture(5, 3).Get());
        return pSprite;
    }

    void NoteDisplay();
    void NoteDevice();
    void NoteTargets();
    void NoteTextures();
    void NotePrograms();
    void NoteNodes();
    void NoteEffects();

    std::map<std::string, Names> m_seen; ///< by operation
};

void DocstringsTest::NoteDisplay() {
    for (char const* pFailing : {"eglSwapBuffers", "eglCreateWindowSurface"}) { // not called, and called
        m_pDevice = std::make_unique<GraphicsDeviceGL2>();
        Fail(pFailing);
        Note("GraphicsDeviceGL2::Initialize",
             [&] { Device().Initialize(nullptr, DeviceFormat::RGB888, {8, 8}); });
    }
    StartAnew();
    Note("GraphicsDeviceGL2::Present", [&] { Device().Present(); });
    Note("GraphicsDeviceGL2::InitializeExtensions", [&] { GraphicsDeviceGL2::InitializeExtensions(); });
    Note("GraphicsDeviceGL2::eglCreateImageKHR",
         [&] { GraphicsDeviceGL2::eglCreateImageKHR(nullptr, nullptr, 0, nullptr, nullptr); });
    Note("GraphicsDeviceGL2::eglDestroyImageKHR",
         [&] { GraphicsDeviceGL2::eglDestroyImageKHR(nullptr, nullptr); });
    for (char const* pFailing : {"eglSwapBuffers", "eglMakeCurrent", "eglChooseConfig"}) {
        Fail(pFailing);
        Note("GraphicsDeviceGL2::Reset", [&] { Device().Reset(nullptr); });
        Note("GraphicsDeviceGL2::ChooseEGLConfig", [&] { Device().ChooseEGLConfig(DeviceFormat::RGB888); });
    }
    StartAnew();
    EXPECT_TRUE(Device().InitializeTargetBuffers());
    Note("GraphicsDeviceGL2::~GraphicsDeviceGL2", [&] { m_pDevice.reset(); });
}

void DocstringsTest::NoteDevice() {
    StartAnew();
    Note("GraphicsDeviceGL2::SetClearColor", [&] { Device().SetClearColor({1, 1, 1, 1}); });
    Note("GraphicsDeviceGL2::SetViewport", [&] { Device().SetViewport(0, 0, 8, 4); });
    Note("GraphicsDeviceGL2::SetDepthTestEnabled", [&] { Device().SetDepthTestEnabled(true); });
    Note("GraphicsDeviceGL2::SetDepthTestEnabled", [&] { Device().SetDepthTestEnabled(false); });
    Note("GraphicsDeviceGL2::SetActiveShader", [&] { Use(ShaderId::Textured); });
    Note("GraphicsDeviceGL2::SetActiveShader", [&] { Device().SetActiveShader(nullptr); });
    Note("GraphicsDeviceGL2::RenderFullscreenQuad", [&] { Device().RenderFullscreenQuad(); });
    List<Mask*> masks;
    Ref<Mask> const pMask(new Mask);
    masks.Append(pMask.Get());
    Note("GraphicsDeviceGL2::PushMasks", [&] { Device().PushMasks(masks); });
    Device().PushMasks(masks);
    Note("GraphicsDeviceGL2::Clear", [&] { Device().Clear(); });
    for (int i = 0; i < 2; ++i) {
        Note("GraphicsDeviceGL2::PopMasks", [&] { Device().PopMasks(masks); });
    }
    Ref<TextureGL2> const pTexture = MakeUploaded();
    trevik::kelvo::Texture* pGiven = pTexture.Get();
    Note("GraphicsDeviceGL2::ReadPixels", [&] { EXPECT_TRUE(Device().ReadPixels({0, 0, 5, 3}, &pGiven)); });
    Note("GraphicsDeviceGL2::InitializeShaders", [&] { EXPECT_TRUE(Device().InitializeShaders()); });
    Device().SetPostProccessShader(MakeProgram().Get());
    Note("GraphicsDeviceGL2::SetPostProccessShader",
         [&] { Device().SetPostProccessShader(Device().GetShader(ShaderId::PostProcess)); });
}

void DocstringsTest::NoteTargets() {
    StartAnew();
    Note("GraphicsDeviceGL2::InitializeTargetBuffers",
         [&] { EXPECT_TRUE(Device().InitializeTargetBuffers()); });
    Note("GraphicsDeviceGL2::RenderForPostProcess", [&] { Device().RenderForPostProcess(); });
    Note("GraphicsDeviceGL2::SwapTargetBuffers", [&] { Device().SwapTargetBuffers(false); });
    Note("GraphicsDeviceGL2::SwapTargetBuffers", [&] { Device().SwapTargetBuffers(true); });
    for (bool const fTexture : {false, true}) {
        Ref<FramebufferGL2> pTarget(new FramebufferGL2), pOther(new FramebufferGL2);
        EXPECT_TRUE(pOther->Create({8, 4, true, fTexture, TextureFormat::RGB565}));
        Note("FramebufferGL2::Create",
             [&] { EXPECT_TRUE(pTarget->Create({8, 4, true, fTexture, TextureFormat::RGB565})); });
        Note("FramebufferGL2::Bind", [&] { pTarget->Bind(); });
        Note("FramebufferGL2::Unbind", [&] { pTarget->Unbind(pOther.Get()); });
        Note("FramebufferGL2::~FramebufferGL2", [&] { pTarget.Reset(); });
    }
}

void DocstringsTest::NoteTextures() {
    StartAnew();
    for (bool const fPromoted : {false, true}) {
        Ref<TextureGL2> pTexture = MakeUploaded(fPromoted);
        Note("TextureGL2::~TextureGL2", [&] { pTexture.Reset(); });
    }
    Ref<TextureGL2> const pPlain = MakeTexture(5, 3);
    Note("TextureGL2::GetGLTexture", [&] { EXPECT_NE(pPlain->GetGLTexture(), 0u); });
    Note("TextureGL2::Replace",
         [&] { EXPECT_TRUE(pPlain->Replace(5, 3, TextureFormat::RGBA8888, nullptr, 0)); });
    Note("TextureGL2::GetGLTextureAlpha", [&] { pPlain->GetGLTextureAlpha(); });
    for (TextureFormat::Enum const format : {TextureFormat::RGBA8888, TextureFormat::ETC1_RGB}) {
        EXPECT_TRUE(pPlain->GetPixelData().GetBuffer().Allocate(64));
        pPlain->SetFormat(format);
        Note("TextureGL2::CreateGLTexture", [&] { EXPECT_TRUE(pPlain->CreateGLTexture()); });
    }
    Note("TextureGL2::ReleaseGLTexture", [&] { pPlain->ReleaseGLTexture(); });
    Note("TextureGL2::Promote", [&] { EXPECT_TRUE(MakeTexture(5, 3)->Promote(true)); });
    Note("TextureGL2::Lock", [&] { EXPECT_TRUE(pPlain->Lock()); });
    pPlain->Unlock();
    Note("TextureGL2::CreateJavaBitmapFromTexture",
         [] { MakeTexture(5, 3)->CreateJavaBitmapFromTexture(1); });
    Ref<TextureGL2> const pSwapped = MakeUploaded(true), pDemoted = MakeUploaded(true);
    Note("TextureGL2::Swap", [&] { pSwapped->Swap(); });
    Note("TextureGL2::CreateEGLImage", [&] { EXPECT_TRUE(pSwapped->CreateEGLImage(0)); });
    Note("TextureGL2::Demote", [&] { pDemoted->Demote(); });
    Note("EGLImageImpl::CreateTexture", [] { EGLImageImpl::CreateTexture(GL_TEXTURE_2D); });
    Ref<EGLImageHelper> pSurface = CreateEGLImageHelper();
    auto const create = [&] { pSurface->Create(4, 4, TextureFormat::RGBA8888); };
    FailAt("eglCreateImageKHR", 1);
    Note("EGLImageImpl::Create", create);
    create();
    Note("EGLImageImpl::Create", create);
    Note("EGLImageImpl::Destroy", [&] { pSurface->Destroy(); });
    create();
    Note("EGLImageImpl::~EGLImageImpl", [&] { pSurface.Reset(); });
}

void DocstringsTest::NotePrograms() {
    StartAnew();
    Ref<ShaderProgramGL2> pProgram = MakeProgram();
    Note("ShaderProgramGL2::Bind", [&] { Device().SetActiveShader(pProgram.Get()); });
    Note("ShaderProgramGL2::GetUniformLocation", [&] { pProgram->GetUniformLocation(UniformNames::vColor); });
    for (Ref<TextureGL2> const& pTexture : {MakeTexture(5, 3), MakeUploaded()}) {
        Note("ShaderProgramGL2::SetSampler",
             [&] { pProgram->SetSampler(UniformNames::sTexture, pTexture.Get(), 0); });
    }
    Note("ShaderProgramGL2::Unbind", [&] { Device().SetActiveShader(nullptr); });
    Device().SetActiveShader(pProgram.Get());
    auto const set = [&](auto const& value) {
        Note("ShaderProgramGL2::SetParameter",
             [&] { pProgram->SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, value); });
    };
    set(Matrix4T<float>::Identity);
    set(Vector4T<float>());
    set(Vector3T<float>());
    set(Vector2T<float>());
    set(1.0f);
    Note("ShaderProgramGL2::~ShaderProgramGL2", [&] { pProgram.Reset(); });
    Note("ShaderProgramGL2::Compile", [&] { pProgram = MakeProgram(); });
    Note("ShaderProgramGL2::Cleanup", [&] { pProgram->Cleanup(); });
    FailCompile(GL_VERTEX_SHADER);
    Note("ShaderProgramGL2::Compile", [&] { EXPECT_FALSE(MakeProgram()); });
}

void DocstringsTest::NoteNodes() {
    StartAnew();
    Glyph glyph;
    List<GlyphInstance> instances;
    instances.Append(GlyphInstance{&glyph, 0, 0, {}});
    ColorT<RealFloat> const white;
    Vector3T<RealFloat> const origin;
    Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
    Note("BitmapFontGL2::RenderGlyphBatch",
         [&] { pFont->RenderGlyphBatch(Device(), instances, {0, 1}, origin, white, false, origin, white); });
    Ref<PolygonalFontGL2> const pPolygons(new PolygonalFontGL2);
    glyph.m_nMesh = pPolygons->AddMesh(new GlyphMesh);
    Note("PolygonalFontGL2::RenderGlyph", [&] { pPolygons->RenderGlyph(Device(), &glyph, {}, &white); });
    Ref<SpriteGL2> const pSprite = MakeDrawable<SpriteGL2>();
    Ref<NinePatchSpriteGL2> const pPatch = MakeDrawable<NinePatchSpriteGL2>();
    Ref<TextGL2> const pText(new TextGL2);
    Note("TextGL2::RenderImageBatch", [&] { pText->RenderImageBatch(Device(), instances, {0, 1}, white); });
    pText->SetBackground(pSprite.Get());
    Note("TextGL2::InternalRender", [&] { pText->InternalRender(Device()); });
    Note("NinePatchSpriteGL2::InternalRender", [&] { pPatch->InternalRender(Device()); });
    pPatch->GetHorizontalBandsProperty().SetValue(ToList({{1, 2}}));
    Note("NinePatchSpriteGL2::InternalRenderNonBlended", [&] { pPatch->InternalRenderNonBlended(Device()); });
    Ref<Mask> const pMask(new Mask);
    pSprite->AddMask(pMask.Get());
    Note("SpriteGL2::InternalRender", [&] { pSprite->InternalRender(Device()); });
    pSprite->GetAntialiasProperty().SetValue(true);
    Note("SpriteGL2::InternalRenderNonBlended", [&] { pSprite->InternalRenderNonBlended(Device()); });
    pSprite->SetTexture(nullptr);
    Note("SpriteGL2::InternalRenderNonBlended", [&] { pSprite->InternalRenderNonBlended(Device()); });
    Ref<TimelineGL2> const pTimeline(new TimelineGL2);
    pTimeline->AddMask(pMask.Get());
    pTimeline->GetDepthTestProperty().SetValue(1);
    Note("TimelineGL2::PreRenderChildren", [&] { pTimeline->PreRenderChildren(Device()); });
    Note("TimelineGL2::PostRenderChildren", [&] { pTimeline->PostRenderChildren(Device()); });
}

void DocstringsTest::NoteEffects() {
    StartAnew();
    EXPECT_TRUE(Device().InitializeTargetBuffers());
    Ref<EffectResource> const resources[] = {Ref<EffectResource>(new GaussianBlurResourceGL2),
                                             Ref<EffectResource>(new BlendModeResourceGL2),
                                             Ref<EffectResource>(new DirectionalBlurResourceGL2)};
    Note("GaussianBlurResourceGL2::Init", [&] { EXPECT_TRUE(resources[0]->Init(Device())); });
    Note("BlendModeResourceGL2::Init", [&] { EXPECT_TRUE(resources[1]->Init(Device())); });
    Note("DirectionalBlurResourceGL2::Init", [&] { EXPECT_TRUE(resources[2]->Init(Device())); });
    unsigned int const nId = HashName("GaussianBlurResource");
    Note("GraphicsDeviceGL2::GetEffectResource", [&] { EXPECT_TRUE(Device().GetEffectResource(nId)); });
    Note("GraphicsDeviceGL2::ReleaseEffectResources", [&] { Device().ReleaseEffectResources(); });
    Ref<GaussianBlurEffectGL2> const pBlur(new GaussianBlurEffectGL2);
    pBlur->GetAmountProperty().SetValue(1);
    Note("GaussianBlurEffectGL2::PreRender", [&] { pBlur->PreRender(Device()); });
    Note("GaussianBlurEffectGL2::PostRender", [&] { pBlur->PostRender(Device()); });
    Ref<SpriteGL2> const pSprite = MakeDrawable<SpriteGL2>();
    Ref<BlendModeEffectGL2> const pBlend(new BlendModeEffectGL2);
    Note("BlendModeEffectGL2::OverrideDrawSprite",
         [&] { EXPECT_TRUE(pBlend->OverrideDrawSprite(Device(), *pSprite, 1)); });
    Ref<DirectionalBlurEffectGL2> const pSmear(new DirectionalBlurEffectGL2);
    Note("DirectionalBlurEffectGL2::OverrideDrawSprite",
         [&] { EXPECT_TRUE(pSmear->OverrideDrawSprite(Device(), *pSprite, 1)); });
}

TEST_F(DocstringsTest, NameTheCallsThatOperationsMake) {
    NoteDisplay();
    NoteDevice();
    NoteTargets();
    NoteTextures();
    NotePrograms();
    NoteNodes();
    NoteEffects();
    // Functions are looked up once in a process, which may have been before.
    m_seen["GraphicsDeviceGL2::Initialize"].insert("eglGetProcAddress");
    m_seen["GraphicsDeviceGL2::InitializeExtensions"].insert("eglGetProcAddress");
    Docstrings docstrings = ReadDocstrings();
    for (auto const& [operation, seen] : m_seen) {
        SCOPED_TRACE(operation);
        EXPECT_EQ(Without(seen, GetAllCalls(docstrings, operation)), Names()) << "are called and not named";
        EXPECT_EQ(Without(docstrings[operation].calls, seen), Names()) << "are named and not called";
        for (std::string const& reference : docstrings[operation].references) {
            Names const own = docstrings[reference].calls;
            Names const calls = own.empty() ? GetAllCalls(docstrings, reference) : own;
            EXPECT_NE(Without(calls, seen), calls) << "nothing of " << reference << " is called";
        }
    }
    for (auto const& entry : docstrings) {
        EXPECT_EQ(m_seen.count(entry.first), 1u) << entry.first << " is not called here";
    }
}

} // namespace
