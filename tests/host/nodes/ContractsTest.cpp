// What every class that can be saved, copied or loaded has to do, whichever it is: one table of all of them.

#include "Table.h"
#include "kelvo_host/Scene.h"
#include "kelvo_test/TestFonts.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ListProperty.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <sstream>

namespace trevik::kelvo::test {
namespace {

typedef std::vector<unsigned char> Bytes;

class TestDirectionalBlur : public DirectionalBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(TestDirectionalBlur, DirectionalBlurEffect, "TestResource")
};

class TestBlendMode : public BlendModeEffect {
public:
    TREVIK_EFFECT_REFLECTION(TestBlendMode, BlendModeEffect, "TestResource")
};

/** All classes of the host. */
class AllClasses : public TestFontRegistry {
public:
    AllClasses() {
        AddClassContainer(new ClassContainerT<TestDirectionalBlur>(DirectionalBlurEffect::ClassID));
        AddClassContainer(new ClassContainerT<TestBlendMode>(BlendModeEffect::ClassID));
    }
};

/** What is counted by no references, as something that is. */
template <class T>
struct Held : Referenced {
    T m_value;

    template <class... Arguments>
    explicit Held(Arguments&&... arguments) : m_value(std::forward<Arguments>(arguments)...) {
        if constexpr (sizeof...(Arguments) == 0 && std::is_base_of_v<Property, T>) {
            m_value.Initialize(PropertyDescriptor{nullptr, 0x1234567, PropertyType::Other, nullptr});
        }
    }
    bool Save(Serializer& serializer) { return m_value.Save(serializer); }
    bool Load(Deserializer& deserializer) { return m_value.Load(deserializer); }
    Held* Clone() const {
        Held* const pCopy = new (std::nothrow) Held(m_value);
        if (pCopy && pCopy->m_value.IsTorn()) {
            delete pCopy;
            return nullptr;
        }
        return pCopy;
    }
};

/** A class, and how its objects are dealt with. */
struct Subject {
    std::string m_name;
    bool m_fKept;                                      ///< a load that fails leaves it as it was
    std::function<Ref<Referenced>(bool fFull)> m_make; ///< with values of its own wherever it has values
    std::function<bool(Referenced&, Serializer&)> m_save;
    std::function<bool(Referenced&, Deserializer&)> m_load;
    std::function<Referenced*(Referenced const&)> m_copy; ///< none for what is not copied
};

template <class T>
Subject MakeSubject(char const* pName, bool fKept, std::function<void(T&)> const& fill) {
    auto const make = [fill](bool fFull) {
        Ref<T> const pObject(new T);
        fFull ? fill(*pObject) : void();
        return Ref<Referenced>(pObject.Get());
    };
    return {
        pName,
        fKept,
        make,
        [](Referenced& object, Serializer& serializer) { return static_cast<T&>(object).Save(serializer); },
        [](Referenced& object, Deserializer& deserializer) {
            return static_cast<T&>(object).Load(deserializer);
        },
        {}};
}

template <class T>
Subject MakeCopied(char const* pName, bool fKept, std::function<void(T&)> const& fill) {
    Subject subject = MakeSubject<T>(pName, fKept, fill);
    subject.m_copy = [](Referenced const& object) -> Referenced* {
        if constexpr (std::is_base_of_v<Node, T>) {
            return static_cast<T const&>(object).CloneTree();
        } else {
            return static_cast<T const&>(object).Clone();
        }
    };
    return subject;
}

template <class P>
Subject MakeProperty(char const* pName, typename P::Value const& value) {
    return MakeCopied<Held<P>>(pName, true, [value](Held<P>& held) { held.m_value.SetValue(value); });
}

template <class T>
Subject MakeController(char const* pName, std::vector<T> const& samples) {
    return MakeCopied<Held<BaseProperty<T>>>(
        pName, true, [samples](Held<BaseProperty<T>>& held) { Animate<T>(held.m_value, -4, samples); });
}

/** Gives each property of a list a value of its own, and some of them a controller. */
void SetAll(PropertyList& list) {
    for (unsigned int n = 0; n < list.GetCount(); ++n) {
        PropertyList::Entry const entry = list.GetEntry(n);
        unsigned int const nType = entry.m_pDescriptor->m_type;
        RealFloat r = RealFloat(2.5) + static_cast<RealFloat>(n);
        if (nType == PropertyType::String) {
            static_cast<StringProperty*>(entry.m_pProperty)->SetValue(u"g\u00e9\U0001f600");
            continue;
        }
        if (nType == PropertyType::Bool && static_cast<BoolProperty*>(entry.m_pProperty)->GetValue()) {
            r = 0;
        }
        EXPECT_TRUE(SetProperty(entry, {r, -r, 9, RealFloat(0.25)})) << "a kind that is not tried: " << nType;
        if (nType == PropertyType::Real) {
            Animate<RealFloat>(*static_cast<RealProperty*>(entry.m_pProperty), static_cast<int>(n),
                               {r, 0, 1, 1});
        }
    }
}

template <class T>
void AddFullEffect(TransformNode& node) {
    Ref<T> const pEffect(new T);
    SetAll(pEffect->GetProperties());
    node.AddEffect(pEffect.Get());
}

void FillNode(TransformNode& node, bool fEffects = true) {
    node.SetName(Name("full"));
    SetAll(node.GetProperties());
    Vector3 const corners[6] = {Vector3(0, 0, 0), Vector3(1, 0, 0), Vector3(0, 1, 0), Vector3(5, 5, 5)};
    for (unsigned int nCorners : {3u, 6u}) {
        Ref<Mask> const pMask(new Mask);
        pMask->SetTriangles(corners, nCorners);
        node.AddMask(pMask.Get());
    }
    if (fEffects) {
        AddFullEffect<TestEffect>(node);
        AddFullEffect<TestDirectionalBlur>(node);
        AddFullEffect<TestBlendMode>(node);
    }
}

Ref<TestSprite> MakeSprite(char const* pName, Texture* pTexture) {
    Ref<TestSprite> const pSprite = Make<TestSprite>(pName);
    pSprite->SetTexture(pTexture);
    return pSprite;
}

void FillTexture(TestTexture& texture) {
    unsigned char bytes[20];
    List<MipLevel> levels;
    for (unsigned int n = 0; n < sizeof(bytes); ++n) {
        bytes[n] = static_cast<unsigned char>(n);
    }
    levels.Append(MipLevel{4, 4, 0, 16});
    levels.Append(MipLevel{2, 2, 16, 4});
    EXPECT_TRUE(texture.SetImage(3, 2, 4, 4, TextureFormat::Alpha8, levels, bytes, sizeof(bytes), false));
    texture.SetName(u"leaf");
    texture.SetWantedSurfaces(2);
}

void FillFont(Font& font) {
    font.SetMetrics(FontMetrics{32, 33, RealFloat(0.5), RealFloat(0.25), 24, RealFloat(7.25), 4});
    font.AddGlyph(MakeGlyph('A', MakePage(1)));
    Glyph image = MakeGlyph(0x1f600, MakePage(2));
    image.m_fImage = true;
    font.AddGlyph(image);
    font.SetKerning('A', 0x1f600, RealFloat(-2.5));
    font.SetKerning('A', 'A', 3);
    font.GetUnderlineProperty().SetValue(true);
    Animate<RealFloat>(font.GetUnderlinePositionProperty(), 0, {RealFloat(0.75), 1});
    Animate<RealFloat>(font.GetUnderlineThicknessProperty(), 0, {1, 5});
    Animate<int>(font.GetUnderlineScaleProperty(), 0, {2, 3});
}

/** A timeline with one of each node, and things that two of them share. */
void FillTree(TestTimeline& root) {
    FillNode(root, false);
    root.SetFrameDelay(RealFloat(0.125));
    root.SetTimeMapFunction(&Interpolate::BounceOut);
    root.SetAutoPlay(true);
    Ref<TestTexture> const pTexture(new TestTexture);
    FillTexture(*pTexture);
    Ref<TestFont> const pFont(new TestFont);
    Ref<Texture> const pPage = MakePage(1);
    pFont->AddGlyph(MakeGlyph('A', pPage));
    pFont->AddGlyph(MakeGlyph('B', pPage));
    Ref<TestSprite> const pSprite = MakeSprite("sprite", pTexture.Get());
    pSprite->Attach(MakeSprite("twin", pTexture.Get()).Get());
    Ref<TestText> const pText = Make<TestText>("text");
    pText->SetFont(pFont.Get());
    pText->SetBackground(MakeSprite("background", nullptr).Get());
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    pText->Attach(pCamera.Get());
    Ref<TestTimeline> const pInner = Make<TestTimeline>("inner");
    pInner->SetCamera(Make<TestCamera>("its own").Get());
    for (Node* pChild : std::initializer_list<Node*>{pSprite.Get(), pText.Get(), pInner.Get()}) {
        root.Attach(pChild);
    }
    root.SetCamera(pCamera.Get());
}

std::vector<Subject> MakeSubjects() {
    List<Vector2T<int>> pairs;
    pairs.Append(Vector2T<int>(1, 2));
    pairs.Append(Vector2T<int>(3, -4));
    return {
        MakeCopied<TransformNode>("group", false, [](TransformNode& node) { FillNode(node); }),
        MakeCopied<TestSprite>("sprite", false, [](TestSprite& node) { FillNode(node, false); }),
        MakeCopied<TestCamera>("camera", false, [](TestCamera& node) { FillNode(node, false); }),
        MakeCopied<TestText>("text", false, [](TestText& node) { FillNode(node, false); }),
        MakeCopied<TestTimeline>("tree", false, FillTree),
        MakeCopied<TestEffect>("Gaussian blur", false, [](TestEffect& e) { SetAll(e.GetProperties()); }),
        MakeSubject<TestTexture>("texture", true, FillTexture),
        MakeSubject<TestFont>("bitmap font", true, FillFont),
        MakeSubject<TestOutlines>("polygonal font", true,
                                  [](TestOutlines& font) {
                                      FillFont(font);
                                      font.AddMesh(MakeMesh(0, {}));
                                      font.AddMesh(MakeMesh(4, {0, 1, 2, 3, 2, 1}));
                                      font.AddGlyph(MakeGlyph('M', nullptr, 1));
                                  }),
        MakeSubject<Held<Scene>>("scene", true,
                                 [](Held<Scene>& scene) {
                                     scene.m_value.GetSettings() =
                                         SceneSettings{SizeT<int>(320, 200),
                                                       DeviceFormat::RGBA8888,
                                                       25,
                                                       -1,
                                                       99,
                                                       ColorT<RealFloat>(0, RealFloat(0.25), 1, 1)};
                                     scene.m_value.SetRoot(Make<TestTimeline>("root"));
                                 }),
        MakeSubject<Held<PixelDataProperty>>("pixels", true,
                                             [](Held<PixelDataProperty>& pixels) {
                                                 pixels.m_value.GetBuffer().Allocate(3);
                                                 std::memcpy(pixels.m_value.GetBuffer().GetData(), "abc", 3);
                                             }),
        MakeProperty<IntProperty>("int", -7),
        MakeProperty<BoolProperty>("bool", true),
        MakeProperty<RealProperty>("real", RealFloat(0.5)),
        MakeProperty<Vector2Property>("vector of two", Vector2(1, 2)),
        MakeProperty<Vector3Property>("vector of three", Vector3(1, 2, 3)),
        MakeProperty<RectangleProperty>("rectangle", Rectangle(1, 2, 3, 4)),
        MakeProperty<ColorProperty>("colour", ColorT<RealFloat>(1, 2, 3, 4)),
        MakeProperty<SizeIntProperty>("size of ints", SizeT<int>(5, 6)),
        MakeProperty<SizeRealProperty>("size of reals", SizeT<RealFloat>(5, 6)),
        MakeProperty<StringProperty>("string", u"g\u00e9\U0001f600"),
        MakeProperty<ListProperty<Vector2T<int>>>("pairs", pairs),
        MakeController<RealFloat>("samples", {1, 2, 2}),
        MakeController<Vector3>("runs", {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {4, 5, 6}}),
        MakeController<int>("int runs", {7, 7, 7, 7, 7}),
    };
}

Ref<DocumentNode> Save(Subject const& subject, Referenced& object) {
    Serializer serializer;
    return subject.m_save(object, serializer) ? serializer.Finish() : Ref<DocumentNode>();
}

bool Load(Subject const& subject, Referenced& object, Ref<DocumentNode> const& pDocument) {
    Deserializer deserializer(pDocument, *ClassRegistry::GetDefault());
    return subject.m_load(object, deserializer);
}

Bytes Flatten(Ref<DocumentNode> const& pDocument) {
    List<unsigned char> bytes;
    return pDocument && pDocument->Write(bytes) ? Bytes(bytes.begin(), bytes.end()) : Bytes();
}

/** A document node with its attributes in a list. */
struct Tree {
    unsigned int m_nTag, m_nType;
    std::vector<std::pair<unsigned int, Bytes>> m_attributes;
    std::vector<Tree> m_children;

