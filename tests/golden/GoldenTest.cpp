// Small scenes and what happens to them, on the recording driver: all calls that this makes, with vertices,
// uniforms, traces and assertions, are the text beside the scene. Then the same again with faults in every
// place.
//
// A file NAME.json holds a "scene" (docs/scene-format.md) and "steps", see Film::Do. KELVO_REWRITE_GOLDEN=1
// writes NAME.calls and NAME.faults anew: what changed in them is for a person to judge.

#include "EntryPoints.h"
#include "GraphicsDeviceGL2.h"
#include "calls/NodeGroups.h"
#include "kelvo_effects/Effects.h"
#include "kelvo_host/Scene.h"
#include "kelvo_test/AllocationCounter.h"
#include "kelvo_test/GoldenText.h"
#include "scene/SceneReader.h"
#include "trevik/Allocation.h"
#include "trevik/Assert.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <gtest/gtest.h>
#include <kelvo_recording/Recording.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace kelvokit::test {
namespace {

using nlohmann::json;
using recording::Object;
using namespace trevik;
using namespace trevik::kelvo;

std::string const Folder = KELVO_GOLDEN "/";

/** Does not allocate by the host's means, which may be told to fail. */
std::string ToAscii(String16 const& text) {
    std::string ascii;
    for (unsigned int i = 0; i < text.GetLength(); ++i) {
        char const unit = static_cast<char>(text.GetData()[i]);
        ascii += unit == '\n' ? '|' : unit;
    }
    return ascii;
}

/** While it lives, traces and assertions stand among the calls. */
class Remarks {
public:
    Remarks() : m_sink(Debug::SetSink(&OnTrace, nullptr)), m_handler(SetAssertHandler(&OnAssert, nullptr)) {}
    ~Remarks() {
        SetAssertHandler(m_handler);
        Debug::SetSink(m_sink);
    }
    Remarks(Remarks const&) = delete;
    Remarks& operator=(Remarks const&) = delete;

private:
    static void OnTrace(void*, TraceLevel::Enum level, String16 const& message) {
        if (level >= TraceLevel::Error) {
            recording::Remark("trace: " + ToAscii(message));
        }
    }
    static void OnAssert(void*, char const* pFile, unsigned int nLine, char const* pExpression) {
        recording::Remark("assertion: " + std::string(pFile) + ":" + std::to_string(nLine) + ": " +
                          pExpression);
    }

    TraceSink const m_sink;
    AssertHandler const m_handler;
};

/** A scene with a device, as a host has them. */
class Film {
public:
    explicit Film(json const& file) : m_text(file.at("scene").dump()) {
        ::Initialize(&m_registry);
        KelvoRegisterEffects(&m_registry);
    }

    bool Start() {
        m_pDevice = std::make_unique<GraphicsDeviceGL2>();
        SizeT<int> const size(64, 48);
        if (!m_pDevice->Initialize(nullptr, DeviceFormat::RGBA8888, size)) {
            return false;
        }
        m_pDevice->SetViewport(0, 0, size.width, size.height);
        return true;
    }

