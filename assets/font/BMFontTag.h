#pragma once

#include "font/BMFontDescription.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

/** One line of a text description, or one element of an XML one. What it views must outlive it. */
struct BMFontTag {
    std::string_view name;
    std::size_t line = 0;
    std::vector<std::pair<std::string_view, std::string_view>> attributes;

    /** The attribute's value, if it has one. Throws a Fault when the attribute is there twice. */
    std::optional<std::string_view> Find(std::string_view attribute) const;
    /** The same, but throws when there is none. */
    std::string_view Require(std::string_view attribute) const;
    /** A whole number within a range. */
    int ReadInteger(std::string_view attribute, long long nMinimum, long long nMaximum) const;
    /** The same, or `nDefault` when the attribute is not there. */
    int ReadInteger(std::string_view attribute, long long nMinimum, long long nMaximum, int nDefault) const;
    /** A code point, or -1 or 4294967295 for the glyph that stands for missing characters. */
    unsigned int ReadChar(std::string_view attribute) const;

private:
    long long ParseInteger(std::string_view attribute, std::string_view value, long long nMinimum,
                           long long nMaximum) const;
};

/** Collects tags into a description. */
class BMFontTagReader {
public:
    explicit BMFontTagReader(BMFontDescription& description) : m_description(description) {}

    /**
     * Takes one tag; those that it does not know mean nothing to it. Throws a Fault, as does Finish,
     * for when there is no more.
     */
    void Read(BMFontTag const& tag);
    void Finish() const;

    /** Whether a description may begin with it. */
    static bool IsKnown(std::string_view name);

private:
    /** How many records the description announces, and how many there are. */
    struct Counter {
        char const* pList;
        char const* pRecord;
        std::size_t nMost;
        std::optional<int> announced;
        std::size_t line = 0;
        int found = 0;
    };

    void ReadCommon(BMFontTag const& tag);
    void ReadPage(BMFontTag const& tag);
    void ReadChar(BMFontTag const& tag);
    void ReadKerning(BMFontTag const& tag);
    bool ReadCount(BMFontTag const& tag);

    BMFontDescription& m_description;
    std::array<Counter, 2> m_counters{
        {{"chars", "char", BMFontDescription::MaximumChars, {}, 0, 0},
         {"kernings", "kerning", BMFontDescription::MaximumKernings, {}, 0, 0}}};
};

} // namespace trevik::kelvo::assets
