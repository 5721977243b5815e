// docs/scene-format.md against what the classes register.

#include "TestScenes.h"
#include "kelvo_test/GoldenText.h"
#include "scene/SceneNodes.h"
#include "scene/SceneProperty.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {
namespace {

using kelvokit::test::ReadText;

std::vector<std::string> ReadLines() {
    std::vector<std::string> lines;
    std::istringstream text(ReadText(KELVO_SCENE_FORMAT));
    for (std::string line; std::getline(text, line);) {
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

/** The rows that the properties ask for, without those that another class has, too. */
std::vector<std::string> ExpectedRows(PropertyList const& properties, PropertyList const* pBase) {
    std::vector<std::string> rows;
    std::vector<std::string> const names = GetPropertyNames(properties);
    for (unsigned int n = 0; n < properties.GetCount(); ++n) {
        PropertyList::Entry const entry = properties.GetEntry(n);
        if (!pBase || !pBase->Find(entry.m_pDescriptor->m_nID)) {
            rows.push_back("| `" + names[n] + "` | " + DescribeValue(names[n], entry.m_pDescriptor->m_type) +
                           " | " + DescribeValueOf(entry));
        }
    }
    return rows;
}

TEST(SceneFormat, TablesShowWhatNodesAndEffectsRegister) {
    // Behind a node's class the one whose table holds the properties before its own.
    std::map<std::string, std::string> const bases = {{"Timeline", "TransformNode"},
                                                      {"Sprite", "TransformNode"},
                                                      {"NinePatchSprite", "Sprite"},
                                                      {"Text", "TransformNode"},
                                                      {"Camera", "TransformNode"}};
    std::vector<std::string> const lines = ReadLines();
    ClassRegistry registry;
    RegisterBackend(registry);
    for (std::string const& name : GetNodeClassNames()) {
        auto const base = bases.find(name);
        Ref<Node> const pBase = base != bases.end() ? CreateNode(registry, base->second) : Ref<Node>();
        if (name != "AlphaTestGroup") { // which has no properties of its own
            EXPECT_EQ(ReadRows(lines, name), ExpectedRows(CreateNode(registry, name)->GetProperties(),
                                                          pBase ? &pBase->GetProperties() : nullptr))
                << name;
        }
    }
    for (std::string const& name : GetEffectClassNames()) {
        Ref<Referenced> const pObject(registry.Create(HashName(name.data(), name.size())));
        EXPECT_EQ(ReadRows(lines, name),
                  ExpectedRows(dynamic_cast<Effect&>(*pObject).GetProperties(), nullptr))
            << name;
    }
}

TEST(SceneFormat, NamesEveryClassAndEasing) {
    std::string const text = ReadText(KELVO_SCENE_FORMAT);
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
    return "{\"nodes\": [{\"class\": \"Sprite\", " + snippet + "}]}";
}

TEST(SceneFormat, SnippetsCanBeRead) {
    unsigned int nSnippets = 0;
    std::string snippet;
    bool fInside = false;
    for (std::string const& line : ReadLines()) {
        if (fInside && line == "```") {
            Scene scene;
            bool const fFonts = snippet.rfind("\"fonts\"", 0) == 0;
            Fault fault;
            EXPECT_TRUE(ReadScene(CompleteSnippet(snippet),
                                  fFonts ? KELVO_EXAMPLES "/format/" : KELVO_EXAMPLES "/showcase/", scene,
                                  fault))
                << fault.GetText();
            EXPECT_TRUE(IsSavedAlike(scene)) << snippet;
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
