#pragma once

#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/RectangleProperty.h"
#include "trevik/kelvo/Vector3Property.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace trevik::kelvo::test {

/** Sets a property to one to four numbers; false when it takes none. */
inline bool SetProperty(PropertyList::Entry const& entry, std::vector<RealFloat> const& v) {
    Property* const p = entry.m_pProperty;
    int const n = static_cast<int>(v[0]);
    switch (entry.m_pDescriptor->m_type) {
    case PropertyType::Bool:
        static_cast<BoolProperty*>(p)->SetValue(n != 0);
        break;
    case PropertyType::Int:
        static_cast<IntProperty*>(p)->SetValue(n);
        break;
    case PropertyType::Real:
        static_cast<RealProperty*>(p)->SetValue(v[0]);
        break;
    case PropertyType::Vector3:
        static_cast<Vector3Property*>(p)->SetValue(Vector3T<RealFloat>(v[0], v[1], v[2]));
        break;
    case PropertyType::Rectangle:
        static_cast<RectangleProperty*>(p)->SetValue(RectangleT<RealFloat>(v[0], v[1], v[2], v[3]));
        break;
    case PropertyType::Color:
        static_cast<ColorProperty*>(p)->SetValue(ColorT<RealFloat>(v[0], v[1], v[2], v[3]));
        break;
    case PropertyType::SizeInt:
        static_cast<SizeIntProperty*>(p)->SetValue(SizeT<int>(n, static_cast<int>(v[1])));
        break;
    case PropertyType::SizeReal:
        static_cast<SizeRealProperty*>(p)->SetValue(SizeT<RealFloat>(v[0], v[1]));
        break;
    default:
        return false;
    }
    return true;
}

/** A setting of an input, "name=number,number...". */
struct Setting {
    std::string m_sName;
    std::vector<RealFloat> m_values; ///< a 0 where there is none

    explicit Setting(std::string const& sText) : m_sName(sText.substr(0, sText.find('='))) {
        for (std::size_t n = m_sName.size(); n < sText.size(); n = sText.find(',', n + 1)) {
            m_values.push_back(std::strtof(sText.c_str() + n + 1, nullptr));
        }
        m_values.resize(std::max(m_values.size(), std::size_t(1)));
    }
    RealFloat GetFirst() const { return m_values[0]; }

    /** Sets the property of that name; false when there is none. */
    bool Apply(PropertyList const& list) const {
        PropertyList::Found const pEntry = list.Find(HashName(m_sName.c_str()));
        std::vector<RealFloat> v(m_values);
        v.resize(4);
        return pEntry && SetProperty(*pEntry, v);
    }
};

/**
 * Compares a table of this folder with what its inputs give now. Each input is a line that does not begin
 * with a space; what it gives, lines that do, stands below it. With KELVO_REWRITE_GOLDEN in the environment
 * the table is written anew, for its changes to be looked at.
 */
template <class Evaluate>
void CompareTable(char const* pName, Evaluate evaluate) {
    std::string const sPath = std::string(KELVO_SOURCE_DIRECTORY "/tests/host/") + pName;
    std::ifstream file(sPath);
    std::ostringstream whole;
    whole << file.rdbuf();
    file.close();
    std::string actual, line;
    std::istringstream inputs(whole.str());
    while (std::getline(inputs, line)) {
        if (line.empty() || line[0] != ' ') {
            actual += line + "\n" + evaluate(line);
        }
    }
    if (std::getenv("KELVO_REWRITE_GOLDEN")) {
        std::ofstream(sPath) << actual;
    }
    std::istringstream is(actual), shouldBe(whole.str());
    std::string isLine, input;
    for (int nLine = 1; std::getline(shouldBe, line); ++nLine) {
        std::getline(is, isLine);
        input = line[0] == ' ' ? input : line;
        EXPECT_EQ(isLine, line) << sPath << ":" << nLine << " of " << input;
    }
    EXPECT_EQ(actual.size(), whole.str().size()) << sPath;
}

} // namespace trevik::kelvo::test
