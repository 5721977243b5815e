// What the back end's library shows to the dynamic linker: the plug-in's plain names and its own classes, and
// nothing that another library of the process could take for its own. And what it asks of the host, which
// every host has to have.

#include <gtest/gtest.h>

#include <cxxabi.h>
#include <elf.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

/** A library's file, from which structures are copied out by their offset. */
class ElfFile {
public:
    explicit ElfFile(char const* path) {
        std::ifstream file(path, std::ios::binary);
        m_bytes.assign(std::istreambuf_iterator<char>(file), {});
    }

    /** Names that the file defines: for others (SHT_DYNSYM) or at all (SHT_SYMTAB). */
    std::set<std::string> GetDefinedNames(ElfW(Word) nTable) const { return GetNames(nTable, true); }

    /** Names that others have to define for the file. */
    std::set<std::string> GetRequiredNames() const { return GetNames(SHT_DYNSYM, false); }

private:
    std::set<std::string> GetNames(ElfW(Word) nTable, bool fDefined) const {
        std::set<std::string> names;
        auto const header = At<ElfW(Ehdr)>(0);
        for (std::size_t i = 0; i < header.e_shnum; ++i) {
            auto const section = At<ElfW(Shdr)>(header.e_shoff + i * header.e_shentsize);
            if (section.sh_type == nTable) {
                auto const strings = At<ElfW(Shdr)>(header.e_shoff + section.sh_link * header.e_shentsize);
                AddNames(section, strings.sh_offset, fDefined, names);
            }
        }
        return names;
    }

    template <class T>
    T At(std::size_t offset) const {
        T value = {};
        if (offset + sizeof(T) <= m_bytes.size()) {
            std::memcpy(&value, m_bytes.data() + offset, sizeof(T));
        }
        return value;
    }

    void AddNames(ElfW(Shdr) const& symbols, std::size_t strings, bool fDefined,
                  std::set<std::string>& names) const {
        for (std::size_t offset = 0; offset < symbols.sh_size; offset += sizeof(ElfW(Sym))) {
            auto const symbol = At<ElfW(Sym)>(symbols.sh_offset + offset);
            if ((symbol.st_shndx != SHN_UNDEF) == fDefined && symbol.st_name != 0) {
                names.insert(m_bytes.data() + strings + symbol.st_name);
            }
        }
    }

    std::string m_bytes;
};

/** The name as C++ spells it; empty for a name that is not mangled. */
std::string Demangle(std::string const& name) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const text(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
    return name.rfind("_Z", 0) == 0 && status == 0 ? text.get() : "";
}

class Exports : public ::testing::Test {
protected:
    Exports() {
        for (std::string const& name : ElfFile(KELVO_BACK_END_LIBRARY).GetDefinedNames(SHT_DYNSYM)) {
            std::string const text = Demangle(name);
            (text.empty() ? m_plain : m_mangled).insert(text.empty() ? name : text);
        }
    }

    bool HasMangledLike(std::string const& pattern) const {
        std::regex const expression(pattern);
        for (std::string const& name : m_mangled) {
            if (std::regex_search(name, expression)) {
                return true;
            }
        }
        return false;
    }

    std::set<std::string> m_plain;
    std::set<std::string> m_mangled;
};

TEST_F(Exports, PlainNamesAreTheEntryPointsVersionsAndNativeMethods) {
    EXPECT_EQ(m_plain, (std::set<std::string>{"Initialize", "CreateDevice", "Shutdown", "GetTrevikVersion",
                                              "GetTrevikVersionMajor", "GetTrevikVersionMinor",
                                              "GetTrevikVersionBuild", "GetTrevikVersionStamp",
                                              "GetCurrentContentVersionStamp",
                                              "GetMinimumContentVersionStamp", "IsContentVersionStampOk",
                                              "Java_com_omnar_trevik_fx_FxObject_GetMajorVersion",
                                              "Java_com_omnar_trevik_fx_FxObject_GetMinorVersion",
                                              "Java_com_omnar_trevik_fx_FxObject_GetBuildVersion"}));
}

