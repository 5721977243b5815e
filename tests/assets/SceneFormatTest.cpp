// docs/scene-format.md against what the classes register.

#include "SceneNodes.h"
#include "SceneProperty.h"
#include "TestScenes.h"

#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/TransformNode.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {
namespace {

std::vector<std::string> ReadLines(std::string const& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

/**
 * The rows of the property table under a heading, without the last column; properties begin with a capital.
 */
std::vector<std::string> ReadRows(std::vector<std::string> const& lines, std::string const& heading) {
    std::vector<std::string> rows;
    bool fInside = false;
    for (std::string const& line : lines) {
        if (line.rfind('#', 0) == 0) {
            fInside = line == "### " + heading;
        } else if (fInside && line.rfind("| `", 0) == 0 && line[3] >= 'A' && line[3] <= 'Z') {
            rows.push_back(line.substr(0, line.rfind(" | ")));
        }
    }
    return rows;
}

std::string Join(std::vector<double> const& numbers) {
    std::string text;
    for (double const number : numbers) {
        text += (text.empty() ? "" : ", ") + FormatNumber(number);
    }
    return text;
}

template <class T>
T const& ValueOf(PropertyList::Entry const& entry) {
    return static_cast<BaseProperty<T> const*>(entry.m_pProperty)->GetValue();
}

std::string DescribeInitial(PropertyList::Entry const& entry) {
    switch (entry.m_pDescriptor->m_type) {
    case PropertyType::Bool:
        return ValueOf<bool>(entry) ? "true" : "false";
    case PropertyType::Int:
        return std::to_string(ValueOf<int>(entry));
    case PropertyType::Real:
        return FormatNumber(ValueOf<RealFloat>(entry));
    case PropertyType::Vector2: {
        auto const& v = ValueOf<Vector2T<RealFloat>>(entry);
        return Join({v.x, v.y});
    }
    case PropertyType::Vector3: {
        auto const& v = ValueOf<Vector3T<RealFloat>>(entry);
        return Join({v.x, v.y, v.z});
    }
    case PropertyType::Rectangle: {
        auto const& r = ValueOf<RectangleT<RealFloat>>(entry);
        return Join({r.left, r.top, r.right, r.bottom});
    }
    case PropertyType::Color: {
        auto const& color = ValueOf<ColorT<RealFloat>>(entry);
        return Join({color.r, color.g, color.b, color.a});
    }
    case PropertyType::SizeReal: {
        auto const& size = ValueOf<SizeT<RealFloat>>(entry);
        return Join({size.width, size.height});
    }
    case PropertyType::String:
        return ValueOf<StringEncoded<UTF16Encoding>>(entry).IsEmpty() ? "empty" : "some";
    case PropertyType::SizeInt: {
        auto const& size = ValueOf<SizeT<int>>(entry);
        return Join({double(size.width), double(size.height)});
    }
    case PropertyType::PairList:
        return ValueOf<List<Vector2T<int>>>(entry).IsEmpty() ? "none" : "some";
    default:
        return "?";
    }
}

/** The rows that the properties ask for, without those that another class has, too. */
std::vector<std::string> ExpectedRows(PropertyList const& properties, PropertyList const* pBase) {
    std::vector<std::string> rows;
    std::vector<std::string> const names = GetPropertyNames(properties);
    for (unsigned int n = 0; n < properties.GetCount(); ++n) {
        PropertyList::Entry const& entry = properties.GetEntry(n);
        if (!pBase || !pBase->Find(entry.m_pDescriptor->m_nID)) {
            rows.push_back("| `" + names[n] + "` | " + DescribeValue(names[n], entry.m_pDescriptor->m_type) +
                           " | " + DescribeInitial(entry));
        }
    }
    return rows;
}

struct DescribedClass {
    char const* pName;
    char const* pBase; ///< whose table holds the properties before this class's own
};

TEST(SceneFormat, TablesShowWhatTheNodesRegister) {
    DescribedClass const classes[] = {{"TransformNode", ""},       {"Timeline", "TransformNode"},
                                      {"Sprite", "TransformNode"}, {"NinePatchSprite", "Sprite"},
                                      {"Text", "TransformNode"},   {"Camera", "TransformNode"}};
    std::vector<std::string> const lines = ReadLines(KELVO_SCENE_FORMAT);
    ClassRegistry registry;
    RegisterBackend(registry);
    for (DescribedClass const& described : classes) {
        Ref<Node> const pBase = *described.pBase ? CreateNode(registry, described.pBase) : Ref<Node>();
        EXPECT_EQ(ReadRows(lines, described.pName),
                  ExpectedRows(CreateNode(registry, described.pName)->GetProperties(),
                               pBase ? &pBase->GetProperties() : nullptr))
            << described.pName;
    }
}

TEST(SceneFormat, TablesShowWhatTheEffectsRegister) {
    std::vector<std::string> const lines = ReadLines(KELVO_SCENE_FORMAT);
    ClassRegistry registry;
    RegisterBackend(registry);
    for (std::string const& name : GetEffectClassNames()) {
        Ref<Referenced> const pObject(registry.Create(HashName(name.data(), name.size())));
        Effect* const pEffect = dynamic_cast<Effect*>(pObject.Get());
        ASSERT_TRUE(pEffect) << name;
        EXPECT_EQ(ReadRows(lines, name), ExpectedRows(pEffect->GetProperties(), nullptr)) << name;
    }
}

TEST(SceneFormat, NamesEveryClassAndEasing) {
    std::string text;
    for (std::string const& line : ReadLines(KELVO_SCENE_FORMAT)) {
        text += line + "\n";
    }
    for (std::string const& name : GetNodeClassNames()) {
        EXPECT_NE(text.find("\n### " + name + "\n"), std::string::npos) << name;
    }
    for (unsigned int n = 0; char const* const pName = Interpolate::GetName(n); ++n) {
        EXPECT_NE(text.find("| `" + std::string(pName) + "` | "), std::string::npos) << pName;
    }
}

/** The scene that a snippet of the description stands for. */
std::string CompleteSnippet(std::string const& snippet) {
    if (snippet.find("\"nodes\"") != std::string::npos) {
        return snippet;
    }
    if (snippet.rfind("{", 0) == 0) {
        return "{\"textures\": {\"leaf\": \"leaf.png\"}, \"fonts\": {\"title\": {\"family\": \"DejaVu "
               "Sans\"}}, \"nodes\": [" +
               snippet + "]}";
    }
    if (snippet.rfind("\"textures\"", 0) == 0 || snippet.rfind("\"fonts\"", 0) == 0) {
        return "{" + snippet + ", \"nodes\": []}";
    }
    return SceneOf("{\"class\": \"Sprite\", " + snippet + "}");
}

TEST(SceneFormat, SnippetsCanBeRead) {
    unsigned int nSnippets = 0;
    std::string snippet;
    bool fInside = false;
    for (std::string const& line : ReadLines(KELVO_SCENE_FORMAT)) {
        if (fInside && line == "```") {
            Scene scene;
            bool const fFonts = snippet.rfind("\"fonts\"", 0) == 0;
            ReadGood(CompleteSnippet(snippet), scene,
                     fFonts ? KELVO_EXAMPLES "/format/" : KELVO_EXAMPLES "/showcase/");
            EXPECT_TRUE(scene.GetRoot()) << snippet;
            ++nSnippets;
            fInside = false;
        } else if (fInside) {
            snippet += line + "\n";
        } else if (line == "```json") {
            fInside = true;
            snippet.clear();
        }
    }
    EXPECT_GE(nSnippets, 9u);
}

} // namespace
} // namespace trevik::kelvo::assets::testing
