#include "kelvo_recording/Recording.h"

#include <cstdio>

// Calls as text.
namespace kelvokit::recording {

namespace {

constexpr std::size_t FewBytes = 64;

/** The groups of a call, the outermost first. */
std::vector<Group const*> GroupsOf(Call const& call) {
    std::vector<Group const*> groups;
    for (Group const* pGroup = call.group.get(); pGroup; pGroup = pGroup->parent.get()) {
        groups.insert(groups.begin(), pGroup);
    }
    return groups;
}

std::string NumberText(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value == 0 ? 0.0 : static_cast<double>(value));
    return text;
}

/** What a call answered, where that says more than that it went well. */
std::string ResultText(Call const& call) {
    if (call.name == "glGetError" || call.name == "glCheckFramebufferStatus") {
        return " = " + EnumName(static_cast<GLenum>(call.result));
    }
    if (call.name.compare(0, 8, "glCreate") == 0) {
        return " = " + std::to_string(call.result);
    }
    if (call.name == "eglGetError") {
        return " = " + EglEnumName(static_cast<EGLint>(call.result));
    }
    if (call.name.compare(0, 9, "eglCreate") == 0) {
        return " = " + HandleName(reinterpret_cast<void const*>(call.result));
    }
    bool const fLocation = call.name == "glGetUniformLocation" || call.name == "glGetAttribLocation";
    return fLocation && call.result == -1 ? " = -1" : "";
}

std::string ErrorText(Call const& call) {
    if (call.error == 0) {
        return "";
    }
    return " -> " +
           (call.name[0] == 'e' ? EglEnumName(static_cast<EGLint>(call.error)) : EnumName(call.error));
}

/** Number and FNV-1a hash. */
std::string DigestText(void const* bytes, std::size_t size) {
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ static_cast<std::uint8_t const*>(bytes)[i]) * 16777619u;
    }
    char text[48];
    std::snprintf(text, sizeof text, "%zu, hash %08x", size, static_cast<unsigned>(hash));
    return text;
}

std::string BytesText(std::vector<std::uint8_t> const& bytes) {
    if (bytes.size() > FewBytes) {
        return DigestText(bytes.data(), bytes.size());
    }
    std::string text;
    for (std::uint8_t const byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%s%02x", text.empty() ? "" : " ", byte);
        text += digits;
    }
    return text;
}

/** "0 0 0, 4 0 0": the components of each vertex. */
std::string VerticesText(VertexStream const& stream) {
    std::string text;
    for (std::size_t i = 0; i < stream.values.size(); ++i) {
        bool const fFirst = i % static_cast<std::size_t>(stream.size) == 0;
        text += (i == 0 ? "" : fFirst ? ", " : " ") + NumberText(stream.values[i]);
    }
    return text;
}

/** The lines below a call. */
std::vector<std::string> DetailsOf(Call const& call) {
    std::vector<std::string> lines;
    if (call.name == "glShaderSource") {
        lines.push_back("source: " + DigestText(call.text.data(), call.text.size()));
    } else if (!call.bytes.empty()) {
        lines.push_back("bytes: " + BytesText(call.bytes));
    }
    if (!call.draw) {
        return lines;
    }
    if (call.draw->indexType != GL_NONE) {
        lines.emplace_back("indices:");
        for (GLuint const index : call.draw->indices) {
            lines.back() += " " + std::to_string(index);
        }
    }
    for (auto const& stream : call.draw->streams) {
        std::string const name =
            stream.second.name.empty() ? "attribute " + std::to_string(stream.first) : stream.second.name;
        lines.push_back(name + ": " + VerticesText(stream.second));
    }
    return lines;
}

} // namespace

std::string ToText(std::vector<Call> const& calls) {
    std::string text;
    std::vector<Group const*> open;
    auto const add = [&text](std::size_t depth, std::string const& line) {
        text += std::string(2 * depth, ' ') + line + '\n';
    };
    for (Call const& call : calls) {
        std::vector<Group const*> const groups = GroupsOf(call);
        bool fSame = true;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            fSame = fSame && i < open.size() && open[i] == groups[i];
            if (!fSame) {
                add(i, groups[i]->text);
            }
        }
        open = groups;
        add(open.size(), call.name.empty() ? call.line : call.line + ResultText(call) + ErrorText(call));
        for (std::string const& line : DetailsOf(call)) {
            add(open.size() + 1, line);
        }
    }
    return text;
}

} // namespace kelvokit::recording
