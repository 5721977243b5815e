// Varies: what is made. Constant: a thousand of each, sprites loaded with four corners and one texture that
// all share, no names, a driver whose functions are empty. Prints the bytes of one as the C library's
// allocator counts them, what it adds to each block included: the object with everything that it has on the
// heap.

#include "BenchScene.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Vector3Property.h"

#include <malloc.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace bench = kelvokit::bench;
using namespace trevik;
using namespace trevik::kelvo;

namespace {

constexpr unsigned int ObjectCount = 1000;
constexpr unsigned int SampleCount = 30;

std::size_t GetBytesInUse() {
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/** Bytes that one of the objects takes which `make` gives, all of them kept meanwhile. */
template <class Make>
double Weigh(Make make) {
    std::vector<decltype(make())> objects(ObjectCount);
    std::size_t const nBefore = GetBytesInUse();
    for (auto& pObject : objects) {
        pObject = make();
    }
    return static_cast<double>(GetBytesInUse() - nBefore) / ObjectCount;
}

void Print(char const* pKind, std::size_t nObject, double bytes) {
    std::printf("%-36s %10zu %10.0f\n", pKind, nObject, bytes);
}

/** Nodes as a scene file makes them. */
class NodeMaker {
public:
    NodeMaker(bench::Backend& backend, char const* pClass)
        : m_registry(backend.GetRegistry()), m_nClassID(HashName(pClass)) {
        Ref<Node> const pNode(Create());
        if (pNode->IsKindOf(Sprite::ClassID)) {
            static_cast<Sprite&>(*pNode).GetSizeProperty().SetValue(SizeT<int>(8, 8));
        }
        Serializer serializer;
        pNode->Save(serializer);
        m_pSaved = serializer.Finish();
    }

    Ref<TransformNode> Make() const {
        Ref<Node> const pNode(Create());
        Deserializer deserializer(m_pSaved, m_registry);
        pNode->Load(deserializer);
        return Ref(pNode->GetTransformNode());
    }

private:
    Node* Create() const { return static_cast<Node*>(m_registry.Create(m_nClassID)); }

    ClassRegistry& m_registry;
    unsigned int m_nClassID;
    Ref<DocumentNode> m_pSaved;
};

Ref<SampleController<Vector3T<RealFloat>>> MakeController() {
    Vector3T<RealFloat> const samples[SampleCount];
    return SampleController<Vector3T<RealFloat>>::Create(0, samples, SampleCount);
}

void WeighNodes(bench::Backend& backend) {
    for (char const* const pClass : {"Sprite", "NinePatchSprite", "Text", "Timeline", "Camera"}) {
        NodeMaker const maker(backend, pClass);
        std::size_t const nObject = maker.Make()->GetClassSize();
        Print(pClass, nObject, Weigh([&maker] { return maker.Make(); }));
    }
}

void WeighUsedSprites(bench::Backend& backend) {
    NodeMaker const maker(backend, "Sprite");
    std::size_t const nObject = maker.Make()->GetClassSize();
    Print("Sprite, turned and scaled", nObject, Weigh([&] {
              Ref<TransformNode> pNode = maker.Make();
              pNode->GetRotationProperty().SetValue(Vector3T<RealFloat>(0, 0, 30));
              pNode->GetScaleProperty().SetValue(Vector3T<RealFloat>(2, 2, 1));
              pNode->Update(backend.GetDevice(), 0);
              return pNode;
          }));
    Print("Sprite, moved by 30 samples", nObject, Weigh([&] {
              Ref<TransformNode> pNode = maker.Make();
              pNode->GetPositionProperty().AddController(
                  Ref<Controller<Vector3T<RealFloat>>>(MakeController().Get()));
              pNode->Update(backend.GetDevice(), 0);
              return pNode;
          }));
}

template <class P>
void WeighProperty(char const* pKind) {
    Print(pKind, sizeof(P), Weigh([] { return std::make_unique<P>(); }));
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        return 1;
    }
    std::printf("%-36s %10s %10s\n", "kind", "object", "all in");
    WeighNodes(backend);
    WeighUsedSprites(backend);
    WeighProperty<RealProperty>("RealProperty");
    WeighProperty<Vector3Property>("Vector3Property");
    Print("SampleController, 30 Vector3", sizeof(SampleController<Vector3T<RealFloat>>),
          Weigh(MakeController));
    return 0;
}