TEST_F(Exports, MangledNamesBelongToTheBackEndsOwnClasses) {
    std::regex const allowed("^((vtable|typeinfo|typeinfo name) for |(non-virtual|virtual) thunk to )?"
                             "trevik::kelvo::([A-Za-z]+GL2(::|$)|VertexAttribSetup_[A-Za-z0-9_]+\\()");
    for (std::string const& name : m_mangled) {
        EXPECT_TRUE(std::regex_search(name, allowed)) << name << " leaves the library";
    }
}

TEST(TypeInformation, OfTheContractStandsInTheHostAlone) {
    // Left are types of the back end itself, and templates and the interface of visitors, whose types nobody
    // asks for across libraries; sanitizers' checks alone have need of the latter.
    std::regex const own("^typeinfo for trevik::(kelvo::([A-Za-z]+GL2|EGLImage[A-Za-z]*|NodeVisitor)$|.*<)");
    unsigned int nTypes = 0;
    for (std::string const& name : ElfFile(KELVO_BACK_END_LIBRARY).GetDefinedNames(SHT_SYMTAB)) {
        std::string const text = Demangle(name);
        if (text.rfind("typeinfo for trevik::", 0) == 0) {
            ++nTypes;
            EXPECT_TRUE(std::regex_search(text, own)) << text << " stands in the back end";
        }
    }
    EXPECT_GT(nTypes, 0u) << "the library has no table of symbols";
}

TEST_F(Exports, ApplicationsReachTheClassesTheyCall) {
    for (char const* name :
         {"GraphicsDeviceGL2", "CameraGL2", "TimelineGL2", "SpriteGL2", "NinePatchSpriteGL2", "TextGL2",
          "TextureGL2", "BitmapFontGL2", "PolygonalFontGL2", "ShaderProgramGL2", "FramebufferGL2",
          "BlendModeEffectGL2", "GaussianBlurEffectGL2", "DirectionalBlurEffectGL2"}) {
        EXPECT_TRUE(HasMangledLike("^vtable for trevik::kelvo::" + std::string(name) + "$")) << name;
    }
    for (char const* name : {"InitializeTargetBuffers", "SwapTargetBuffers", "RenderFullscreenQuad",
                             "RegisterShader", "SetPostProccessShader", "GetEffectResource"}) {
        EXPECT_TRUE(HasMangledLike("^trevik::kelvo::GraphicsDeviceGL2::" + std::string(name) + "\\("))
            << name;
    }
}

/** Names of the host that the back end may need, without their arguments, and why. */
struct Requirement {
    char const* reason;
    char const* names; ///< a pattern for the whole name behind "trevik::"
};