    bool Read(std::string const& text) {
        Fault fault;
        assets::ByteSpan const bytes{reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
        bool const fRead = assets::ReadSceneText(bytes, "scene", Folder, m_registry, m_scene, fault);
        if (!fRead) {
            std::string const message = fault.GetText();
            recording::Remark(message);
            EXPECT_TRUE(message.rfind("scene:", 0) == 0 && message.find('\n') == std::string::npos)
                << message;
        }
        return fRead;
    }
    bool Read() { return Read(m_text) && (!m_fFromDocument || SaveAndLoad()); }
    /** From now on what is read is saved and loaded before it is drawn. */
    void ReadFromDocument() { m_fFromDocument = true; }

    /** One step: its name, or an object of its name and what it takes. */
    void Do(json const& step) {
        if (m_fOver) {
            return;
        }
        std::string const name = step.is_string() ? step.get<std::string>() : step.begin().key();
        json const value = step.is_string() ? json() : step.begin().value();
        recording::BeginGroup(step.is_string() ? name : step.dump());
        if (name == "frame") {
            Draw(value.is_number() ? value.get<float>() : m_frame + 1, false);
        } else if (name == "postProcess") {
            Draw(m_frame + 1, true);
        } else if (name == "pick") {
            for (SelectionPoint const& hit :
                 m_scene.Pick(*m_pDevice, {value[0].get<float>(), value[1].get<float>()})) {
                recording::Remark("hit " + ToAscii(hit.m_pNode->GetName()) + " at " +
                                  std::to_string(hit.m_position.x) + " " + std::to_string(hit.m_position.y) +
                                  ", " + std::to_string(hit.m_distance));
            }
        } else if (name == "readBack") {
            ReadBack(value);
        } else if (name == "targets") {
            Answer(m_pDevice->InitializeTargetBuffers());
        } else if (name == "releaseEffects") {
            m_pDevice->ReleaseEffectResources();
        } else if (name == "alphaTest") {
            m_fAlphaTest = value.get<bool>();
        } else if (name == "highlight") {
            m_pDevice->SetHighlight(value.get<bool>(), ColorT<RealFloat>(0.25f, 0.5f, 0.75f, 1));
        } else if (name == "viewport") {
            m_pDevice->SetViewport(RectangleT<int>(value[0], value[1], value[2], value[3]));
        } else if (name == "camera2D") {
            m_pDevice->PushCamera2D(value[0].get<float>(), value[1].get<float>());
        } else if (name == "popCamera") {
            m_pDevice->PopCamera();
        } else if (name == "anotherWindow") {
            Answer(m_pDevice->Reset(nullptr));
        } else if (name == "secondDevice") {
            m_scene.SetRoot(nullptr);
            m_pDevice.reset();
            m_fOver = !Start() || !Read();
            Answer(!m_fOver);
        } else if (name == "copy") {
            m_scene.SetRoot(Ref<Timeline>(static_cast<Timeline*>(m_scene.GetRoot()->CloneTree())));
        } else if (name == "saveAndLoad") {
            Answer(SaveAndLoad());
        } else {
            DoToTexture(name, value);
        }
        recording::EndGroup();
    }

    /** Lets everything go, the scene first. */
    void End() {
        recording::BeginGroup("end");
        m_scene.SetRoot(nullptr);
        if (m_pDevice) {
            m_pDevice->Process();
        }
        recording::EndGroup();
    }
    void EndDevice() { m_pDevice.reset(); }

    Scene& GetScene() { return m_scene; }
    void Draw(float frame, bool fPost) {
        m_frame = frame;
        m_pDevice->SetExactEffects(m_scene.GetSettings().m_fExactEffects);
        m_scene.Update(*m_pDevice, frame);
        if (fPost) {
            m_pDevice->SwapTargetBuffers(false);
        }
        m_pDevice->Clear();
        m_pDevice->SetAlphaTestEnabled(m_fAlphaTest);
        if (m_scene.GetRoot()) {
            m_scene.GetRoot()->Render(*m_pDevice);
        }
        if (fPost) {
            m_pDevice->SwapTargetBuffers(true);
            m_pDevice->RenderForPostProcess();
        }
        m_pDevice->Present();
        m_pDevice->Process();
    }
    float GetFrame() const { return m_frame; }

private:
    bool SaveAndLoad() {
        Serializer serializer;
        Ref<DocumentNode> const pDocument =
            m_scene.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
        Deserializer deserializer(pDocument, m_registry);
        return pDocument && m_scene.Load(deserializer);
    }
    static void Answer(bool fAnswer) { recording::Remark(fAnswer ? "done" : "refused"); }

    void ReadBack(json const& value) {
        Texture* pRead = nullptr;
        Answer(m_pDevice->ReadPixels(RectangleT<int>(value[0], value[1], value[2], value[3]), &pRead));
        if (Ref<Texture> const pTexture(pRead); pTexture) {
            recording::Remark(std::to_string(pTexture->GetWidth()) + "x" +
                              std::to_string(pTexture->GetHeight()) + ", format " +
                              std::to_string(pTexture->GetFormat()) + ", " +
                              std::to_string(pTexture->GetByteSize()) + " bytes");
        }
    }

    /** What happens to the texture of the sprite that is called as `value`, or "it". */
    void DoToTexture(std::string const& name, json const& value) {
        std::string const sprite = value.is_string() ? value.get<std::string>() : "it";
        Timeline* const pRoot = m_scene.GetRoot(); // null after a copy without memory
        Node* const pNode = pRoot ? pRoot->FindNode(String16(String8(sprite.c_str()))) : nullptr;
        Texture* const pTexture = pNode ? static_cast<Sprite*>(pNode)->GetTexture() : nullptr;
        if (!pTexture) {
            recording::Remark("no texture");
        } else if (name == "promote") {
            Answer(pTexture->Promote(false));
        } else if (name == "promoteDouble") {
            Answer(pTexture->PromoteWithImage(true));
        } else if (name == "demote") {
            Answer(pTexture->Demote());
        } else if (name == "write") {
            Write(*pTexture);
        } else if (name == "replace") {
            Answer(pTexture->Replace(3, 2, TextureFormat::RGB565, "abcdefghijkl", 6));
        } else if (name == "removeTexture") {
            static_cast<Sprite*>(pNode)->SetTexture(nullptr);
        } else {
            ADD_FAILURE() << "there is no step " << name;
        }
    }

    static void Write(Texture& texture) {
        SurfaceInfo info = {};
        auto* const pBytes = static_cast<unsigned char*>(texture.Lock());
        Answer(pBytes && texture.GetSurfaceInfo(&info));
        if (pBytes) {
            std::fill_n(pBytes, info.m_nStride * info.m_nHeight, static_cast<unsigned char>(7));
            texture.Unlock();
            recording::Remark("shown: " + std::to_string(texture.Swap()) + " of " +
                              std::to_string(texture.Count()));
        }
    }

    std::string const m_text;
    ClassRegistry m_registry;
    std::unique_ptr<GraphicsDeviceGL2> m_pDevice;
    Scene m_scene;
    float m_frame = -1;
    bool m_fAlphaTest = false;
    bool m_fFromDocument = false;
    bool m_fOver = false; ///< there is no device to go on with
};

/** What is left when the device is gone, besides the colours that framebuffers keep on purpose. */
std::vector<std::string> LeftOver() {
    static std::pair<Object, char const*> const s_kinds[] = {{Object::Buffer, "buffers"},
                                                             {Object::Framebuffer, "framebuffers"},
                                                             {Object::Renderbuffer, "renderbuffers"},
                                                             {Object::Shader, "shaders"},
                                                             {Object::Program, "programs"},
                                                             {Object::EglImage, "images"},
                                                             {Object::EglContext, "contexts"},
                                                             {Object::Texture, "textures"}};
    std::vector<std::string> left;
    for (auto const& kind : s_kinds) {
        int const nKept = kind.first == Object::Texture ? recording::Counts(Object::Framebuffer).created : 0;
        if (int const nLeft = recording::Counts(kind.first).live - nKept; nLeft > 0) {
            left.push_back(std::to_string(nLeft) + " " + kind.second + " left");
        }
    }
    if (!recording::CallsWithoutContext().empty()) {
        left.push_back("calls without a context");
    }
    return left;
}

/** What came of playing a file. */
struct Played {
    std::vector<recording::Call> calls;
    std::vector<std::string> left;
};

/** Plays a whole file over a fresh driver; `prepare` may tell the driver or the memory to fail. */
Played Play(json const& file, std::function<void()> const& prepare, bool fFromDocument = false) {
    recording::Reset();
    Remarks const remarks;
    bool const fStart = file.value("start", false); // whether it is the start that the file is about
    std::vector<recording::Call> calls;
    {
        Film film(file);
        if (fFromDocument) {
            film.ReadFromDocument();
        }
        if (fStart) {
            prepare();
        }
        bool const fReady = film.Start() && film.Read();
        if (!fStart) {
            recording::Clear();
            prepare();
        }
        if (fReady) {
            for (json const& step : file.at("steps")) {
                film.Do(step);
            }
        }
        film.End();
        Allocation::FailNever();
        if (!fStart) {
            calls = recording::Calls();
        }
        film.EndDevice();
    }
    return {fStart ? recording::Calls() : calls, LeftOver()};
}

void Nothing() {}

/** About as many allocations of a scene, at most, fail in turn. */
constexpr unsigned int MostRuns = 50;

/** What was said in one play and not in another one. */
std::vector<std::string> NewRemarks(Played const& played, std::vector<recording::Call> const& usual) {
    std::multiset<std::string> known;
    for (recording::Call const& call : usual) {
        known.insert(call.line);
    }
    std::vector<std::string> said;
    for (recording::Call const& call : played.calls) {
        if (auto const found = known.find(call.line); found != known.end()) {
            known.erase(found);
        } else if (call.name.empty()) {
            said.push_back(call.line);
        }
    }
    said.insert(said.end(), played.left.begin(), played.left.end());
    return said;
}

/** What came of a fault: how many calls fewer or more were made and failed, and what was said of it. */
std::string OutcomeOf(Played const& played, std::vector<recording::Call> const& usual) {
    std::vector<recording::Call> const& calls = played.calls;
    auto const difference = [&](auto const& counts) {
        return std::to_string(std::count_if(calls.begin(), calls.end(), counts) -
                              std::count_if(usual.begin(), usual.end(), counts));
    };
    std::string outcome = difference([](recording::Call const& call) { return !call.name.empty(); }) +
                          " calls, " +
                          difference([](recording::Call const& call) { return call.error != 0; }) + " errors";
    for (std::string const& remark : NewRemarks(played, usual)) {
        outcome += "; " + remark;
    }
    return outcome;
}

/** Whether a failure of the function reaches its caller by more than the error flag. */
bool Answers(std::string const& name) {
    static std::regex const s_answering("egl.*|gl(Gen|Create|Get|Check|Compile|Link|Read).*");
    return std::regex_match(name, s_answering);
}

/** A list of outcomes, in which those that follow each other and are the same stand once. */
class Outcomes {
public:
    void Add(std::string const& what, int nth, std::string const& outcome) {
        if (m_runs.empty() || m_runs.back().what != what || m_runs.back().outcome != outcome) {
            m_runs.push_back({what, nth, nth, outcome});
        }
        m_runs.back().nLast = nth;
    }
    std::string GetText() const {
        std::string text;
        for (Run const& run : m_runs) {
            std::string const last = run.nLast == run.nFirst ? "" : ".." + std::to_string(run.nLast);
            text += run.what + " " + std::to_string(run.nFirst) + last + ": " + run.outcome + "\n";
        }
        return text;
    }

private:
    struct Run {
        std::string what;
        int nFirst, nLast;
        std::string outcome;
    };
    std::vector<Run> m_runs;
};

class Golden : public ::testing::TestWithParam<std::string> {
protected:
    Golden() : m_file(json::parse(ReadText(Folder + GetParam() + ".json"))) {
        GraphicsDeviceGL2::InitializeExtensions(); // the first device of a process would
    }
    ~Golden() override { recording::Reset(); }

