#include "scene/JsonDocument.h"

#include "kelvo_test/TestFiles.h"
#include "scene/JsonCursor.h"

#include <gtest/gtest.h>

#include <string>

namespace trevik::kelvo::assets {
namespace {

bool Parse(std::string const& text, JsonValue& root, Fault& fault, JsonLimits const& limits = JsonLimits()) {
    return ParseJson({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, "f.json", limits,
                     root, fault);
}

JsonSource ParseSource(std::string const& text) {
    JsonSource source{"f.json", JsonValue(), SceneFaults()};
    Fault fault;
    EXPECT_TRUE(Parse(text, source.root, fault)) << fault.GetText();
    return source;
}

TEST(JsonDocument, KeepsOrderKindsAndLines) {
    JsonSource source =
        ParseSource("{\n \"b\": 1.5,\n \"a\": [true, null,\n  \"x\\u00e9\"\n ],\n \"c\": 2\n}\n");
    JsonValue const& root = source.root;
    EXPECT_EQ(root.GetNames(), (std::vector<std::string>{"b", "a", "c"}));
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

TEST(JsonDocument, TellsTheLineAndColumnOfWhatIsNoJson) {
    for (testing::TextCase const& test : testing::ReadCases("scene/data/json-errors.txt")) {
        JsonValue root(JsonValue::Kind::Bool);
        Fault fault;
        EXPECT_FALSE(Parse(test.text, root, fault)) << test.text;
        EXPECT_TRUE(testing::IsMessage(fault.GetText(), "f.json:" + test.expected));
        EXPECT_EQ(root.GetKind(), JsonValue::Kind::Bool) << "the result was touched";
    }
}

TEST(JsonDocument, KeepsToTheLimits) {
    JsonLimits limits;
    limits.nDepth = 3;
    limits.nValues = 5;
    JsonValue root;
    Fault fault;
    EXPECT_TRUE(Parse("[[[1]]]", root, fault, limits)) << fault.GetText();
    EXPECT_FALSE(Parse("[[\n[[]]]]", root, fault, limits));
    EXPECT_EQ(fault.GetText(), "f.json:2: arrays and objects are nested deeper than 3 levels");
    EXPECT_TRUE(Parse("[1,2,3,4]", root, fault, limits)) << fault.GetText();
    EXPECT_FALSE(Parse("[1,2,3,4,\n5]", root, fault, limits));
    EXPECT_EQ(fault.GetText(), "f.json:2: more than 5 values");
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
    JsonSource source = ParseSource("{\"nodes\": [0, {\"a/b~c\": [1, 2]}],\n \"text\": \"a long\\u007ftext "
                                    "that goes on and on and on and on\"}");
    JsonCursor const root(source);
    JsonCursor const pair = root.Require("nodes").GetItem(1).Require("a/b~c");
    EXPECT_EQ(FaultOf([&] { pair.ReadCount("3 numbers", 3); }),
              "f.json:1: /nodes/1/a~1b~0c: expected 3 numbers, found an array of 2");
    EXPECT_EQ(
        FaultOf([&] { root.Require("text").ReadNumber(0, 1); }),
        "f.json:2: /text: expected a number, found string \"a long?text that goes on and on and on a...\"");
}

} // namespace
} // namespace trevik::kelvo::assets