    static unsigned int Word(unsigned char const*& p) {
        unsigned int nWord;
        std::memcpy(&nWord, p, 4);
        p += 4;
        return nWord;
    }
    static Tree Parse(unsigned char const*& p) {
        Tree tree;
        tree.m_nTag = Word(p);
        tree.m_nType = Word(p);
        unsigned int const nChildren = Word(p);
        unsigned int const nBlock = Word(p) >> 4;
        for (unsigned char const* const pEnd = p + nBlock; p != pEnd;) {
            unsigned int const nLength = Word(p) >> 4;
            unsigned int const nID = Word(p);
            tree.m_attributes.push_back({nID, Bytes(p, p + nLength)});
            p += (nLength + 3) / 4 * 4;
        }
        while (tree.m_children.size() < nChildren) {
            tree.m_children.push_back(Parse(p));
        }
        return tree;
    }
    static Tree Of(Ref<DocumentNode> const& pDocument) {
        Bytes const bytes = Flatten(pDocument);
        unsigned char const* p = bytes.data();
        return Parse(p);
    }
    Ref<DocumentNode> Build() const {
        Ref<DocumentNode> pNode(new DocumentNode(m_nTag, m_nType));
        for (auto const& [nID, bytes] : m_attributes) {
            AddBytes(*pNode, nID, bytes);
        }
        for (Tree const& child : m_children) {
            pNode->AddChild(child.Build());
        }
        return pNode;
    }
};

/** The words whose hashes stand in documents. */
std::string s_words;

std::string WordOf(unsigned int nID) {
    std::istringstream words(s_words);
    for (std::string word; words >> word;) {
        if (HashName(word.c_str()) == nID) {
            return word;
        }
    }
    return std::to_string(nID);
}

/**
 * Writes a document down, and beside each attribute and child what becomes of it (and of the document) when
 * that is damaged: '+' loaded, '-' refused.
 */
class Report {
public:
    explicit Report(Subject const& subject) : m_subject(subject), m_pFull(subject.m_make(true)) {
        m_tree = Tree::Of(Save(subject, *m_pFull));
        Write(m_tree, "  ");
        for (std::string const& line : m_lines) {
            m_text << " ! " << line << "\n";
        }
    }
    std::string Get() const { return m_text.str(); }

private:
    void Write(Tree& tree, std::string const& indent) {
        m_text << indent << WordOf(tree.m_nTag) << " " << WordOf(tree.m_nType) << "\n";
        for (auto& [nID, bytes] : tree.m_attributes) {
            m_text << indent << "  " << WordOf(nID) << " ";
            char digits[4];
            for (unsigned char nByte : bytes) {
                std::snprintf(digits, sizeof(digits), "%02x", nByte);
                m_text << digits;
            }
            m_text << " " << Damage(nID, bytes) << "\n";
        }
        for (Tree& child : tree.m_children) {
            m_text << indent << "  ";
            Tree const whole = child;
            child.m_nType ^= 1;
            m_text << Try();
            child.m_nTag ^= 1;
            m_text << Try() << "\n";
            child = whole;
            Write(child, indent + "  ");
        }
    }
    /** Tries an attribute that is missing, too short, too long, empty, or has another word somewhere. */
    std::string Damage(unsigned int& nID, Bytes& bytes) {
        Bytes const whole = bytes;
        std::string results;
        nID ^= 1;
        results += Try();
        nID ^= 1;
        for (std::size_t nLength : {whole.size() - 1, whole.size() + 1, std::size_t(0)}) {
            bytes.resize(nLength % (whole.size() + 2)); // an empty one has no end to cut
            results += Try();
            bytes = whole;
        }
        for (std::size_t nWord = 0; nWord + 4 <= whole.size(); nWord += 4) {
            for (unsigned int nOther : {0x7fc00000u, 0xffffffffu, 0x00110000u, 0u, 1u}) {
                std::memcpy(&bytes[nWord], &nOther, 4);
                results += Try();
                bytes = whole;
            }
        }
        return results;
    }
    char Try() {
        TraceLog ofSaving;
        Ref<Referenced> const pObject(m_subject.m_make(false));
        Bytes const before = Flatten(Save(m_subject, *pObject));
        bool fLoaded = false;
        {
            TraceLog log;
            fLoaded = Load(m_subject, *pObject, m_tree.Build());
            m_lines.insert(log.Messages().begin(), log.Messages().end());
            EXPECT_LE(log.Messages().size(), 1u) << m_subject.m_name << ": one line a document";
        }
        Ref<DocumentNode> const pAgain = Save(m_subject, *pObject);
        if (fLoaded) { // what can be loaded can be saved
            Ref<Referenced> const pOther(m_subject.m_make(false));
            EXPECT_TRUE(pAgain && Load(m_subject, *pOther, pAgain)) << m_subject.m_name;
        } else if (m_subject.m_fKept) {
            EXPECT_EQ(Flatten(pAgain), before) << m_subject.m_name << ": as it was";
        }
        return fLoaded ? '+' : '-';
    }