Requirement const g_requirements[] = {
    {"bases of the back end's classes: tables and types, construction and destruction",
     "(vtable|typeinfo) for .*|(.*::)?([A-Za-z0-9]+)::~?\\3"},
    {"virtual operations that nodes keep, or call from their own",
     "kelvo::(Node|TransformNode|Camera|Sprite|Text|Timeline)::"
     "(Reset|[GS]etUserData|Attach|AttachBefore|AttachAfter|Detach|GetWorldMatrix|GetOpacity|Update|Render|"
     "Save|Load|Reload|Emit|GetParents|RegisterProperties|Internal(Update|Render|Select|Save|Load)|AddMask|"
     "AddEffect|CalculateTransform|IsSelect)"},
    {"virtual operations of sprites and timelines alone",
     "kelvo::(Sprite::(GetTexture|SetTexture|Isolate)|"
     "Timeline::(Play|Stop|[GS]etFrame|SetFrameDelay|[GS]etTimeMapFunction|UpdateSynchronous|"
     "ProcessPlaybackMode|UpdateTree|BuildUpdateTree))"},
    {"virtual operations that fonts keep", "kelvo::(Font|BitmapFont|PolygonalFont)::(Get([XY]PixelsPerEm|"
                                           "ScaleFactor[XY]|Ascent|Descent|Leading|Glyph)|"
                                           "Initialize|GenerateID|Save|Load|Emit)"},
    {"virtual operations that textures keep, or call from their own",
     "kelvo::Texture::(GetStride|Save|Load|Emit|Replace|PromoteToSurface)"},
    {"virtual operations that the device keeps, or calls from its own",
     "kelvo::GraphicsDevice::(Initialize|Reset|SetClearColor|GetClearColor|Clear|SetViewport|GetViewport|"
     "SetRenderMode|SetSelectionMode|GetSelectionPoint|PushSelected|IsDepthTestEnabled|SetDepthTestEnabled|"
     "(Push|Pop|Merge|Get)Opacity|(Push|Pop|Merge|Get)TransformMatrix|(Push|Pop)Masks)"},
    {"virtual operations that effects and their resources keep",
     "kelvo::([A-Za-z]*Effect|EffectResource)::(Init|Update|PreRender|PostRender|OverrideDraw(Sprite|Text)|"
     "Emit|"
     "RegisterProperties|InternalInit|InternalUpdate)"},
    {"functions that are called by name",
     "kelvo::(Camera::SetupMillimeter|Text::GetTextRenderRect|"
     "Texture::(IsCompressed|CreateTexture|GetBytesPerPixel)|"
     "GraphicsDevice::(CreateEffectResource|GetHighlightColor|IsHighlightEnabled))"},
    {"diagnostics", "AssertFail|Debug::Trace|Statistics::(Instance|(In|De)crementStat|FireEvent)|"
                    "kelvo::MemoryTracer::Emit(Object|Allocation)"},
    {"storage and properties", "kelvo::(Serializer::(PushTag|PopTag|WriteAttribute)|"
                               "Deserializer::(PushNode|PopNode)|PropertyList::Register|"
                               "Property::(Initialize|Update|Save|Emit))"},
    // Enqueue is virtual; a compiler may guess whose it is, and then names that one.
    {"threads", "QueueDispatcher::(ExecuteEnqueuedOperations|Enqueue)"},
    {"Java",
     "jni::(VM::(GetEnv|RegisterClass|UnregisterClass)|Class::Get|android::graphics::Bitmap::GetClass|"
     "ExceptionHandler::CheckForException)"},
    {"text", "UTF(8|16)Encoding::(FormatV|GetNextChar|PutNextChar|GetElementCount)"},
    // What stands in the contract's headers is compiled into the back end, and needs its other half.
    {"memory of lists, strings, callables and pixels", "AllocateMemory|FreeMemory"},
    {"fields that inline functions read",
     "ScopeCounter::s_fProfiling|Debug::s_nMinimumLevel|kelvo::BasePropertyGeneration::s_nValue"},
    {"the rare half of inline functions", "ScopeCounter::(Enter|Leave)"},
    {"what templates of strings, properties and Java's objects share",
     "UTF16Encoding::MeasureV|kelvo::(PropertyList::Describe|Deserializer::(FindAttribute|GetCurrentNode))|"
     "jni::ObjectBase::(Exchange|IsInstanceOf)"},
    {"what the reflection of all nodes shares", "kelvo::Node::CloneChildrenInto"},
};

/** Whether some requirement covers a demangled name. */
bool IsRequired(std::string const& name) {
    static std::regex const plain(
        "(?:non-virtual thunk to )?((?:vtable for |typeinfo for )?)trevik::([^(]*)(?:\\(.*)?");
    std::smatch parts;
    if (!std::regex_match(name, parts, plain)) {
        return false;
    }
    std::string const text = parts[1].str() + parts[2].str();
    for (Requirement const& requirement : g_requirements) {
        if (std::regex_match(text, std::regex(requirement.names))) {
            return true;
        }
    }
    return false;
}

TEST(Imports, OfTheHostTheBackEndNeedsWhatTheContractListsAlone) {
    unsigned int nNames = 0;
    for (std::string const& name : ElfFile(KELVO_BACK_END_LIBRARY).GetRequiredNames()) {
        std::string const text = Demangle(name);
        if (text.find("trevik::") != std::string::npos) {
            ++nNames;
            EXPECT_TRUE(IsRequired(text)) << text << " is asked of every host";
        }
    }
    EXPECT_GT(nNames, 0u);
    for (char const* name : {"trevik::kelvo::Scene::RenderFrame(trevik::kelvo::GraphicsDevice&)",
                             "trevik::kelvo::Texture::GetImageSize(int, int, int)",
                             "trevik::kelvo::Texture::~TextureGL2()", "trevik::g_value"}) {
        EXPECT_FALSE(IsRequired(name)) << name;
    }
}

} // namespace