    json const m_file;
};

/** In these files every sprite is called one. */
class Groups : public kelvokit::player::NodeGroups {
    std::string Describe(Node const& node) const override {
        std::string const text = NodeGroups::Describe(node);
        return text.compare(0, 15, "NinePatchSprite") == 0 ? text.substr(9) : text;
    }
};

/** How often each scope was entered. */
std::string CountedScopes() {
    std::string text;
    for (unsigned int id = 0; id < ScopeCounter::Frame; ++id) {
        if (unsigned long long const nCalls = ScopeCounter::GetTotals(id).nCalls) {
            text += "scope " + std::to_string(id) + ": " + std::to_string(nCalls) + "\n";
        }
    }
    return text;
}

TEST_P(Golden, MakesTheseCalls) {
    Groups const groups;
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    Played const played = Play(m_file, Nothing);
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(played.left, std::vector<std::string>());
    EXPECT_TRUE(IsGolden(Folder + GetParam() + ".calls", recording::ToText(played.calls) + CountedScopes()));
}

TEST_P(Golden, MakesTheSameCallsFromADocument) {
    EXPECT_EQ(recording::ToText(Play(m_file, Nothing, true).calls),
              recording::ToText(Play(m_file, Nothing).calls));
}

TEST_P(Golden, MakesAndAllocatesNothingOnceItHasBeenDrawn) {
    Remarks const remarks;
    Film film(m_file);
    ASSERT_TRUE(film.Start());
    ASSERT_TRUE(film.Read());
    for (json const& step : m_file.at("steps")) {
        film.Do(step);
    }
    recording::Unnoted const unnoted;
    auto const draw = [&] { film.Draw(film.GetFrame() + 0.25f, false); };
    for (int i = 0; i < 4; ++i) {
        draw();
    }
    auto const count = [] {
        std::vector<int> made;
        for (int nKind = 0; nKind <= static_cast<int>(Object::Program); ++nKind) {
            made.push_back(recording::Counts(static_cast<Object>(nKind)).created);
            made.push_back(recording::Counts(static_cast<Object>(nKind)).deleted);
        }
        return made;
    };
    std::vector<int> const made = count();
    std::size_t const nAllocations = AllocationCount();
    draw();
    draw();
    EXPECT_EQ(AllocationCount(), nAllocations);
    EXPECT_EQ(count(), made);
}

TEST_P(Golden, StandsEveryFailureOfTheDriverAndOfMemory) {
    Play(m_file, Nothing); // what is made once for all
    unsigned long long nAllocations = 0;
    std::vector<recording::Call> const calls =
        Play(m_file, [&] { nAllocations = Allocation::GetCount(); }).calls;
    nAllocations = Allocation::GetCount() - nAllocations;
    std::map<std::string, int> counts;
    for (recording::Call const& call : calls) {
        ++counts[call.name];
    }
    counts.erase(""); // remarks
    // A driver that does not hear of the alignment reads more than there is: no use to say what it does then.
    counts.erase("glPixelStorei");
    Outcomes outcomes;
    for (auto const& [name, nCalls] : counts) {
        for (int nth = 1; nth <= (Answers(name) ? nCalls : 1); ++nth) {
            Played const played = Play(m_file, [&, &name = name] { recording::FailAt(name, nth); });
            outcomes.Add(name, nth, OutcomeOf(played, calls));
        }
    }
    // Which allocation it is that fails depends on much: what is said and what is left behind stands for all
    // of them.
    std::set<std::string> said;
    for (unsigned long long n = 0; n < nAllocations; n += 1 + nAllocations / MostRuns) {
        long long const nBefore = Allocation::GetLiveCount();
        Played played = Play(m_file, [n] { Allocation::FailAfter(static_cast<unsigned int>(n)); });
        long long const nLeft = Allocation::GetLiveCount() - nBefore;
        if (nLeft != 0 && recording::Counts(Object::Framebuffer).created == 0) { // these keep some on purpose
            played.left.push_back("memory left");
        }
        for (std::string const& remark : NewRemarks(played, calls)) {
            bool const fReading = remark.rfind("scene:", 0) == 0; // its message names what was read last
            said.insert("without memory: " + (fReading ? "the scene is not read" : remark) + "\n");
        }
    }
    std::string text = outcomes.GetText();
    for (std::string const& remark : said) {
        text += remark;
    }
    EXPECT_TRUE(IsGolden(Folder + GetParam() + ".faults", text));
}

TEST_P(Golden, IsReadAsAWholeOrNotAtAll) {
    Remarks const remarks;
    Film film(m_file);
    ASSERT_TRUE(film.Start());
    recording::Unnoted const unnoted;
    std::string const text = m_file.at("scene").dump();
    for (std::size_t i = 0; i < text.size(); ++i) {
        film.GetScene().SetRoot(nullptr);
        EXPECT_FALSE(film.Read(text.substr(0, i))) << i;
        EXPECT_EQ(film.GetScene().GetRoot(), nullptr) << i;
        std::string damaged = text;
        damaged[i] = "\"{]1,x:-"[i % 8];
        if (film.Read(damaged)) {
            film.Draw(0, false);
        } else {
            EXPECT_EQ(film.GetScene().GetRoot(), nullptr) << i;
        }
    }
    film.End();
    film.EndDevice();
    EXPECT_EQ(LeftOver(), std::vector<std::string>());
}

std::vector<std::string> FindScenes() {
    std::vector<std::string> names;
    for (std::filesystem::directory_entry const& entry : std::filesystem::directory_iterator(Folder)) {
        if (entry.path().extension() == ".json") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

INSTANTIATE_TEST_SUITE_P(, Golden, ::testing::ValuesIn(FindScenes()),
                         [](auto const& info) { return info.param; });

} // namespace
} // namespace kelvokit::test