    Subject const& m_subject;
    Ref<Referenced> m_pFull;
    Tree m_tree;
    std::ostringstream m_text;
    std::set<std::string> m_lines;
};

/** The saved form of all classes, which documents out in the world have, and what becomes of damaged ones. */
TEST(Contracts, DocumentsAndTheirFaultsAreWhatTheyWere) {
    AllClasses classes;
    CompareTable("nodes/documents.txt", [](std::string const& sInput) {
        if (sInput.compare(0, 6, "words ") == 0) {
            s_words = sInput;
            return std::string();
        }
        for (Subject const& subject : MakeSubjects()) {
            if (subject.m_name == sInput) {
                return Report(subject).Get();
            }
        }
        return " unknown\n" + sInput;
    });
}

/**
 * Tries something with no memory, then with a little more each time, until it has had enough, with which it
 * has to succeed; nothing of it is left in the end. It gets what begins and ends the shortage.
 */
template <class Try>
void WithMoreAndMoreMemory(char const* pWhat, Try tryIt) {
    tryIt([] {}, [] {}); // what is kept for all objects of a class is made with the first one
    bool fEnough = false;
    for (unsigned int nAllocations = 0; !fEnough && !testing::Test::HasFailure(); ++nAllocations) {
        SCOPED_TRACE(std::string(pWhat) + " with " + std::to_string(nAllocations) + " allocations");
        long long const nLive = Allocation::GetLiveCount();
        unsigned long long nBefore = 0;
        auto const begin = [&] {
            nBefore = Allocation::GetCount();
            Allocation::FailAfter(nAllocations);
        };
        bool const fDone = tryIt(begin, [&] {
            fEnough = Allocation::GetCount() - nBefore < nAllocations;
            Allocation::FailNever();
        });
        EXPECT_TRUE(fDone || !fEnough);
        EXPECT_EQ(Allocation::GetLiveCount(), nLive);
    }
}

TEST(Contracts, WhatIsLoadedOrCopiedSavesTheSameAndWithoutMemoryIsWholeOrNone) {
    AllClasses classes;
    TraceLog log;
    for (Subject const& subject : MakeSubjects()) {
        SCOPED_TRACE(subject.m_name);
        Ref<Referenced> const pFull = subject.m_make(true);
        Ref<DocumentNode> const pDocument = Save(subject, *pFull);
        Bytes const saved = Flatten(pDocument);
        Bytes const empty = Flatten(Save(subject, *subject.m_make(false)));
        EXPECT_NE(saved, empty) << "nothing to lose";
        WithMoreAndMoreMemory("save", [&](auto begin, auto end) {
            begin();
            Ref<DocumentNode> const pSaved = Save(subject, *pFull);
            end();
            EXPECT_TRUE(!pSaved || Flatten(pSaved) == saved);
            return bool(pSaved);
        });
        WithMoreAndMoreMemory("load", [&](auto begin, auto end) {
            Ref<Referenced> const pLoaded = subject.m_make(false);
            begin();
            bool const fLoaded = Load(subject, *pLoaded, pDocument);
            end();
            if (fLoaded || subject.m_fKept) {
                EXPECT_EQ(Flatten(Save(subject, *pLoaded)), fLoaded ? saved : empty) << fLoaded;
            }
            return fLoaded;
        });
        WithMoreAndMoreMemory("copy", [&](auto begin, auto end) {
            Ref<Referenced> pOriginal = subject.m_make(true);
            begin();
            Ref<Referenced> const pCopy(subject.m_copy ? subject.m_copy(*pOriginal) : pOriginal.Get());
            end();
            pOriginal.Reset(); // the copy has what it needs
            EXPECT_TRUE(!pCopy || Flatten(Save(subject, *pCopy)) == saved);
            return bool(pCopy);
        });
    }
}

} // namespace
} // namespace trevik::kelvo::test
