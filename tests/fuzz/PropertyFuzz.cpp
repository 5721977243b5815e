// Loads a property from a document node whose attributes are the input's bytes, evaluates it around every
// border, and saves and loads what it holds: both times it must give the same values.
//
// Input: a byte that selects the value type, a byte that selects "Value" or a sample controller, start frame,
// size word and a frame (4 bytes each), then the attribute's bytes.

#include "FuzzChecks.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/RectangleProperty.h"
#include "trevik/kelvo/Vector3Property.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using fuzz::Require;

namespace {

struct Input {
    bool m_fController;
    int m_nStartFrame;
    unsigned int m_nSizeWord;
    RealFloat m_frame;
    std::uint8_t const* m_pBytes;
    std::size_t m_nLength;
};

Ref<DocumentNode> MakeNode(Input const& input) {
    Ref<DocumentNode> pNode(new DocumentNode(0, 0));
    if (!input.m_fController) {
        pNode->AddAttribute(DocumentID::Value, input.m_pBytes, input.m_nLength);
        return pNode;
    }
    Ref<DocumentNode> pController(new DocumentNode(DocumentID::Controller, DocumentID::Sample));
    auto const AddWord = [&pController](unsigned int nID, auto const& word) {
        pController->AddAttribute(nID, reinterpret_cast<std::uint8_t const*>(&word), sizeof(word));
    };
    AddWord(DocumentID::StartFrame, input.m_nStartFrame);
    AddWord(DocumentID::Size, input.m_nSizeWord);
    pController->AddAttribute(DocumentID::Samples, input.m_pBytes, input.m_nLength);
    pNode->AddChild(pController);
    return pNode;
}

template <class T>
bool IsSame(T const& a, T const& b) {
    if constexpr (std::is_trivially_copyable_v<T>) {
        return std::memcmp(&a, &b, sizeof(T)) == 0; // what is not a number is the same as itself here
    } else {
        return a == b;
    }
}

/** Whether saving may merge samples that compare equal and yet differ in their sign. */
bool HoldsNegativeZero(Input const& input) {
    std::uint8_t const zero[] = {0, 0, 0, 0x80};
    std::uint8_t const* const pEnd = input.m_pBytes + input.m_nLength;
    return std::search(input.m_pBytes, pEnd, std::begin(zero), std::end(zero)) != pEnd;
}

template <class P>
bool LoadFrom(Ref<DocumentNode> const& pNode, P& property) {
    ClassRegistry registry;
    Deserializer deserializer(pNode, registry);
    return property.Load(deserializer);
}

template <class P>
void CompareAround(Input const& input, P& loaded, P& reloaded) {
    RealFloat const start = static_cast<RealFloat>(input.m_nStartFrame);
    for (RealFloat frame :
         {input.m_frame, start, start + 0.5f, start + 1, start + 1.75f, -INFINITY, INFINITY}) {
        loaded.Update(UpdateContext(), frame);
        reloaded.Update(UpdateContext(), frame);
        Require(IsSame(loaded.GetValue(), reloaded.GetValue()) || HoldsNegativeZero(input));
    }
}

template <class P>
void Try(Input const& input) {
    Ref<DocumentNode> pNode = MakeNode(input);
    P loaded;
    if (!LoadFrom(pNode, loaded)) {
        Require(loaded.GetControllerCount() == 0 && IsSame(loaded.GetValue(), P().GetValue()));
        return;
    }
    // Saving turns samples into runs: save another property, and compare it with the one that stays as it was
    // loaded.
    P saved;
    P reloaded;
    Serializer serializer;
    Require(LoadFrom(pNode, saved) && saved.Save(serializer));
    Require(LoadFrom(serializer.Finish(), reloaded)); // an inert controller saves nothing, but the value is
    CompareAround(input, loaded, reloaded);
    CompareAround(input, loaded, saved);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* pData, std::size_t nSize) {
    constexpr std::size_t HeaderLength = 14;
    if (nSize < HeaderLength) {
        return 0;
    }
    Input input = {(pData[1] & 1) != 0, 0, 0, 0, pData + HeaderLength, nSize - HeaderLength};
    std::memcpy(&input.m_nStartFrame, pData + 2, 4);
    std::memcpy(&input.m_nSizeWord, pData + 6, 4);
    std::memcpy(&input.m_frame, pData + 10, 4);
    void (*const types[])(Input const&) = {Try<IntProperty>,
                                           Try<RealProperty>,
                                           Try<Vector3Property>,
                                           Try<RectangleProperty>,
                                           Try<BoolProperty>,
                                           Try<Vector2Property>,
                                           Try<ColorProperty>,
                                           Try<SizeIntProperty>,
                                           Try<SizeRealProperty>,
                                           Try<StringProperty>,
                                           Try<ListProperty<Vector2T<int>>>};
    types[pData[0] % std::size(types)](input);
    return 0;
}
