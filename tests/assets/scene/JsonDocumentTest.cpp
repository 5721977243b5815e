#include "scene/JsonDocument.h"

#include "kelvo_test/TestFiles.h"
#include "scene/JsonCursor.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace trevik::kelvo::assets {
namespace {

/** A document that is no longer than its limits, or is refused. */
struct Parsed {
    explicit Parsed(std::string const& text, JsonLimits const& limits = JsonLimits()) {
        fParsed = ParseJson({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, source.name,
                            limits, source.pool, source.root, fault);
    }

    JsonSource source{"f.json", JsonValue(JsonValue::Kind::Bool), SceneFaults()};
    Fault fault;
    bool fParsed;
};

TEST(JsonDocument, KeepsOrderKindsAndLines) {
    Parsed const parsed("{\n \"b\": 1.5,\n \"a\": [true, null,\n  \"x\\u00e9\"\n ],\n \"c\": 2\n}\n");
    ASSERT_TRUE(parsed.fParsed) << parsed.fault.GetText();
    JsonValue const& root = parsed.source.root;
    ASSERT_EQ(root.GetItems().size(), 3u);
    EXPECT_EQ(root.GetName(0) + root.GetName(1) + root.GetName(2), "bac");
    EXPECT_EQ(root.GetLine(), 1u);
    EXPECT_EQ(root.GetItems()[0].GetNumber(), 1.5);
    EXPECT_EQ(root.GetItems()[0].GetLine(), 2u);
    JsonValue const& array = root.GetItems()[1];
    EXPECT_EQ(array.GetLine(), 3u);
    EXPECT_TRUE(array.GetItems()[0].GetBool());
    EXPECT_EQ(array.GetItems()[1].GetKind(), JsonValue::Kind::Null);
    EXPECT_EQ(array.GetItems()[2].GetText(), "x\xc3\xa9");
    EXPECT_EQ(array.GetItems()[2].GetLine(), 4u);
    // A number is read up to the line break behind it, and still belongs to the line before.
    EXPECT_EQ(root.GetItems()[2].GetLine(), 6u);
}

TEST(JsonPool, HasEachNameOnceUntilItEnds) {
    JsonPool pool;
    std::map<std::string, std::string const*> kept;
    for (int nRound = 0; nRound < 3; ++nRound) {
        for (char const* pName : {"", "aa", "ab", "ac", "b", "bb", "Position", "Rotation"}) {
            std::string const* const pKept = pool.KeepName(pName);
            EXPECT_EQ(*pKept, pName);
            EXPECT_EQ(kept.emplace(pName, pKept).first->second, pKept);
        }
    }
    pool.Clear();
    EXPECT_FALSE(pool.HasName("aa"));
    EXPECT_EQ(*pool.KeepName("aa"), "aa");
    EXPECT_TRUE(pool.HasName("aa")) << "it is the one from before";
}

TEST(JsonDocument, TellsTheLineAndColumnOfWhatIsNoJson) {
    for (testing::TextCase const& test : testing::ReadCases("scene/data/json-errors.txt")) {
        Parsed const parsed(test.text);
        EXPECT_FALSE(parsed.fParsed) << test.text;
        EXPECT_TRUE(testing::IsMessage(parsed.fault.GetText(), "f.json:" + test.expected));
        EXPECT_EQ(parsed.source.root.GetKind(), JsonValue::Kind::Bool) << "the result was touched";
    }
}

TEST(JsonDocument, KeepsToTheLimits) {
    JsonLimits limits;
    limits.nDepth = 3;
    limits.nValues = 5;
    auto const parse = [&](char const* pText) { return Parsed(pText, limits).fault.GetText(); };
    EXPECT_EQ(parse("[[[1]]]"), "");
    EXPECT_EQ(parse("[[\n[[]]]]"), "f.json:2: arrays and objects are nested deeper than 3 levels");
    EXPECT_EQ(parse("[1,2,3,4]"), "");
    EXPECT_EQ(parse("[1,2,3,4,\n5]"), "f.json:2: more than 5 values");
}

/** The text of the fault that `read` throws. */
template <class Function>
std::string FaultOf(Function read) {
    try {
        read();
    } catch (Fault const& fault) {
        return fault.GetText();
    }
    return "no fault";
}

TEST(JsonCursor, NamesPlaceAndWhatStandsThere) {
    Parsed parsed("{\"nodes\": [0, {\"a/b~c\": [1, 2]}],\n \"text\": \"a long\\u007ftext "
                  "that goes on and on and on and on\"}");
    JsonCursor const root(parsed.source);
    JsonCursor const pair = root.Require("nodes").GetItem(1).Require("a/b~c");
    EXPECT_EQ(FaultOf([&] { pair.ReadCount("3 numbers", 3); }),
              "f.json:1: /nodes/1/a~1b~0c: expected 3 numbers, found an array of 2");
    EXPECT_EQ(
        FaultOf([&] { root.Require("text").ReadNumber(0, 1); }),
        "f.json:2: /text: expected a number, found string \"a long?text that goes on and on and on a...\"");
}

} // namespace
} // namespace trevik::kelvo::assets
