#include "ShaderSource.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>

namespace kelvokit::recording {

namespace {

struct TypeName {
    char const* name;
    GLenum type;
    std::size_t components;
};

TypeName const TypeNames[] = {
    {"float", GL_FLOAT, 1},
    {"vec2", GL_FLOAT_VEC2, 2},
    {"vec3", GL_FLOAT_VEC3, 3},
    {"vec4", GL_FLOAT_VEC4, 4},
    {"int", GL_INT, 1},
    {"ivec2", GL_INT_VEC2, 2},
    {"ivec3", GL_INT_VEC3, 3},
    {"ivec4", GL_INT_VEC4, 4},
    {"bool", GL_BOOL, 1},
    {"bvec2", GL_BOOL_VEC2, 2},
    {"bvec3", GL_BOOL_VEC3, 3},
    {"bvec4", GL_BOOL_VEC4, 4},
    {"mat2", GL_FLOAT_MAT2, 4},
    {"mat3", GL_FLOAT_MAT3, 9},
    {"mat4", GL_FLOAT_MAT4, 16},
    {"sampler2D", GL_SAMPLER_2D, 1},
    {"samplerCube", GL_SAMPLER_CUBE, 1},
};

bool IsWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/** Where a comment or preprocessor line that begins at `at` ends; `at` itself when none begins there. */
std::size_t SkipNonCode(std::string const& source, std::size_t at, bool fLineStart) {
    std::size_t nEnd = at;
    if (source.compare(at, 2, "/*") == 0) {
        nEnd = source.find("*/", at + 2);
        return nEnd == std::string::npos ? source.size() : nEnd + 2;
    }
    if (source.compare(at, 2, "//") != 0 && !(fLineStart && source[at] == '#')) {
        return at;
    }
    while (nEnd < source.size() && (source[nEnd] != '\n' || source[nEnd - 1] == '\\')) {
        ++nEnd;
    }
    return nEnd;
}

/** Words and single characters, without white space, comments and preprocessor lines. */
std::vector<std::string> Tokens(std::string const& source) {
    std::vector<std::string> tokens;
    bool fLineStart = true;
    for (std::size_t at = 0; at < source.size();) {
        std::size_t const nCode = SkipNonCode(source, at, fLineStart);
        if (nCode != at) {
            at = nCode;
            continue;
        }
        if (std::isspace(static_cast<unsigned char>(source[at])) != 0) {
            fLineStart = fLineStart || source[at] == '\n';
            ++at;
            continue;
        }
        fLineStart = false;
        std::size_t nEnd = at + 1;
        if (IsWord(source[at])) {
            nEnd = static_cast<std::size_t>(std::distance(
                source.begin(),
                std::find_if_not(source.begin() + static_cast<std::ptrdiff_t>(at), source.end(), IsWord)));
        }
        tokens.push_back(source.substr(at, nEnd - at));
        at = nEnd;
    }
    return tokens;
}

/** Reads the names after the type, "a, b[4]", up to the semicolon; `at` ends on it. */
void ReadDeclarators(std::vector<std::string> const& tokens, std::size_t& at, Declaration const& common,
                     std::vector<Declaration>& declarations) {
    for (; at < tokens.size() && tokens[at] != ";"; ++at) {
        if (tokens[at] == ",") {
            continue;
        }
        if (tokens[at] != "[") {
            declarations.push_back(common);
            declarations.back().name = tokens[at];
            continue;
        }
        if (at + 1 < tokens.size() && !declarations.empty()) {
            declarations.back().size = std::max(std::atoi(tokens[at + 1].c_str()), 1);
        }
        while (at < tokens.size() && tokens[at] != "]") {
            ++at;
        }
    }
}

std::size_t Uses(std::vector<std::string> const& tokens, std::string const& name) {
    std::size_t nUses = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        nUses += tokens[i] == name && (i == 0 || tokens[i - 1] != ".") ? 1 : 0;
    }
    return nUses;
}

} // namespace

std::vector<Declaration> ParseDeclarations(std::string const& source) {
    std::vector<std::string> const tokens = Tokens(source);
    std::vector<Declaration> declarations;
    for (std::size_t at = 0; at < tokens.size(); ++at) {
        if (tokens[at] != "uniform" && tokens[at] != "attribute") {
            continue;
        }
        Declaration common;
        common.isAttribute = tokens[at] == "attribute";
        ++at;
        if (at < tokens.size() &&
            (tokens[at] == "lowp" || tokens[at] == "mediump" || tokens[at] == "highp")) {
            ++at;
        }
        auto const type =
            std::find_if(std::begin(TypeNames), std::end(TypeNames), [&](TypeName const& entry) {
                return at < tokens.size() && entry.name == tokens[at];
            });
        if (type == std::end(TypeNames)) {
            continue;
        }
        common.type = type->type;
        ReadDeclarators(tokens, ++at, common, declarations);
    }
    for (Declaration& declaration : declarations) {
        declaration.isUsed = Uses(tokens, declaration.name) > 1;
    }
    return declarations;
}

bool HasMain(std::string const& source) {
    std::vector<std::string> const tokens = Tokens(source);
    char const* const main[] = {"void", "main", "("};
    return std::search(tokens.begin(), tokens.end(), std::begin(main), std::end(main)) != tokens.end();
}

std::size_t ComponentCount(GLenum type) {
    auto const found = std::find_if(std::begin(TypeNames), std::end(TypeNames),
                                    [type](TypeName const& entry) { return entry.type == type; });
    return found == std::end(TypeNames) ? 1 : found->components;
}

} // namespace kelvokit::recording
