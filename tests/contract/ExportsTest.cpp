// What the back end's library shows to the dynamic linker: the plug-in's plain names and its own classes, and
// nothing that another library of the process could take for its own. And what it asks of the host, which
// every host has to have.

#include <cxxabi.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>

namespace {

/** The name as C++ spells it, or as it is when it is not mangled. */
std::string Demangle(std::string const& name) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const text(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
    return name.rfind("_Z", 0) == 0 && status == 0 ? text.get() : name;
}

enum class Names { Shown, Defined, Required };

/** Names that the library defines for others, defines at all, or needs from others. */
std::set<std::string> NamesOf(Names kind) {
    std::ifstream file(KELVO_BACK_END_LIBRARY, std::ios::binary);
    std::string const bytes(std::istreambuf_iterator<char>(file), {});
    auto const read = [&bytes](auto& value, std::size_t offset) {
        ASSERT_LE(offset + sizeof value, bytes.size());
        std::memcpy(&value, bytes.data() + offset, sizeof value);
    };
    std::set<std::string> names;
    ElfW(Ehdr) header = {};
    ElfW(Shdr) section = {}, strings = {};
    ElfW(Sym) symbol = {};
    read(header, 0);
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        read(section, header.e_shoff + i * header.e_shentsize);
        if (section.sh_type == (kind == Names::Defined ? SHT_SYMTAB : SHT_DYNSYM)) {
            read(strings, header.e_shoff + section.sh_link * header.e_shentsize);
            for (std::size_t at = 0; at < section.sh_size; at += sizeof symbol) {
                read(symbol, section.sh_offset + at);
                if ((symbol.st_shndx == SHN_UNDEF) == (kind == Names::Required) && symbol.st_name != 0) {
                    names.insert(Demangle(bytes.data() + strings.sh_offset + symbol.st_name));
                }
            }
        }
    }
    EXPECT_FALSE(names.empty());
    return names;
}

/** The lines of a file of this folder, but for remarks. */
std::set<std::string> ReadList(char const* name) {
    std::set<std::string> lines;
    std::ifstream file(std::string(KELVO_SOURCE_DIRECTORY "/tests/contract/") + name);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.rfind("# ", 0) != 0) {
            lines.insert(line);
        }
    }
    EXPECT_FALSE(lines.empty()) << name;
    return lines;
}

TEST(Exports, AreTheListedNamesAndTheBackEndsOwnClasses) {
    std::regex const own("((vtable|typeinfo|typeinfo name) for |(non-virtual|virtual) thunk to )?"
                         "trevik::kelvo::([A-Za-z]+GL2(::.*)?|VertexAttribSetup_[A-Za-z0-9_]+\\(.*)");
    std::set<std::string> missing = ReadList("exports.txt");
    for (std::string const& name : NamesOf(Names::Shown)) {
        bool const fListed = missing.erase(name) + missing.erase(name.substr(0, name.find('('))) > 0;
        EXPECT_TRUE(fListed || std::regex_match(name, own)) << name << " leaves the library";
    }
    EXPECT_EQ(missing, std::set<std::string>());
}

TEST(TypeInformation, OfTheContractStandsInTheHostAlone) {
    // Left are types of the back end itself, and templates and the interface of visitors, whose types nobody
    // asks for across libraries; sanitizers' checks alone have need of the latter.
    std::regex const foreign(
        "typeinfo for trevik::"
        "(?!(kelvo::([A-Za-z]+GL2|EGLImage[A-Za-z]*|TextImageBackground|NodeVisitor)$|.*<)).*");
    for (std::string const& name : NamesOf(Names::Defined)) {
        EXPECT_FALSE(std::regex_match(name, foreign)) << name << " stands in the back end";
    }
}

/** Whether some pattern covers a demangled name. */
bool IsListed(std::string const& name) {
    static std::set<std::string> const patterns = ReadList("imports.txt");
    static std::regex const plain(
        "(?:non-virtual thunk to )?((?:vtable for |typeinfo for )?)trevik::([^(]*)(?:\\(.*)?");
    std::smatch parts;
    if (std::regex_match(name, parts, plain)) {
        for (std::string const& pattern : patterns) {
            if (std::regex_match(parts[1].str() + parts[2].str(), std::regex(pattern))) {
                return true;
            }
        }
    }
    return false;
}

TEST(Imports, OfTheHostTheBackEndNeedsWhatTheContractListsAlone) {
    for (std::string const& name : NamesOf(Names::Required)) {
        EXPECT_TRUE(name.find("trevik::") == name.npos || IsListed(name))
            << name << " is asked of every host";
    }
    for (char const* name : {"trevik::kelvo::Scene::RenderFrame(trevik::kelvo::GraphicsDevice&)",
                             "trevik::kelvo::Texture::GetImageSize(int, int, int)",
                             "trevik::kelvo::Texture::~TextureGL2()", "trevik::g_value"}) {
        EXPECT_FALSE(IsListed(name)) << name;
    }
}

} // namespace
