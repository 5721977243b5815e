// Packed documents: their form, that what is packed comes back, and that nothing else is taken for one.

#include "kelvo_host/DocumentFile.h"
#include "kelvo_test/TemporaryFolder.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

namespace trevik::kelvo {
namespace {

typedef std::vector<unsigned char> Bytes;

unsigned int GetChecksum(Bytes const& bytes) {
    unsigned int nChecksum = ~0u;
    for (unsigned char const nByte : bytes) {
        nChecksum ^= nByte;
        for (int nBit = 0; nBit < 8; ++nBit) {
            nChecksum = nChecksum >> 1 ^ (nChecksum & 1 ? 0xedb88320u : 0u);
        }
    }
    return ~nChecksum;
}

Bytes operator+(Bytes first, Bytes const& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/** A whole file around packed content. */
Bytes Wrap(Bytes const& content) {
    Bytes const bytes = Bytes{'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'} +
                        BytesOf(3, static_cast<unsigned int>(content.size())) + content;
    return bytes + BytesOf(GetChecksum(bytes));
}

Bytes Pack(DocumentNode const& document) {
    List<unsigned char> bytes;
    EXPECT_TRUE(DocumentFile::Write(document, bytes));
    return Bytes(bytes.begin(), bytes.end());
}

Ref<DocumentNode> Read(Bytes const& bytes, std::string* pFault = nullptr) {
    Fault fault;
    Ref<DocumentNode> const pDocument = DocumentFile::Read(bytes.data(), bytes.size(), fault);
    EXPECT_EQ(!pDocument, !fault.IsEmpty());
    if (pFault) {
        *pFault = fault.GetText();
    }
    return pDocument;
}

Bytes Flatten(DocumentNode const& document) {
    List<unsigned char> bytes;
    EXPECT_TRUE(document.Write(bytes));
    return Bytes(bytes.begin(), bytes.end());
}

Ref<DocumentNode> MakeNode(unsigned int nTag, unsigned int nType, std::vector<Bytes> const& attributes = {},
                           std::vector<Ref<DocumentNode>> const& children = {}) {
    Ref<DocumentNode> const pNode(new DocumentNode(nTag, nType));
    for (unsigned int n = 0; n < attributes.size(); ++n) {
        AddBytes(*pNode, 100 + n, attributes[n]);
    }
    for (Ref<DocumentNode> const& pChild : children) {
        pNode->AddChild(pChild);
    }
    return pNode;
}

template <class Make>
Bytes MakeWords(unsigned int nCount, Make make) {
    Bytes bytes;
    for (unsigned int n = 0; n < nCount; ++n) {
        Bytes const word = BytesOf(make(n));
        bytes.insert(bytes.end(), word.begin(), word.end());
    }
    return bytes;
}

/** A bit of everything that is packed in its own way. */
Ref<DocumentNode> MakeSample() {
    std::mt19937 random(7);
    auto const noise = [&random](unsigned int) { return static_cast<unsigned int>(random()); };
    auto const course = [](unsigned int n) {
        return n % 3 == 2 ? 0.0f : 12.5f + 3.7f * static_cast<float>(n / 3);
    };
    Ref<DocumentNode> const pTwin = MakeNode(5, 6, {BytesOf(1.0f)});
    return MakeNode(
        0, 0,
        {{},
         {1},
         {0, 0},
         {0, 0, 0, 0, 0},
         BytesOf(-1),
         BytesOf(0x80000000u, 0x7fffffffu, 0u, 0xffffffffu),
         BytesOf(u'a', u'\x00ff', u'b'),
         BytesOf(u'a', u'\x0100', u'b')},
        {MakeNode(1, 2, {MakeWords(93, course)}, {pTwin, MakeNode(5, 6, {BytesOf(2.0f)}), pTwin}),
         MakeNode(1, 2, {MakeWords(10000, [](unsigned int) { return 0xff102030u; })}, {pTwin}),
         MakeNode(1, 2, {MakeWords(4001, noise)}),
         // Even at the beginning, which is what the way to pack it is chosen by, but not further on.
         MakeNode(1, 2, {MakeWords(4000, course) + MakeWords(40000, noise)}),
         MakeNode(0xffffffffu, 0x80000000u), MakeNode(5, 6)});
}

Ref<DocumentNode> MakeNested(unsigned int nLevels) {
    Ref<DocumentNode> pNode = MakeNode(0, 0);
    while (--nLevels > 0) {
        pNode = MakeNode(0, 0, {}, {pNode});
    }
    return pNode;
}

TEST(PackedDocument, HasItsForm) {
    Ref<DocumentNode> const pDocument = MakeNode(7, 8, {BytesOf(5)},
                                                 {MakeNode(9, 8, {BytesOf(u'h', u'i')}), MakeNode(9, 8),
                                                  MakeNode(9, 8, {BytesOf(u'h', u'i')}),
                                                  MakeNode(9, 8, {BytesOf(1u, 2u, 3u, 3u, 3u, 3u, 0u)})});
    Bytes const ids = Bytes{4} + BytesOf(9, 8, 100, 7);
    Bytes const shapes = {4,                         //
                          0, 1, 1, 2, 4 << 4 | 2,    // tag 9, type 8, attribute 100 with 4 bytes
                          0, 1, 0,                   // tag 9, type 8
                          0, 1, 1, 2, 0xc2,       3, // tag 9, type 8, attribute 100 with 28 bytes
                          3, 1, 1, 2, 4 << 4 | 2};   // tag 7, type 8, attribute 100 with 4 bytes
    Bytes const nodes = {
        4,                                //
        0, 9, 'h', 'i', 0,                // lower halves; no children
        1, 0,                             //
        2, 1, 3,   3,   0, 2, 1, 1, 6, 0, // one column: 1, then as foretold but for these
        3, 1, 11,  4,   0, 2, 0, 3};      // 5; four children: node 0, node 1, node 0, the one before
    EXPECT_EQ(Pack(*pDocument), Wrap(ids + shapes + nodes));
}

TEST(PackedDocument, ComesBackAsItWas) {
    for (Ref<DocumentNode> const& pDocument :
         {MakeNode(0, 0), MakeSample(), MakeNested(DocumentNode::MaximumDepth)}) {
        Bytes const packed = Pack(*pDocument);
        EXPECT_EQ(packed[8], 3);
        Ref<DocumentNode> const pRead = Read(packed);
        ASSERT_TRUE(pRead);
        EXPECT_TRUE(Flatten(*pRead) == Flatten(*pDocument));
        EXPECT_TRUE(Pack(*pRead) == packed) << "the same document comes to the same bytes";
    }
}

TEST(PackedDocument, AFileOfAnOlderVersionHoldsTheSame) {
    std::ifstream file(KELVO_SOURCE_DIRECTORY "/tests/host/storage/files/version-2.kelvo", std::ios::binary);
    Bytes const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    Ref<DocumentNode> const pOld = Read(bytes);
    ASSERT_TRUE(pOld);
    Bytes const flat = Flatten(*pOld);
    EXPECT_TRUE(flat == Bytes(bytes.begin() + 16, bytes.end() - 4)) << "nothing in it is lost";
    Bytes const packed = Pack(*pOld);
    EXPECT_LT(packed.size(), bytes.size());
    EXPECT_TRUE(Flatten(*Read(packed)) == flat);
}

TEST(PackedDocument, NodesAreMadeWhenTheyAreAskedForAndMayThenBeChanged) {
    Ref<DocumentNode> const pRead = Read(Pack(*MakeSample()));
    DocumentNode& first = *pRead->GetChild(0);
    EXPECT_EQ(first.GetChildCount(), 3u);
    EXPECT_EQ(first.GetChildTagID(1), 5u);
    EXPECT_EQ(first.GetChildTypeID(1), 6u);
    EXPECT_EQ(first.FindChildIndex(5), 0u);
    EXPECT_EQ(first.FindChildIndex(6), 3u);
    Ref<DocumentNode> const pTwin = first.ReadChild(0);
    EXPECT_EQ(first.ReadChild(2), pTwin) << "what stands at several places is made once for reading";
    EXPECT_NE(first.GetChild(0), pTwin.Get());
    EXPECT_NE(first.GetChild(0), first.GetChild(2)) << "but may be changed in one place alone";
    EXPECT_EQ(first.ReadChild(2).Get(), first.GetChild(2));
    AddBytes(*first.GetChild(0), 1, BytesOf(1));
    EXPECT_FALSE(HasAttribute(*first.GetChild(2), 1));
    DocumentNode& second = *pRead->GetChild(1);
    EXPECT_TRUE(second.InsertChild(0, MakeNode(3, 4)));
    EXPECT_EQ(second.GetChildCount(), 2u);
    EXPECT_EQ(second.GetChild(1)->GetTagID(), 5u);
    EXPECT_EQ(pRead->FindChild(0xffffffffu), pRead->GetChild(4));
    EXPECT_EQ(pRead->FindChild(77), nullptr);
    Ref<DocumentNode> const pOther = Read(Pack(*MakeSample()));
    EXPECT_TRUE(pOther->GetChild(0)->AddChild(MakeNode(3, 4)));
    EXPECT_EQ(pOther->GetChild(0)->GetChild(3)->GetTagID(), 3u) << "behind those that were packed";
}

TEST(PackedDocument, ASpareNodeBecomesTheNextUnlessSomebodyHoldsIt) {
    long long const nLive = Allocation::GetLiveCount();
    Ref<DocumentNode> pHeld;
    {
        Ref<DocumentNode> const pRead = Read(Pack(*MakeNode(
            0, 0, {},
            {MakeNode(1, 1, {},
                      {MakeNode(2, 2, {BytesOf(1, 2)}, {MakeNode(3, 3)}), MakeNode(4, 4, {BytesOf(3)})})})));
        Ref<DocumentNode> const pParent = pRead->ReadChild(0);
        Ref<DocumentNode> pFirst = pParent->ReadChild(0);
        EXPECT_NE(pParent->ReadChild(1, Ref<DocumentNode>(pFirst)), pFirst);
        EXPECT_EQ(pFirst->GetTagID(), 2u);
        DocumentNode const* const pSame = pFirst.Get();
        Ref<DocumentNode> const pNext = pParent->ReadChild(1, std::move(pFirst));
        EXPECT_EQ(pNext.Get(), pSame);
        EXPECT_EQ(Flatten(*pNext), Flatten(*MakeNode(4, 4, {BytesOf(3)})));
        pHeld = pNext;
    }
    EXPECT_LE(Allocation::GetLiveCount() - nLive, 2) << "of the document only the node itself stays";
}

TEST(PackedDocument, WhatControllersReadStaysTheirs) {
    Ref<DocumentNode> const pProperties = MakeNode(0, 0);
    for (int n = 0; n < 3; ++n) {
        pProperties->AddChild(MakeSampleNode(n, 2, BytesOf(1.0f * static_cast<float>(n), 4.0f)));
    }
    SampleController<RealFloat> controllers[3];
    {
        ClassRegistry registry;
        Deserializer deserializer(Read(Pack(*MakeNode(0, 0, {}, {pProperties}))), registry);
        EXPECT_TRUE(deserializer.PushChild(0));
        for (unsigned int n = 0; n < 3; ++n) {
            EXPECT_TRUE(deserializer.PushChild(n) && deserializer.PushNode(DocumentID::Controller));
            EXPECT_TRUE(controllers[n].Load(deserializer));
            deserializer.PopTo(1);
        }
    }
    for (int n = 0; n < 3; ++n) {
        EXPECT_TRUE(controllers[n].IsExternal());
        EXPECT_EQ(controllers[n].GetStartFrame(), n);
        EXPECT_EQ(controllers[n].GetSample(0), static_cast<RealFloat>(n));
    }
}

TEST(PackedDocument, WhatIsMalformedIsRefusedWithPlaceAndReason) {
    Bytes const ids = Bytes{1} + BytesOf(0);
    Bytes const shapes = {2, 0, 0, 0, 0, 0, 1, 0, 8 << 4 | 2 | 0x80, 1}; // 13: one without, one with 8 bytes
    Bytes const start = ids + shapes;
    std::string const count = ": a count is larger than the document has room for";
    std::string const shape = ": a shape of nodes is not one";
    std::string const data = ": an attribute's data is not whole";
    std::string const child = ": a child does not stand before its parent";
    Bytes chain;
    for (unsigned int n = 0; n <= DocumentNode::MaximumDepth; ++n) {
        chain = chain + (n == 0 ? Bytes{0, 0} : Bytes{0, 1, 3});
    }
    std::pair<std::string, Bytes> const cases[] = {
        {"", start + Bytes{1, 0, 0}},
        {"", start + Bytes{1, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0}},
        {"16" + count, {}},
        {"17" + count, {1}},
        {"21" + count, {0xff, 0xff, 0xff, 0xff, 0x0f}},
        {"18" + shape, Bytes{0, 1, 0, 0, 0, 0}},
        {"24" + shape, ids + Bytes{1, 0, 1, 0}},
        {"25" + count, ids + Bytes{1, 0, 0, 1}},
        {"26" + shape, ids + Bytes{1, 0, 0, 1, 1, 0}},
        {"31" + shape, ids + Bytes{1, 0, 0, 1, 0, 0xff, 0xff, 0xff, 0xff, 0x0f}},
        {"32" + count, start + Bytes{1}},
        {"32: there is no node", start + Bytes{0}},
        {"33: a node has a shape that is not there", start + Bytes{1, 2, 0}},
        {"19: a node has a shape that is not there", Bytes{0, 0, 1, 0, 0}},
        {"34" + data, start + Bytes{1, 1, 10, 0}},
        {"34" + data, start + Bytes{1, 1, 0, 1, 2, 3}},
        {"34" + data, start + Bytes{1, 1, 3, 0, 0, 0, 0, 0}},
        {"34" + data, start + Bytes{1, 1, 1, 1, 2, 0}},
        {"34" + data, start + Bytes{1, 1, 9, 1, 2, 3}},
        {"35" + child, start + Bytes{1, 0, 1, 0}},
        {"35" + child, start + Bytes{1, 0, 1, 1}},
        {"35" + child, start + Bytes{1, 0, 1, 5}},
        {"34" + count, start + Bytes{1, 0, 9, 1}},
        {"34: bytes are left over behind the document", start + Bytes{1, 0, 0, 0}},
        {"36: a node has no parent", start + Bytes{2, 0, 0, 0, 0}},
        {"41: a node with children has two parents", start + Bytes{3, 0, 0, 0, 1, 0, 0, 2, 2, 2}},
        {"3107: the document is nested too deep", start + BytesOf<char>('\x81', '\x08') + chain},
    };
    for (auto const& [sFault, content] : cases) {
        std::string sFound;
        Read(Wrap(content), &sFound);
        EXPECT_EQ(sFound, sFault.empty() ? "" : "malformed at byte " + sFault);
    }
}

TEST(PackedDocument, NothingElseIsTakenForOne) {
    Bytes const packed =
        Pack(*MakeNode(0, 0, {BytesOf(1.0f, 2.0f, 3.0f)},
                       {MakeNode(1, 2, {BytesOf(u'a', u'b')}, {MakeNode(3, 4), MakeNode(3, 4)}),
                        MakeNode(3, 4), MakeNode(3, 5)}));
    Bytes const content(packed.begin() + 16, packed.end() - 4);
    EXPECT_EQ(Wrap(content), packed);
    for (std::size_t n = 0; n < content.size(); ++n) {
        EXPECT_FALSE(Read(Wrap(Bytes(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(n)))))
            << n;
        EXPECT_FALSE(Read(Bytes(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(n)))) << n;
        for (unsigned int nByte = 0; nByte < 256; ++nByte) {
            Bytes damaged = content;
            damaged[n] = static_cast<unsigned char>(nByte);
            // What is still a document is read whole; sanitizers see what goes beyond it.
            if (Ref<DocumentNode> const pRead = Read(Wrap(damaged))) {
                Bytes const flat = Flatten(*pRead);
                EXPECT_EQ(Flatten(*Read(Pack(*pRead))), flat);
            }
        }
    }
}

TEST(PackedDocument, SmallFilesDoNotFillTheMemory) {
    // Twenty times the same 2 MB of zeros would be 40 MB from a hundred bytes.
    Bytes const shapes = {2, 0, 0, 0, 0, 0, 1, 0, 0x82, 0x80, 0x80, 0x10};
    Bytes content = Bytes{1} + BytesOf(0) + shapes + Bytes{2, 1, 1, 1, 0xff, 0xff, 0x1f, 0, 0, 20};
    content.insert(content.end(), 20, 0);
    std::string sFault;
    EXPECT_FALSE(Read(Wrap(content), &sFault));
    EXPECT_NE(sFault.find("unpacked it is too large for a file of its size"), std::string::npos) << sFault;
    // A document that packs as well as that is written as it is.
    Ref<DocumentNode> const pLarge = MakeNode(0, 0, {Bytes(20u << 20)});
    Bytes const written = Pack(*pLarge);
    EXPECT_EQ(written[8], 2);
    EXPECT_TRUE(Flatten(*Read(written)) == Flatten(*pLarge));
    // As is one with a leaf at very many places, each of which takes a byte and becomes a node.
    Ref<DocumentNode> const pLeaf = MakeNode(1, 2);
    Ref<DocumentNode> const pWide = MakeNode(0, 0);
    for (unsigned int n = 0; n < 200000; ++n) {
        ASSERT_TRUE(pWide->AddChild(pLeaf));
    }
    EXPECT_EQ(Pack(*pWide)[8], 2);
}

TEST(PackedDocument, WithoutMemoryThereIsNone) {
    Ref<DocumentNode> const pDocument = MakeSample();
    Bytes const packed = Pack(*pDocument);
    Bytes const flat = Flatten(*pDocument);
    bool fRead = false;
    for (unsigned int nAllocations = 0; !fRead && nAllocations < 1000; ++nAllocations) {
        Allocation::FailAfter(nAllocations);
        Fault fault;
        Ref<DocumentNode> const pRead = DocumentFile::Read(packed.data(), packed.size(), fault);
        Allocation::FailNever();
        fRead = bool(pRead);
        EXPECT_TRUE(!pRead || Flatten(*pRead) == flat);
    }
    EXPECT_TRUE(fRead);
    Ref<DocumentNode> const pRead = Read(packed);
    DocumentNode const& first = *pRead->GetChild(0);
    Allocation::FailAfter(0);
    EXPECT_FALSE(first.GetChild(0));
    EXPECT_FALSE(first.ReadChild(1));
    Allocation::FailNever();
    EXPECT_TRUE(first.GetChild(0)) << "it can be tried again";
    for (unsigned int nAllocations = 0; nAllocations < 60; ++nAllocations) {
        List<unsigned char> bytes;
        Allocation::FailAfter(nAllocations);
        bool const fWritten = DocumentFile::Write(*pDocument, bytes);
        Allocation::FailNever();
        EXPECT_EQ(bytes.IsEmpty(), !fWritten);
    }
}

} // namespace
} // namespace trevik::kelvo
