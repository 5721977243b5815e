// What the back end's library shows to the dynamic linker: the plug-in's plain names and its own classes, and
// nothing that another library of the process could take for its own.

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
    std::set<std::string> GetDefinedNames(ElfW(Word) nTable) const {
        std::set<std::string> names;
        auto const header = At<ElfW(Ehdr)>(0);
        for (std::size_t i = 0; i < header.e_shnum; ++i) {
            auto const section = At<ElfW(Shdr)>(header.e_shoff + i * header.e_shentsize);
            if (section.sh_type == nTable) {
                auto const strings = At<ElfW(Shdr)>(header.e_shoff + section.sh_link * header.e_shentsize);
                AddNames(section, strings.sh_offset, names);
            }
        }
        return names;
    }

private:
    template <class T>
    T At(std::size_t offset) const {
        T value = {};
        if (offset + sizeof(T) <= m_bytes.size()) {
            std::memcpy(&value, m_bytes.data() + offset, sizeof(T));
        }
        return value;
    }

    void AddNames(ElfW(Shdr) const& symbols, std::size_t strings, std::set<std::string>& names) const {
        for (std::size_t offset = 0; offset < symbols.sh_size; offset += sizeof(ElfW(Sym))) {
            auto const symbol = At<ElfW(Sym)>(symbols.sh_offset + offset);
            if (symbol.st_shndx != SHN_UNDEF && symbol.st_name != 0) {
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
    // Left are types of the back end itself, and templates, whose type nobody asks for across libraries.
    std::regex const own("^typeinfo for trevik::(kelvo::([A-Za-z]+GL2|EGLImage[A-Za-z]*)$|.*<)");
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

} // namespace
